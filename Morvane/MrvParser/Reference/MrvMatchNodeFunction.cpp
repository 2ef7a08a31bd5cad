#include "MrvParser/Reference/MrvMatchNodeFunction.h"

namespace Mrv
{
namespace
{
MatchNodeFunction::Function functionOf(const std::string &functionName)
{
	if (functionName == "count")
	{
		return MatchNodeFunction::Function::COUNT;
	}
	if (functionName == "name")
	{
		return MatchNodeFunction::Function::NAME;
	}
	return functionName == "select" ? MatchNodeFunction::Function::SELECT : MatchNodeFunction::Function::SCRIPT;
}
}

MatchNodeFunction::MatchNodeFunction(std::string functionName)
    : MatchNode(Kind::FUNCTION, 1, 1),
      fFunctionName(std::move(functionName)),
      fFunction(functionOf(fFunctionName))
{
}

std::shared_ptr<MatchNode> MatchNodeFunction::factory(const std::shared_ptr<MatchNode> &parent, const std::string &functionName)
{
	auto link = std::make_shared<MatchNodeFunction>(functionName);
	setParent(parent, link);
	return link;
}
}
