#pragma once

#include "MrvExternalLibrary.h"
#include "MrvHostCommandLine.h"
#include "MrvIScriptEngine.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Mrv
{
// The host: an engine with the host's objects, and what these do. Starts Morvane, runs a script, is idle until the end.
class SampleHost
{
public:
	SampleHost();

	// The whole life. Gives the exit status; for each but 0 a line on standard error says why, unless it is the script's own.
	int run(const HostCommandLine &line);

private:
	enum Status : int
	{
		WELL = 0,
		SCRIPT_FAILED = 1,
		NO_SCRIPT = 2,
		NO_START = 3,
		LARGEST = 255,
	};

	int start(const HostCommandLine &line);
	int runScript(const std::string &path);
	void idle();
	bool mustEnd() const;

	// What scripts call, by its name; the arguments begin behind it.
	using Arguments = std::vector<ScriptValue>;
	using Operation = bool (SampleHost::*)(const Arguments &arguments, ScriptValue &result);
	static const std::map<std::string, Operation> &getOperations();
	bool operate(const Arguments &arguments, ScriptValue &result);
	bool write(const Arguments &arguments, ScriptValue &result);
	bool log(const Arguments &arguments, ScriptValue &result);
	bool sleep(const Arguments &arguments, ScriptValue &result);
	bool fullPath(const Arguments &arguments, ScriptValue &result);
	bool fileExists(const Arguments &arguments, ScriptValue &result);
	bool programFolder(const Arguments &arguments, ScriptValue &result);
	bool quit(const Arguments &arguments, ScriptValue &result);
	bool load(const Arguments &arguments, ScriptValue &result);
	bool unload(const Arguments &arguments, ScriptValue &result);
	bool methods(const Arguments &arguments, ScriptValue &result);
	bool version(const Arguments &arguments, ScriptValue &result);
	bool argument(const Arguments &arguments, ScriptValue &result);
	bool invoke(const Arguments &arguments, ScriptValue &result);
	ExternalLibrary *find(const Arguments &arguments, ScriptValue &result) const;

	// What scripts have loaded, named by the places; null: unloaded. A file is loaded once, whoever asks for it.
	std::vector<std::shared_ptr<ExternalLibrary>> fLibraries;
	Arguments fArguments; // of the next invocation
	bool fIsQuitting = false;
	int fStatus = WELL;
	std::unique_ptr<IScriptEngine> fEngine;
	std::string fRefusal; // why there is no engine
};
}
