#pragma once

#include <optional>
#include <string>

// The system's name, environment variables as UTF-8, and the places that the well-known folders come from.
namespace Mrv::Platform
{
// "linux" or "windows".
const std::string &systemName();

// The variable's value, which may be empty; none when it isn't set or the name is no possible one.
std::optional<std::string> environmentVariable(const std::string &name);

// Sets or removes a variable of this process and of those it starts later. False when the name or the value is no possible one.
// Not to be called while another thread reads the environment.
bool setEnvironmentVariable(const std::string &name, const std::string &value);
bool unsetEnvironmentVariable(const std::string &name);

enum class WellKnownFolder
{
	HOME,        // the user's home
	USER_DATA,   // where programs keep a user's data
	LOCAL_DATA,  // the same for what doesn't follow the user to other machines
	SYSTEM_DATA, // where programs keep data of all users
	TEMPORARY,   // for files that may vanish
};

// The folder as the system's conventions name it, without a separator at its end; the environment is read anew with each call.
// None when the environment doesn't tell. Nothing is said about whether the folder exists.
std::optional<std::string> wellKnownFolder(WellKnownFolder folder);
}
