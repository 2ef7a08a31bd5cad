#include "MrvParser/Language/MrvExpressionFactory.h"

#include "MrvParser/Language/MrvLocalVariables.h"
#include "MrvParser/Language/MrvOMExpressionBinary.h"
#include "MrvParser/Language/MrvOMExpressionKeyword.h"
#include "MrvParser/Language/MrvOMExpressionLValueCall.h"
#include "MrvParser/Language/MrvOMExpressionLValueIndexByExpression.h"
#include "MrvParser/Language/MrvOMExpressionLValueStr.h"
#include "MrvParser/Language/MrvOMExpressionLValueToken.h"
#include "MrvParser/Language/MrvOMExpressionSequence.h"
#include "MrvParser/Language/MrvOMExpressionTernary.h"
#include "MrvParser/Language/MrvOMExpressionUnary.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvOperations.h"
#include "MrvUtils/MrvUtils.h"

namespace Mrv
{
namespace
{
// A sequence of the same operator that the left side is, to be added to.
OMExpressionSequence *sequenceOf(const Value &value, BinOp binOp)
{
	if (!value.isExpression() || value.expression()->getClass() != IExpression::Class::SEQUENCE)
	{
		return nullptr;
	}
	auto *sequence = static_cast<OMExpressionSequence *>(value.expression());
	return sequence->getBinOp() == binOp ? sequence : nullptr;
}

const char *const UNEXPECTED_TARGET = "left side of assignment is no place";
}

bool ExpressionFactory::isConstant(const Value &value)
{
	if (value.isArray())
	{
		return value.array()->fIsData;
	}
	if (value.isMap())
	{
		return value.map()->fIsData;
	}
	return !value.isExpression() && !value.isFunction();
}

bool ExpressionFactory::isLValue(const Value &value)
{
	return OMExpressionLValue::fromOperand(value) != nullptr;
}

std::string ExpressionFactory::getPlainName(const Value &value)
{
	const OMExpressionLValue *lValue = OMExpressionLValue::fromOperand(value);
	return lValue && lValue->isPlainName() ? lValue->getIdentifier() : std::string();
}

bool ExpressionFactory::refuse(Value &result, const char *message)
{
	fMessage = message;
	result = Value();
	return false;
}

bool ExpressionFactory::accept(Value &result, const Ref<OMExpression> &expression, uint32_t offset)
{
	if (expression->getHeight() > MAX_HEIGHT)
	{
		return refuse(result, "nesting limit reached");
	}
	expression->setSource(fSource, offset);
	result = Value::expression(Ref<IExpression>(expression));
	return true;
}

bool ExpressionFactory::registerBinaryOperation(Value &result, BinOp binOp, const Value &left, const Value &right, uint32_t offset)
{
	if (binOp == BinOp::ASSIGN)
	{
		if (!isLValue(left))
		{
			return refuse(result, UNEXPECTED_TARGET);
		}
		return accept(result, makeRef<OMExpressionBinary>(binOp, left, right), offset);
	}
	if (isListOperator(binOp) || binOp == BinOp::ADD)
	{
		if (OMExpressionSequence *sequence = sequenceOf(left, binOp))
		{
			sequence->append(right);
			result = Value::expression(Ref<IExpression>(sequence));
			return sequence->getHeight() <= MAX_HEIGHT || refuse(result, "nesting limit reached");
		}
	}
	const bool isLoop = binOp == BinOp::WHILE || binOp == BinOp::DO_WHILE;
	// Containers have no order: what would fail is left to fail when it runs, if it ever does.
	const bool isOrderOfContainers =
	    binOp >= BinOp::LT && binOp <= BinOp::GE && (left.isArray() || left.isMap()) && left.type() == right.type();
	if (!isLoop && !isOrderOfContainers && isConstant(left) && isConstant(right))
	{
		bool isOk = true;
		Value folded = binaryOperation(binOp, left, right, isOk);
		if (isOk && !folded.isError())
		{
			result = std::move(folded);
			return true;
		}
	}
	if (isListOperator(binOp) || binOp == BinOp::ADD)
	{
		return accept(result, makeRef<OMExpressionSequence>(binOp, left, right), offset);
	}
	return accept(result, makeRef<OMExpressionBinary>(binOp, left, right), offset);
}

bool ExpressionFactory::registerUnaryOperation(Value &result, UnOp unOp, const Value &operand, uint32_t offset)
{
	if (unOp == UnOp::RETURN)
	{
		if (operand.isExpression() && operand.expression()->isReturn())
		{
			result = operand;
			return true;
		}
		return accept(result, makeRef<OMExpressionUnary>(unOp, operand), offset);
	}
	if (isConstant(operand))
	{
		const bool isPostfix = unOp == UnOp::POST_INCREMENT || unOp == UnOp::POST_DECREMENT;
		bool isOk = true;
		Value folded = isPostfix ? Value::number(getAsNum(operand)) : unaryOperation(unOp, operand, isOk);
		if (isOk && !folded.isError())
		{
			result = std::move(folded);
			return true;
		}
	}
	return accept(result, makeRef<OMExpressionUnary>(unOp, operand), offset);
}

bool ExpressionFactory::registerTernaryOperation(
    Value &result, TernOp ternOp, const Value &condition, const Value &first, const Value &second, uint32_t offset)
{
	if (isConstant(condition))
	{
		const Value chosen = getAsBool(condition) ? first : second;
		if (isConstant(chosen))
		{
			result = chosen;
			return true;
		}
	}
	return accept(result, makeRef<OMExpressionTernary>(ternOp, condition, first, second), offset);
}

bool ExpressionFactory::registerKeywordOperation(Value &result, Token token, uint32_t offset)
{
	return accept(result, makeRef<OMExpressionKeyword>(token), offset);
}

bool ExpressionFactory::makeName(Value &result, const Value &parent, const std::string &identifier, uint32_t offset)
{
	return accept(result, makeRef<OMExpressionLValueStr>(parent, identifier), offset);
}

bool ExpressionFactory::makeToken(Value &result, const Value &parent, Token token, uint32_t offset)
{
	return accept(result, makeRef<OMExpressionLValueToken>(parent, token), offset);
}

bool ExpressionFactory::makeIndex(Value &result, const Value &container, const Value &index, uint32_t offset)
{
	if (index.isInt() && index.intPayload() < 0)
	{
		return refuse(result, "negative index value");
	}
	// A name that needs no quotes is a member; every other text (also a built-in word) is always the attribute.
	if (index.isString() && Utils::isIdentifierName(index.text()) && findToken(index.text()) == Token::NONE)
	{
		return makeName(result, container, std::string(index.text()), offset);
	}
	return accept(result, makeRef<OMExpressionLValueIndexByExpression>(container, index), offset);
}

bool ExpressionFactory::makeCall(Value &result, const Value &callee, bool isBracketed, std::vector<Value> &&arguments, uint32_t offset)
{
	if (!isBracketed && callee.isExpression() && callee.expression()->getClass() == IExpression::Class::LVALUE_STR)
	{
		const auto &name = static_cast<const OMExpressionLValueStr &>(*callee.expression());
		if (!name.isCall())
		{
			return accept(result, makeRef<OMExpressionLValueStr>(name, std::move(arguments)), offset);
		}
	}
	if (!isBracketed && callee.isExpression() && callee.expression()->getClass() == IExpression::Class::LVALUE_TOKEN)
	{
		const auto &word = static_cast<const OMExpressionLValueToken &>(*callee.expression());
		if (!word.hasArgumentList())
		{
			return accept(result, makeRef<OMExpressionLValueToken>(word, std::move(arguments)), offset);
		}
	}
	return accept(result, makeRef<OMExpressionLValueCall>(callee, std::move(arguments)), offset);
}

bool ExpressionFactory::makeFunction(Value &result, const Ref<FunctionSignature> &signature, const Value &body)
{
	Value expression = body;
	if (!body.isExpression() && !registerUnaryOperation(expression, UnOp::RETURN, body, 0))
	{
		return false;
	}
	LocalVariables::scan(expression, *signature);
	LocalVariables::layOut(expression, *signature);
	result = Value::function(makeRef<FunctionObject>(signature, expression));
	return true;
}
}
