#pragma once

#include "MrvParser/Language/MrvOMExpression.h"

namespace Mrv
{
// The body of `fileSystem(path)`: gives the node of the path, which counts from the folder of the running script if it is relative. Without
// a path it logs "insufficient arguments" and gives Undefined.
class OMExpressionFileSystem final : public OMExpression
{
public:
	static constexpr const char *FUNCTION_NAME = "fileSystem";

	OMExpressionFileSystem() { finishConstruction(false, false); }

	// The function as a value like any other.
	static Value makeFunction();

	Class getClass() const override { return Class::NATIVE; }
	void evaluate_yielding(Task &task, Value &result, Environment &environment) const override;
	void forEachOperand(const OperandVisitor &) const override {}
	bool appendText(std::string &text, NodeWalk &walk) const override;
	uint64_t computeHash(NodeWalk &walk) const override;
	int compare(const IExpression &other, NodeWalk &walk) const override;
};
}
