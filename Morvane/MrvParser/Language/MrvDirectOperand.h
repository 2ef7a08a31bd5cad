#pragma once

#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvOMExpressionLValueStr.h"

namespace Mrv
{
// An operand of a direct evaluation, looked at where it lies if it is a variable or a constant, so that nothing is copied.
//
// What is looked at stays good until a variable changes. Reading `this` or `arguments` may change variables, so an operand that is no
// plain variable is read before one that is.
class DirectOperand
{
public:
	// False: it can't be evaluated directly; nothing has happened.
	bool read(const Value &operand, Environment &environment)
	{
		if (operand.isExpression())
		{
			const auto *expression = static_cast<const OMExpression *>(operand.expression());
			if (expression->isPlainVariable())
			{
				fValue = static_cast<const OMExpressionLValueStr *>(expression)->peek(environment);
				if (fValue)
				{
					return true;
				}
			}
			fValue = &fHolder;
			return expression->isPure() && expression->evaluateDirect(fHolder, environment);
		}
		if (operand.isArray() || operand.isMap() || operand.isFunction())
		{
			fValue = &fHolder;
			return Evaluation::evaluateOperandDirect(fHolder, operand, environment);
		}
		fValue = &operand;
		return true;
	}
	const Value &operator*() const { return *fValue; }
	const Value *operator->() const { return fValue; }
	// A value of its own.
	Value take() { return fValue == &fHolder ? std::move(fHolder) : Value(*fValue); }

	// Reads two operands, in the order that is safe.
	static bool readBoth(
	    DirectOperand &left, const Value &leftOperand, DirectOperand &right, const Value &rightOperand, Environment &environment)
	{
		const bool isLeftPlain =
		    leftOperand.isExpression() && static_cast<const OMExpression *>(leftOperand.expression())->isPlainVariable();
		if (isLeftPlain)
		{
			return right.read(rightOperand, environment) && left.read(leftOperand, environment);
		}
		return left.read(leftOperand, environment) && right.read(rightOperand, environment);
	}

private:
	const Value *fValue = nullptr;
	Value fHolder;
};
}
