#include "MrvObject/MrvGUIDClass.h"

#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvLasting.h"
#include "MrvPlatform/MrvProcess.h"

#include <array>
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

constexpr std::array<std::int8_t, 256> kDigitValues = []
{
	std::array<std::int8_t, 256> values{};
	values.fill(-1);
	for (std::size_t value = 0; value < kDigits.size(); ++value)
	{
		const auto upper = static_cast<unsigned char>(kDigits[value]);
		values[upper] = static_cast<std::int8_t>(value);
		values[upper >= 'A' ? upper | 0x20U : upper] = static_cast<std::int8_t>(value);
	}
	return values;
}();

// The digit's value, -1 for another character.
int hexDigit(char character)
{
	return kDigitValues[static_cast<unsigned char>(character)];
}

// Takes in all digits of the text, whatever stands between them. Whether they are as many as a GUID has, and nothing but separators stands
// between them.
bool readDigits(std::string_view text, GUIDValue &value)
{
	GUIDValue read; // a local one stays in registers
	std::size_t digitCount = 0;
	bool hasOnlySeparators = true;
	for (const char character : text)
	{
		const int digit = hexDigit(character);
		if (digit >= 0)
		{
			read.high = (read.high << 4) | (read.low >> 60);
			read.low = (read.low << 4) | static_cast<std::uint64_t>(digit);
			++digitCount;
		}
		else if (character != '-')
		{
			hasOnlySeparators = hasOnlySeparators && std::string_view("_[]{}()").find(character) != std::string_view::npos;
		}
	}
	value = read;
	return hasOnlySeparators && digitCount == kDigitCount;
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
	static auto &fGUIDs = Platform::makeLasting<std::unordered_map<GUIDValue, std::unique_ptr<GUIDClass>, GUIDValueHash>>();
	std::unique_ptr<GUIDClass> &instance = fGUIDs[value];
	if (!instance)
	{
		instance.reset(new GUIDClass(value));
	}
	return instance.get();
}

GUIDClass *GUIDClass::factory(const std::string &text)
{
	GUIDValue value;
	readDigits(text, value);
	return factory(value);
}

GUIDClass *GUIDClass::factoryIfValid(const std::string &text)
{
	GUIDValue value;
	return readDigits(text, value) ? factory(value) : nullptr;
}

GUIDClass *GUIDClass::factory(const IGUIDSource &source)
{
	return factory(source.getGUIDValue());
}

bool GUIDClass::isValid(const std::string &text)
{
	GUIDValue value;
	return readDigits(text, value);
}

GUIDClass *GUIDClass::randomFactory()
{
	const std::uint64_t high = randomBits();
	return factory(GUIDValue{high, randomBits()});
}

std::uint64_t GUIDClass::randomBits()
{
	return generator()();
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
