#include "MrvObject/MrvGUIDClass.h"

#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvProcess.h"

#include <exception>
#include <random>
#include <string_view>
#include <unordered_map>

namespace Mrv
{
namespace
{
constexpr std::size_t kDigitCount = 32;
constexpr std::string_view kDigits = "0123456789ABCDEF";

struct GUIDValueHash
{
	std::size_t operator()(const GUIDValue &value) const { return value.high ^ value.low; }
};

// The digit's value, -1 for another character.
int hexDigit(char character)
{
	if (character >= '0' && character <= '9')
	{
		return character - '0';
	}
	const char upper = static_cast<char>(character & ~0x20);
	return upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : -1;
}

std::uint64_t seedFromClock()
{
	return static_cast<std::uint64_t>(Platform::systemSteadyNanoseconds()) ^ (std::uint64_t{Platform::currentProcessId()} << 40);
}

std::mt19937_64 &generator()
{
	static std::mt19937_64 sGenerator(
	    []
	    {
		    try
		    {
			    std::random_device device;
			    const std::uint64_t high = device();
			    return (high << 32) | device();
		    }
		    catch (const std::exception &)
		    {
			    // No source of randomness: values that differ from process to process must do.
			    return seedFromClock();
		    }
	    }());
	return sGenerator;
}
}

GUIDClass *GUIDClass::factory(const GUIDValue &value)
{
	static GUIDClass *const sNullGUID = new GUIDClass(GUIDValue{});
	static auto *const fGUIDs = new std::unordered_map<GUIDValue, GUIDClass *, GUIDValueHash>;
	if (value == GUIDValue{})
	{
		return sNullGUID;
	}
	GUIDClass *&instance = (*fGUIDs)[value];
	if (!instance)
	{
		instance = new GUIDClass(value);
	}
	return instance;
}

GUIDClass *GUIDClass::factory(const std::string &text)
{
	GUIDValue value;
	for (const char character : text)
	{
		const int digit = hexDigit(character);
		if (digit >= 0)
		{
			value.high = (value.high << 4) | (value.low >> 60);
			value.low = (value.low << 4) | static_cast<std::uint64_t>(digit);
		}
	}
	return factory(value);
}

GUIDClass *GUIDClass::factory(const IGUIDSource &source)
{
	return factory(source.getGUIDValue());
}

bool GUIDClass::isValid(const std::string &text)
{
	std::size_t digitCount = 0;
	for (const char character : text)
	{
		if (hexDigit(character) >= 0)
		{
			if (++digitCount > kDigitCount)
			{
				return false;
			}
		}
		else if (std::string_view("_-[]{}()").find(character) == std::string_view::npos)
		{
			return false;
		}
	}
	return digitCount == kDigitCount;
}

GUIDClass *GUIDClass::randomFactory()
{
	const std::uint64_t high = generator()();
	return factory(GUIDValue{high, generator()()});
}

const std::string &GUIDClass::toSectionedString()
{
	if (!fSectionedString)
	{
		std::string text;
		for (std::size_t digit = 0; digit < kDigitCount; ++digit)
		{
			if (digit == 8 || digit == 12 || digit == 16 || digit == 20)
			{
				text += '-';
			}
			const std::uint64_t half = digit < 16 ? fValue.high : fValue.low;
			text += kDigits[(half >> (60 - 4 * (digit % 16))) & 0xF];
		}
		fSectionedString = std::make_unique<const std::string>(std::move(text));
	}
	return *fSectionedString;
}

const std::string &GUIDClass::toCompactString()
{
	if (!fCompactString)
	{
		constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
		constexpr std::size_t kLength = 22;
		std::string text;
		GUIDValue rest = fValue;
		while (text.size() < kLength)
		{
			text += kAlphabet[rest.low & 0x3F];
			rest.low = (rest.low >> 6) | (rest.high << 58);
			rest.high >>= 6;
		}
		fCompactString = std::make_unique<const std::string>(std::move(text));
	}
	return *fCompactString;
}
}
