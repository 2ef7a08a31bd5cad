// References on trees. An input is a byte that says what to do, a tree as script text, a NUL, and a reference. Functions of the script
// that a reference calls look at what they get and change the tree.
#include "FuzzEnvironment.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Reference/MrvOMAccessor.h"
#include "MrvParser/Task/MrvAccessOMNodeTasks.h"
#include "MrvParser/Task/MrvEvalTask.h"
#include "MrvParser/Task/MrvParseTask.h"

using namespace Mrv;

namespace
{
constexpr uint8_t WITH_SCOPE = 4;
constexpr uint8_t ALWAYS_YIELD = 8;
constexpr int MAX_SLICES = 2000;

std::shared_ptr<OMScope> makeScope()
{
	auto scope = OMScope::factory();
	const auto functions = OMStored::undefinedFactory();
	ParseTask::call(functions, "f = function(a, b) { if (this == 'ignore') { return b == 'z'; } return a[0]; };"
	                           "g = function(a) { a.added = 1; tree.x = a; return a; };");
	EvalTask::call(functions, scope, HandleReturnValue::UNWRAP);
	return scope;
}
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
	Fuzz::prepare();
	return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	Fuzz::Input input(data, size);
	const uint8_t options = input.takeByte();
	const auto tree = OMStored::undefinedFactory();
	if (!ParseTask::call(tree, input.takeText()) || !tree->isResolved(ScriptPhase::RUN))
	{
		return -1; // not worth keeping
	}
	const std::string reference(input.rest());
	const auto accessor = std::make_shared<OMAccessor>(tree);
	if (options & WITH_SCOPE)
	{
		const auto scope = makeScope();
		OMAccessor(scope).set("tree", std::static_pointer_cast<IOMNode>(tree));
		accessor->setAccessorScope(scope);
	}
	Task::setAlwaysYield((options & ALWAYS_YIELD) != 0);
	const auto accessType = static_cast<AccessType>(1 + options % 3);
	const auto task = AccessOMNodeTask::factory(
	    accessor, accessType, reference, static_cast<ReferenceType>(options / 16 % 3), OMStored::factory(OMInt{7}));
	// A walk that writes may take very many routes: it is cut off, as a deadline would.
	for (int slice = 0; !task->isTaskCompleted() && slice < MAX_SLICES; ++slice)
	{
		task->runTimeslice(100);
	}
	task->exit();
	task->runTimeslice(100);
	Task::setAlwaysYield(false);
	if (accessType == AccessType::GET)
	{
		static_cast<void>(accessor->getAsString(reference));
	}
	if (accessor->getAccessorNode()->getType() == OMType::Map)
	{
		accessor->getAccessorNode()->getOMStoredPtr()->getValue().map()->clear(); // it may hold itself
	}
	Task::releaseAll();
	return 0;
}
