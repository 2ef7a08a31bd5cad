#include "MrvParser/FileSystem/MrvOMExpressionFileSystem.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvObject/MrvHash.h"
#include "MrvParser/FileSystem/MrvOMFileSystem.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvExpressionText.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Language/MrvScriptEvaluation.h"

namespace Mrv
{
namespace
{
constexpr const char *PARAMETER_NAME = "path";
}

Value OMExpressionFileSystem::makeFunction()
{
	auto signature = makeRef<FunctionSignature>();
	signature->addParameter(FUNCTION_NAME);
	signature->addParameter(PARAMETER_NAME);
	return Value::function(makeRef<FunctionObject>(signature, Value::expression(makeRef<OMExpressionFileSystem>())));
}

void OMExpressionFileSystem::evaluate_yielding(Task &task, Value &result, Environment &environment) const
{
	const Environment::Variable path = environment.find(Name(PARAMETER_NAME));
	if (!path.place || path.place->inPlace().type() == OMType::Undefined)
	{
		LOG_ERROR("insufficient arguments");
		result = Value();
		return;
	}
	std::string text;
	if (!getAsString(path.place->inPlace(), text))
	{
		result = Evaluation::fail(*this, "the value has no text");
		return;
	}
	task.readClockSoon();
	result = Value::nodeItself(OMFileSystem::factory(ScriptEvaluation::resolvePath(text, *environment.getScope())));
}

bool OMExpressionFileSystem::appendText(std::string &text, NodeWalk &) const
{
	text += "/* the file system */";
	return true;
}

uint64_t OMExpressionFileSystem::computeHash(NodeWalk &) const
{
	return fnvHash(std::string_view(FUNCTION_NAME));
}

int OMExpressionFileSystem::compare(const IExpression &other, NodeWalk &) const
{
	return ExpressionText::compareClasses(*this, other);
}
}
