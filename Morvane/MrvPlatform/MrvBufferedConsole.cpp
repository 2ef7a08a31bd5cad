#include "MrvPlatform/MrvBufferedConsole.h"

#include <algorithm>

namespace Mrv::Platform
{
namespace
{
// More than this isn't held back; large enough that a system call costs nothing beside the bytes.
constexpr std::size_t kMostHeldBack = 65536;
}

WriteOutcome BufferedConsole::write(StandardStream stream, std::string_view text)
{
	if (stream == StandardStream::ERROR_OUTPUT)
	{
		if (!fHeldBack.empty() && isTerminal(StandardStream::OUTPUT))
		{
			// On a terminal both streams meet: what was said first stands first.
			flush();
		}
		return writeThrough(stream, text);
	}
	if (stream != StandardStream::OUTPUT || fOutputOutcome != WriteOutcome::WRITTEN)
	{
		return stream == StandardStream::OUTPUT ? fOutputOutcome : WriteOutcome::FAILED;
	}
	fHeldBack += text;
	const bool lineEnded = text.find('\n') != std::string_view::npos;
	return fHeldBack.size() >= kMostHeldBack || (lineEnded && isTerminal(StandardStream::OUTPUT)) ? flush() : fOutputOutcome;
}

WriteOutcome BufferedConsole::flush()
{
	if (!fHeldBack.empty())
	{
		fOutputOutcome = writeThrough(StandardStream::OUTPUT, fHeldBack);
		fHeldBack.clear();
	}
	return fOutputOutcome;
}

InputState BufferedConsole::pollInput()
{
	flush();
	if (fInputPos < fInput.size())
	{
		return InputState::READY;
	}
	if (fInputEnded)
	{
		return InputState::END;
	}
	fInput.clear();
	fInputPos = 0;
	const InputState state = fetchInput(fInput);
	fInputEnded = state == InputState::END;
	return state;
}

InputState BufferedConsole::readInput(std::string &bytes, std::size_t maximum)
{
	const InputState state = pollInput();
	if (state == InputState::READY)
	{
		const std::size_t size = std::min(maximum, fInput.size() - fInputPos);
		bytes.append(fInput, fInputPos, size);
		fInputPos += size;
	}
	return state;
}
}
