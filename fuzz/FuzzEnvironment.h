#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Mrv::Fuzz
{
// What a fuzzer needs around the code that it drives: a coordinator for the tasks (tests/support), no log. Called once, before the first
// input.
void prepare();

// The bytes of an input, taken from the front.
class Input
{
public:
	Input(const uint8_t *data, size_t size) : fBytes(reinterpret_cast<const char *>(data), size) {}

	// 0 at the end.
	uint8_t takeByte();
	// Up to the next NUL, which goes too, or to the end.
	std::string takeText();
	std::string_view rest() const { return fBytes; }

private:
	std::string_view fBytes;
};
}
