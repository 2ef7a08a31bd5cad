#include "MrvParser/Language/MrvOMExpression.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvMapContainer.h"

namespace Mrv
{
bool OMExpression::evaluateDirect(Value &, Environment &) const
{
	return false;
}

bool OMExpression::isPureOperand(const Value &operand)
{
	if (operand.isExpression())
	{
		const auto *expression = static_cast<const OMExpression *>(operand.expression());
		return expression->isPure() && expression->getHeight() < MAX_DIRECT_HEIGHT;
	}
	if (operand.isArray())
	{
		return operand.array()->fIsData;
	}
	if (operand.isMap())
	{
		return operand.map()->fIsData;
	}
	return !operand.isFunction();
}

void OMExpression::finishConstruction(bool isDirectByItself, bool isPureByItself)
{
	bool arePure = true;
	uint32_t height = 0;
	forEachOperand(
	    [&](const Value &operand)
	    {
		    arePure = arePure && isPureOperand(operand);
		    if (operand.isExpression())
		    {
			    height = std::max(height, static_cast<const OMExpression *>(operand.expression())->getHeight());
		    }
	    });
	fHeight = height + 1;
	fIsDirect = isDirectByItself && arePure;
	fIsPure = fIsDirect && isPureByItself;
}

void OMExpression::get_yielding(const std::shared_ptr<Task> &task, std::shared_ptr<IOMNode> &result, AccessType,
    const std::shared_ptr<OMScope> &scope, ScriptPhase phase) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value value;
	};
	enum At : int32_t
	{
		START = 0,
		VALUE_KNOWN = 1000000,
		DONE = -1
	};

	SANITY_CHECK(scope, return );
	if (phase == ScriptPhase::PARSE)
	{
		result = nullptr; // what could be folded has been folded by the parser
		return;
	}
	YieldingFrame<LocalVariableState> frame(*task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(VALUE_KNOWN, [&] { evaluate(*task, frame->value, scope->getEnvironment()); });
				break;
			case VALUE_KNOWN:
				frame->value.settle();
				result = frame->value.toNode();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

void OMExpression::set_yielding(
    const std::shared_ptr<Task> &, bool &success, std::shared_ptr<IOMNode> &, const std::shared_ptr<OMScope> &, ScriptPhase) const
{
	success = false;
	LOG_ERROR("setting value on an expression that is no place");
}
}
