#pragma once

#include <cstdint>

namespace Mrv
{
// The one guard of everything that recurses: parsing, evaluation, rendering, hashing, cloning, comparison. It counts units of
// nesting, so that large stacks refuse too, and watches the bytes that are left of the native stack. A local object of the function that
// recurses; the count falls when it is left.
class NestingGuard
{
public:
	static constexpr uint32_t MAX_UNITS = 10000;
	static constexpr uint32_t SCRIPT_CALL = 12; // what a call of a script function counts
	static constexpr uintptr_t STACK_RESERVE = 128 * 1024;

	explicit NestingGuard(uint32_t units = 1) noexcept : fUnits(units) { sUnits += units; }
	~NestingGuard() { sUnits -= fUnits; }
	NestingGuard(const NestingGuard &) = delete;
	NestingGuard &operator=(const NestingGuard &) = delete;

	// A suspended function that is entered again is not refused: only a first entry asks.
	bool isExceeded() const noexcept { return sUnits > MAX_UNITS || (stackPointer() - sStackLimit >= sStackRange && isStackExceeded()); }

	// Logs the line that names the limit: "nesting limit reached: <what>".
	static void report(const char *what);

	// Whether a suspended chain that used this many bytes may be entered again from here. Half of the reserve is enough beyond them: a
	// chain that went as deep as a first entry may, and a little deeper in what asks no guard, must find its way back from where it began.
	static bool mayReenter(uintptr_t bytes) noexcept;
	static uintptr_t stackPointer() noexcept { return reinterpret_cast<uintptr_t>(__builtin_frame_address(0)); }

private:
	static uint32_t sUnits;
	// Where the present stack may still be used: from its end plus the reserve to its base. Who stands outside of it has either gone too
	// far or runs on another stack, which is noted then.
	static uintptr_t sStackLimit;
	static uintptr_t sStackRange;

	static bool isStackExceeded() noexcept;

	const uint32_t fUnits;
};
}
