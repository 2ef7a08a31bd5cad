#pragma once

#include "MrvParser/Reference/MrvMatchNode.h"

#include <string>

namespace Mrv
{
// `count()`, `name()`, `select()`, or a function of the script. It keeps the matches of all links below it and hands on what it makes of
// them.
class MatchNodeFunction final : public MatchNode
{
public:
	enum class Function : uint8_t
	{
		COUNT,
		NAME,
		SELECT,
		SCRIPT,
	};

	static std::shared_ptr<MatchNode> factory(const std::shared_ptr<MatchNode> &parent, const std::string &functionName);
	explicit MatchNodeFunction(std::string functionName);

	Function getFunction() const { return fFunction; }
	const std::string &getFunctionName() const { return fFunctionName; }
	// `count()` and `name()` give values of their own: nothing can be assigned through them.
	bool refusesAssignment() const { return fFunction == Function::COUNT || fFunction == Function::NAME; }

private:
	const std::string fFunctionName;
	const Function fFunction;
};
}
