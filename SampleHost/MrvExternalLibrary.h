#pragma once

#include "MrvIScriptEngine.h"

#include "MrvPlatform/MrvSharedLibrary.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

struct TaggedData_s;

namespace Mrv
{
// An external object as a host uses it: loaded and introduced to the host, its methods named by itself, its values converted.
class ExternalLibrary
{
public:
	// Loads a library, from an absolute path, and introduces the host to it. Null when that can't be; `refusal` tells why.
	static std::unique_ptr<ExternalLibrary> load(const std::string &path, std::string &refusal);
	// Takes leave of it and unloads it.
	~ExternalLibrary();
	ExternalLibrary(const ExternalLibrary &) = delete;
	ExternalLibrary &operator=(const ExternalLibrary &) = delete;

	const std::string &getPath() const { return fPath; }
	// The names of the methods, separated by commas.
	std::string getMethodNames() const;
	int32_t getVersion() const;
	// Calls a method. An argument is converted to what the method's signature asks for ('s': a text); what stands beyond the signature
	// goes as it is, a text with its content and anything else without. False when there is no such method or it reports an error; then
	// the result is a text that tells it.
	bool call(const std::string &method, const std::vector<ScriptValue> &arguments, ScriptValue &result) const;

private:
	explicit ExternalLibrary(const std::string &path) : fPath(path), fLibrary(path) {}
	bool introduce(std::string &refusal);
	bool readMethods(const std::string &list, std::string &refusal);
	bool takeResult(TaggedData_s &taken, ScriptValue &result) const;

	using Method = int32_t(TaggedData_s *argv, int32_t argc, TaggedData_s *retval);
	struct MethodEntry
	{
		Method *function;
		std::string signature;
	};

	const std::string fPath;
	Platform::SharedLibrary fLibrary;
	std::map<std::string, MethodEntry> fMethods;
	bool fIsIntroduced = false;
};
}
