#include "MrvParser/Stream/MrvInputWake.h"

#include "MrvPlatform/MrvConsole.h"

#include <utility>

namespace Mrv
{
uint32_t InputWake::sCount = 0;

InputWake::InputWake(InputWake &&other) noexcept : fIsStarted(std::exchange(other.fIsStarted, false)) {}

InputWake &InputWake::operator=(InputWake &&other) noexcept
{
	if (this != &other)
	{
		stop();
		fIsStarted = std::exchange(other.fIsStarted, false);
	}
	return *this;
}

InputWake::~InputWake()
{
	stop();
}

void InputWake::start()
{
	if (!fIsStarted)
	{
		fIsStarted = true;
		if (sCount++ == 0)
		{
			Platform::console().setInputWakesSleep(true);
		}
	}
}

void InputWake::stop() noexcept
{
	if (std::exchange(fIsStarted, false) && --sCount == 0)
	{
		Platform::console().setInputWakesSleep(false);
	}
}
}
