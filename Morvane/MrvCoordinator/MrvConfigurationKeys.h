#pragma once

#include "MrvCoordinator/MrvCoordinatorSettings.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace Mrv
{
// A setting as configuration files name it.
struct ConfigurationKey
{
	enum class Kind : uint8_t
	{
		TEXT,
		NAME, // of a coordinator: gets the prefix
		PATH, // made absolute, from the current folder; "-" and an empty one stay
		BOOL, // true or false, in any case
		NUMBER,
		MICROSECONDS,
	};
	using Member = std::variant<std::string CoordinatorSettings::*, bool CoordinatorSettings::*, int64_t CoordinatorSettings::*>;

	std::string_view name;
	Kind kind;
	Member member;

	// The setting's value as a file may spell it.
	std::string getText(const CoordinatorSettings &settings) const;
	// Takes a value from a file. False, with nothing changed, for one of the wrong kind or out of range.
	bool setText(CoordinatorSettings &settings, const std::string &text) const;
};

// What is told as the source of a setting that a switch has set.
inline constexpr std::string_view COMMAND_LINE = "command line";

// All keys, in the order in which they are read: the names first, since the sections that count depend on them.
std::span<const ConfigurationKey> getConfigurationKeys();

// Null for a name that no key has.
const ConfigurationKey *findConfigurationKey(std::string_view name);

// 0 to 3; anything beyond is 0.
int64_t limitConsoleEcho(int64_t consoleEcho);

// Absolute, from the current folder; "-" and an empty path stay.
std::string normaliseSettingPath(const std::string &path);
}
