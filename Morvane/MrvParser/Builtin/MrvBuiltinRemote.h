#pragma once

#include "MrvParser/Builtin/MrvIRemoteScripts.h"
#include "MrvParser/Language/MrvBuiltin.h"

#include <string>

namespace Mrv::Builtins
{
// What the built-in functions that reach other places have in common.

// An Int is the time-out in milliseconds, a Function the call-back. False, with nothing changed, for anything else.
bool readRemoteOption(const Value &option, IRemoteScripts::Options &options);

// Finds the place of an address. False with the Error in `result` when it leads nowhere. refusal: what the Error begins with.
bool findRemoteTarget(const BuiltinCall &call, const std::string &text, const char *refusal, IRemoteScripts::Target &target, Value &result);

// The answer that a request has brought, an Error if it has none.
Value takeRemoteResult(const BuiltinCall &call, const Task &request, const char *refusal);
}
