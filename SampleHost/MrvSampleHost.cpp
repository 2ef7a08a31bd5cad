#include "MrvSampleHost.h"

#include "MrvHostObjects.h"

#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvModulePath.h"
#include "MrvPlatform/MrvSignals.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvUtils/MrvDirs.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <utility>

namespace Mrv
{
namespace
{
constexpr double NANOSECONDS_PER_MILLISECOND = 1e6;
constexpr double LONGEST_SLEEP = 86'400'000; // a day, in milliseconds
constexpr std::size_t LARGEST_SCRIPT = std::size_t{1} << 29;
// How often the coordinator gets a slice, in milliseconds: this host has nothing else to do.
constexpr const char *IDLE_SLEEP = "1";

void report(const std::string &text)
{
	Platform::console().flush();
	Platform::console().write(Platform::StandardStream::ERROR_OUTPUT, text + "\n");
}

std::string folderOfProgram()
{
	const std::string path = Platform::modulePath().value_or("");
	return path.substr(0, path.find_last_of("/\\") + 1);
}

// A literal for scripts.
std::string quote(const std::string &text)
{
	std::string literal = "\"";
	for (const char character : text)
	{
		if (character == '"' || character == '\\')
		{
			literal += '\\';
		}
		literal += character == '\n' || character == '\r' ? ' ' : character;
	}
	return literal + '"';
}

std::string textOf(const std::vector<ScriptValue> &arguments)
{
	const auto *text = arguments.empty() ? nullptr : std::get_if<std::string>(arguments.data());
	return text ? *text : std::string();
}

double numberOf(const std::vector<ScriptValue> &arguments)
{
	const auto *number = arguments.empty() ? nullptr : std::get_if<double>(arguments.data());
	return number && !std::isnan(*number) ? *number : 0;
}

bool isSameFile(const std::string &path, const std::string &other)
{
	const auto nameOf = [](const std::string &name) { return std::filesystem::path(std::u8string(name.begin(), name.end())); };
	std::error_code missing;
	return std::filesystem::equivalent(nameOf(path), nameOf(other), missing);
}

void sleepMilliseconds(double milliseconds)
{
	const double nanoseconds = std::clamp(milliseconds, 0.0, LONGEST_SLEEP) * NANOSECONDS_PER_MILLISECOND;
	const int64_t end = Platform::steadyNanoseconds() + static_cast<int64_t>(nanoseconds);
	while (Platform::steadyNanoseconds() < end && Platform::pendingSignal() == 0)
	{
		Platform::sleepUntil(end);
	}
}
}

SampleHost::SampleHost()
    : fEngine(makeScriptEngine([this](const Arguments &arguments, ScriptValue &result) { return operate(arguments, result); }, fRefusal))
{
}

int SampleHost::run(const HostCommandLine &line)
{
	int status = start(line);
	if (status == WELL)
	{
		status = line.script.empty() ? static_cast<int>(WELL) : runScript(line.script);
		if (status == WELL)
		{
			idle();
			status = fStatus;
		}
		std::string error;
		if (!fEngine->run("Morvane.shutdown();", "end", error))
		{
			report(error);
		}
	}
	fEngine = nullptr;
	fLibraries.clear();
	return status;
}

int SampleHost::start(const HostCommandLine &line)
{
	if (!fEngine)
	{
		report("morvane-host: " + fRefusal);
		return NO_START;
	}
	const std::string library = folderOfProgram() + "morvane.jsx";
	std::string text;
	if (!Dirs::readFile(library, text, LARGEST_SCRIPT))
	{
		report("morvane-host: there is no " + library);
		return NO_START;
	}
	// The coordinator writes its lines to standard error by itself; what morvane.jsx has to say is added.
	const std::string start = "Morvane.onLog = function (line) { if (/^Morvane/.test(line)) { morvaneHost.call(\"log\", line); } };"
	                          "Morvane.init(" +
	                          quote(line.coordinatorName) + (line.library.empty() ? "" : ", " + quote(Dirs::fullPath(line.library))) +
	                          "); Morvane.startIdleTask(" + IDLE_SLEEP + ");";
	std::string error;
	if (!fEngine->run(HOST_OBJECTS, "HostObjects.jsx", error) || !fEngine->run("$.fileName = " + quote(library) + ";", "start", error) ||
	    !fEngine->run(text, library, error) || !fEngine->run(start, "start", error))
	{
		report("morvane-host: " + error);
		return NO_START;
	}
	return WELL;
}

int SampleHost::runScript(const std::string &path)
{
	std::string text;
	if (!Dirs::readFile(path, text, LARGEST_SCRIPT))
	{
		report("morvane-host: " + path + " can't be read");
		return NO_SCRIPT;
	}
	std::string error;
	if (!fEngine->run("$.fileName = " + quote(Dirs::fullPath(path)) + ";", "start", error) || !fEngine->run(text, path, error))
	{
		report(error);
		return SCRIPT_FAILED;
	}
	return WELL;
}

bool SampleHost::mustEnd() const
{
	return fIsQuitting || Platform::pendingSignal() != 0;
}

void SampleHost::idle()
{
	while (!mustEnd())
	{
		ScriptValue wait;
		std::string error;
		if (!fEngine->evaluate("app.idleTasks.run()", wait, error))
		{
			report(error);
			fStatus = SCRIPT_FAILED;
			return;
		}
		const auto *milliseconds = std::get_if<double>(&wait);
		if (!milliseconds || *milliseconds < 0)
		{
			return; // nothing will ever happen again
		}
		if (!mustEnd())
		{
			sleepMilliseconds(*milliseconds);
		}
	}
}

const std::map<std::string, SampleHost::Operation> &SampleHost::getOperations()
{
	static const std::map<std::string, Operation> operations = {
	    {"write", &SampleHost::write},
	    {"log", &SampleHost::log},
	    {"sleep", &SampleHost::sleep},
	    {"fullPath", &SampleHost::fullPath},
	    {"fileExists", &SampleHost::fileExists},
	    {"programFolder", &SampleHost::programFolder},
	    {"quit", &SampleHost::quit},
	    {"load", &SampleHost::load},
	    {"unload", &SampleHost::unload},
	    {"methods", &SampleHost::methods},
	    {"version", &SampleHost::version},
	    {"argument", &SampleHost::argument},
	    {"invoke", &SampleHost::invoke},
	};
	return operations;
}

bool SampleHost::operate(const Arguments &arguments, ScriptValue &result)
{
	result = std::monostate();
	const auto found = getOperations().find(textOf(arguments));
	if (found == getOperations().end())
	{
		result = "the host has no operation '" + textOf(arguments) + "'";
		return false;
	}
	return (this->*found->second)(Arguments(arguments.begin() + 1, arguments.end()), result);
}

bool SampleHost::write(const Arguments &arguments, ScriptValue &)
{
	Platform::console().write(Platform::StandardStream::OUTPUT, textOf(arguments));
	return true;
}

bool SampleHost::log(const Arguments &arguments, ScriptValue &)
{
	report(textOf(arguments));
	return true;
}

bool SampleHost::sleep(const Arguments &arguments, ScriptValue &)
{
	Platform::console().flush();
	sleepMilliseconds(numberOf(arguments));
	return true;
}

bool SampleHost::fullPath(const Arguments &arguments, ScriptValue &result)
{
	result = Dirs::fullPath(textOf(arguments));
	return true;
}

bool SampleHost::fileExists(const Arguments &arguments, ScriptValue &result)
{
	result = Dirs::fileExists(textOf(arguments));
	return true;
}

bool SampleHost::programFolder(const Arguments &, ScriptValue &result)
{
	const std::string folder = folderOfProgram();
	result = folder.substr(0, std::max<std::size_t>(folder.size(), 1) - 1);
	return true;
}

bool SampleHost::quit(const Arguments &arguments, ScriptValue &)
{
	fIsQuitting = true;
	fStatus = static_cast<int>(std::clamp(numberOf(arguments), 0.0, static_cast<double>(LARGEST)));
	return true;
}

// --- External objects

bool SampleHost::load(const Arguments &arguments, ScriptValue &result)
{
	const std::string path = textOf(arguments);
	const auto isSame = [&](const std::shared_ptr<ExternalLibrary> &loaded) { return loaded && isSameFile(loaded->getPath(), path); };
	const auto found = std::find_if(fLibraries.begin(), fLibraries.end(), isSame);
	std::string refusal;
	std::shared_ptr<ExternalLibrary> library = found != fLibraries.end() ? *found : ExternalLibrary::load(path, refusal);
	if (!library)
	{
		result = refusal;
		return false;
	}
	result = static_cast<double>(fLibraries.size());
	fLibraries.push_back(std::move(library));
	return true;
}

ExternalLibrary *SampleHost::find(const Arguments &arguments, ScriptValue &result) const
{
	const double number = numberOf(arguments);
	ExternalLibrary *library =
	    number >= 0 && number < static_cast<double>(fLibraries.size()) ? fLibraries[static_cast<std::size_t>(number)].get() : nullptr;
	if (!library)
	{
		result = "the external object is unloaded";
	}
	return library;
}

bool SampleHost::unload(const Arguments &arguments, ScriptValue &result)
{
	if (!find(arguments, result))
	{
		return false;
	}
	fLibraries[static_cast<std::size_t>(numberOf(arguments))] = nullptr;
	return true;
}

bool SampleHost::methods(const Arguments &arguments, ScriptValue &result)
{
	const ExternalLibrary *library = find(arguments, result);
	if (library)
	{
		result = library->getMethodNames();
	}
	return library != nullptr;
}

bool SampleHost::version(const Arguments &arguments, ScriptValue &result)
{
	const ExternalLibrary *library = find(arguments, result);
	if (library)
	{
		result = static_cast<double>(library->getVersion());
	}
	return library != nullptr;
}

bool SampleHost::argument(const Arguments &arguments, ScriptValue &)
{
	fArguments.push_back(arguments.empty() ? ScriptValue() : arguments[0]);
	return true;
}

bool SampleHost::invoke(const Arguments &arguments, ScriptValue &result)
{
	const Arguments given = std::exchange(fArguments, {});
	const ExternalLibrary *library = find(arguments, result);
	return library && library->call(textOf({arguments.begin() + 1, arguments.end()}), given, result);
}
}
