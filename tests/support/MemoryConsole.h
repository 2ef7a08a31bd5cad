#pragma once

#include "MrvPlatform/MrvBufferedConsole.h"

#include <string>

namespace Mrv::Test
{
// A console in memory, in place as long as it lives. The test puts input in and reads what was written.
class MemoryConsole final : public Platform::BufferedConsole
{
public:
	MemoryConsole() { Platform::setConsole(this); }
	MemoryConsole(const MemoryConsole &) = delete;
	MemoryConsole &operator=(const MemoryConsole &) = delete;
	~MemoryConsole() override { Platform::setConsole(nullptr); }

	bool isTerminal(Platform::StandardStream) const override { return isATerminal; }
	bool enterKeyMode() override
	{
		keyMode = isATerminal;
		return isATerminal;
	}
	void leaveKeyMode() override
	{
		endEditing();
		keyMode = false;
	}
	void setInputWakesSleep(bool wakes) override { wakesSleep = wakes; }

	// What comes next; `fetchSize` bytes at most arrive at a time.
	std::string input;
	std::size_t fetchSize = 65536;
	// Whether the input ends behind that, or more may come.
	bool inputEnds = true;

	std::string output;
	std::string errorOutput;
	int writeCount = 0;
	Platform::WriteOutcome outcome = Platform::WriteOutcome::WRITTEN;

	bool isATerminal = false;
	bool keyMode = false;
	bool interruptKeyIsInput = false;
	std::size_t columnCount = 80;
	bool wakesSleep = false;

protected:
	bool isInKeyMode() const override { return keyMode; }
	std::size_t columns() const override { return columnCount; }
	void setInterruptKeyIsInput(bool isInput) override { interruptKeyIsInput = isInput; }

	Platform::WriteOutcome writeThrough(Platform::StandardStream stream, std::string_view text) override
	{
		++writeCount;
		if (outcome == Platform::WriteOutcome::WRITTEN)
		{
			(stream == Platform::StandardStream::OUTPUT ? output : errorOutput) += text;
		}
		return outcome;
	}

	Platform::InputState fetchInput(std::string &bytes) override
	{
		if (input.empty())
		{
			return inputEnds ? Platform::InputState::END : Platform::InputState::NOTHING_YET;
		}
		bytes += input.substr(0, fetchSize);
		input.erase(0, fetchSize);
		return Platform::InputState::READY;
	}
};
}
