#include "MrvExternalLibrary.h"

#include "MrvHostInterface.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace Mrv
{
namespace
{
using ClientInterface = int32_t(int32_t reason, SoServerInterface_s *serverInterface, SoHServer serverHandle);
using Initialize = char *(const TaggedData *argv, int32_t argc);
using Terminate = void();
using GetVersion = int32_t();
using FreeMemory = void(void *memory);

// This host offers libraries nothing of its own; it is somebody all the same.
int sServer = 0;

SoServerInterface_s *serverInterface()
{
	return reinterpret_cast<SoServerInterface_s *>(&sServer);
}

// As a script would write it: integers without a point.
std::string numberText(double number)
{
	constexpr double EXACT = 9007199254740992.0;
	char text[32];
	const bool isInteger = std::abs(number) <= EXACT && std::floor(number) == number;
	std::snprintf(text, sizeof text, isInteger ? "%.0f" : "%.17g", number);
	return text;
}

std::string textOf(const ScriptValue &value)
{
	if (const auto *text = std::get_if<std::string>(&value))
	{
		return *text;
	}
	if (const auto *number = std::get_if<double>(&value))
	{
		return numberText(*number);
	}
	const auto *truth = std::get_if<bool>(&value);
	return !truth ? "undefined" : *truth ? "true" : "false";
}

std::string describe(const std::string &method, int32_t code)
{
	switch (code)
	{
		case MRV_HOST_BAD_ARGUMENT_COUNT:
			return method + ": wrong number of arguments";
		case MRV_HOST_NO_ENGINE:
			return method + ": nothing is started";
		default:
			return method + ": error " + std::to_string(code);
	}
}
}

std::unique_ptr<ExternalLibrary> ExternalLibrary::load(const std::string &path, std::string &refusal)
{
	std::unique_ptr<ExternalLibrary> library(new ExternalLibrary(path));
	if (!library->fLibrary.isLoaded())
	{
		refusal = path + " can't be loaded: " + library->fLibrary.getRefusal();
		return nullptr;
	}
	if (!library->introduce(refusal))
	{
		refusal = path + " is no external object: " + refusal;
		return nullptr;
	}
	return library;
}

bool ExternalLibrary::introduce(std::string &refusal)
{
	for (const char *name : {"ESInitialize", "ESTerminate", "ESGetVersion", "ESClientInterface", "ESMallocMem", "ESFreeMem"})
	{
		if (!fLibrary.find<void()>(name))
		{
			refusal = std::string("it doesn't export ") + name;
			return false;
		}
	}
	const char *list = fLibrary.find<Initialize>("ESInitialize")(nullptr, 0);
	if (!list || !readMethods(list, refusal))
	{
		refusal = list ? refusal : "it names no methods";
		return false;
	}
	fIsIntroduced = fLibrary.find<ClientInterface>("ESClientInterface")(kSoCClient_init, serverInterface(), &sServer) == MRV_HOST_OK;
	refusal = fIsIntroduced ? std::string() : "it refuses this host";
	return fIsIntroduced;
}

ExternalLibrary::~ExternalLibrary()
{
	if (fIsIntroduced)
	{
		fLibrary.find<ClientInterface>("ESClientInterface")(kSoCClient_term, serverInterface(), &sServer);
		fLibrary.find<Terminate>("ESTerminate")();
	}
}

// "name,name_signature": what stands behind the last underscore are the types of the arguments.
bool ExternalLibrary::readMethods(const std::string &list, std::string &refusal)
{
	for (std::size_t begin = 0; begin < list.size();)
	{
		const std::size_t end = std::min(list.find(',', begin), list.size());
		const std::string entry = list.substr(begin, end - begin);
		const std::size_t underscore = entry.rfind('_');
		const std::string name = entry.substr(0, underscore);
		const std::string signature = underscore == std::string::npos ? std::string() : entry.substr(underscore + 1);
		auto *function = fLibrary.find<Method>(name.c_str());
		if (!function || signature.find_first_not_of('s') != std::string::npos)
		{
			refusal = function ? "its method " + entry + " wants arguments of a type that this host lacks" : "it doesn't export " + name;
			return false;
		}
		fMethods[name] = {function, signature};
		begin = end + 1;
	}
	return true;
}

std::string ExternalLibrary::getMethodNames() const
{
	std::string names;
	for (const auto &[name, method] : fMethods)
	{
		names += (names.empty() ? "" : ",") + name;
	}
	return names;
}

int32_t ExternalLibrary::getVersion() const
{
	return fLibrary.find<GetVersion>("ESGetVersion")();
}

bool ExternalLibrary::call(const std::string &method, const std::vector<ScriptValue> &arguments, ScriptValue &result) const
{
	const auto found = fMethods.find(method);
	if (found == fMethods.end())
	{
		result = "there is no method " + method;
		return false;
	}
	const MethodEntry &entry = found->second;
	std::vector<std::string> texts(arguments.size());
	std::vector<TaggedData> argv(arguments.size());
	for (std::size_t index = 0; index < arguments.size(); ++index)
	{
		if (index < entry.signature.size() || std::holds_alternative<std::string>(arguments[index]))
		{
			texts[index] = textOf(arguments[index]);
			argv[index].data.string = texts[index].data();
			argv[index].type = MRV_HOST_STRING;
		}
	}
	TaggedData taken{};
	const int32_t code = entry.function(argv.data(), static_cast<int32_t>(argv.size()), &taken);
	const bool isTaken = takeResult(taken, result);
	if (code != MRV_HOST_OK || !isTaken)
	{
		result = code != MRV_HOST_OK ? describe(method, code) : method + ": a result of a type that this host lacks";
		return false;
	}
	return true;
}

bool ExternalLibrary::takeResult(TaggedData &taken, ScriptValue &result) const
{
	switch (taken.type)
	{
		case MRV_HOST_UNDEFINED:
			result = std::monostate();
			return true;
		case MRV_HOST_UNSIGNED:
			result = static_cast<double>(taken.data.uintval);
			return true;
		case MRV_HOST_STRING:
			result = std::string(taken.data.string ? taken.data.string : "");
			fLibrary.find<FreeMemory>("ESFreeMem")(taken.data.string);
			return true;
		default:
			return false;
	}
}
}
