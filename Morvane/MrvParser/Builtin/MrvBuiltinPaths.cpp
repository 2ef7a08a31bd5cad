// Paths as texts, and what the system tells about itself.
#include "MrvParser/Builtin/MrvBuiltinArguments.h"
#include "MrvParser/Builtin/MrvBuiltinFunctions.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Language/MrvScriptEvaluation.h"
#include "MrvParser/Node/MrvIOMNode.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvPlatform/MrvEnvironment.h"
#include "MrvTask/MrvIInternalCoordinator.h"
#include "MrvUtils/MrvDirs.h"

namespace Mrv::Builtins
{
namespace
{
using TakeSegment = std::string (*)(const std::string &path, size_t index, char separator);

Value pathSegment(const BuiltinCall &call, TakeSegment takeSegment)
{
	if (!hasArguments(call, 2))
	{
		return Value();
	}
	const TextArgument path(call, 0);
	const TextArgument separatorText(call, 2);
	if (!path.isOk() || !separatorText.isOk())
	{
		return failText(call);
	}
	char separator = Platform::pathSeparator();
	if (isGiven(call, 2))
	{
		// What is no single character is no separator either, and is reported as such.
		separator = separatorText.view().size() == 1 ? separatorText.view().front() : '\0';
	}
	const int64_t index = positionArgument(call, 1);
	// An index that can't be is behind every end.
	return makeString(call, takeSegment(std::string(path.view()), index < 0 ? SIZE_MAX : static_cast<size_t>(index), separator));
}
}

Value ftn_parentPath(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	const TextArgument path(call, 0);
	return path.isOk() ? makeString(call, Dirs::getParentPath(std::string(path.view()))) : failText(call);
}

Value ftn_pathSegmentFromLeft(const BuiltinCall &call)
{
	return pathSegment(call, Dirs::getPathSegmentFromLeft);
}

Value ftn_pathSegmentFromRight(const BuiltinCall &call)
{
	return pathSegment(call, Dirs::getPathSegmentFromRight);
}

Value ftn_getEnv(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	const TextArgument name(call, 0);
	return name.isOk() ? makeString(call, Platform::environmentVariable(std::string(name.view())).value_or("")) : failText(call);
}

Value ftn_sysInfo(const BuiltinCall &call)
{
	IInternalCoordinator *internalCoordinator = IInternalCoordinator::current();
	EXPECTED(internalCoordinator);
	std::shared_ptr<IOMNode> sysInfo;
	ASSIGN_AS(sysInfo, internalCoordinator ? internalCoordinator->buildSysInfo() : nullptr,
	    "sysInfo = internalCoordinator->buildSysInfo();", return Value());
	Value information = Value::fromNode(sysInfo);
	if (information.isMap())
	{
		// Known here alone: the scope of the call.
		information.map()->set(
		    Name("scriptFilePath"), Value::string(ScriptEvaluation::toSystemPath(call.environment.getScope()->getScriptFilePath())));
	}
	return information;
}
}
