#pragma once

#include "MrvPlatform/MrvConsole.h"

// The part of a console that is the same on all systems: what is held back, and when it goes out. Derived classes move the bytes.
namespace Mrv::Platform
{
class BufferedConsole : public IConsole
{
public:
	WriteOutcome write(StandardStream stream, std::string_view text) override;
	WriteOutcome flush() override;
	InputState pollInput() override;
	InputState readInput(std::string &bytes, std::size_t maximum) override;

protected:
	// Writes all of `text` to OUTPUT or ERROR_OUTPUT, waiting as long as the receiver makes it wait.
	virtual WriteOutcome writeThrough(StandardStream stream, std::string_view text) = 0;

	// Appends to `bytes` what the system has at hand, without waiting. READY: at least one byte was appended.
	virtual InputState fetchInput(std::string &bytes) = 0;

private:
	WriteOutcome fOutputOutcome = WriteOutcome::WRITTEN;
	std::string fHeldBack;
	std::string fInput;
	std::size_t fInputPos = 0;
	bool fInputEnded = false;
};
}
