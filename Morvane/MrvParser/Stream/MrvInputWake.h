#pragma once

#include <cstdint>

namespace Mrv
{
// While one exists, input that arrives ends a sleep of the process. Held by whoever waits for standard input or the keyboard.
class InputWake
{
public:
	InputWake() noexcept = default;
	InputWake(InputWake &&other) noexcept;
	InputWake &operator=(InputWake &&other) noexcept;
	~InputWake();

	void start();

private:
	void stop() noexcept;

	static uint32_t sCount;

	bool fIsStarted = false;
};
}
