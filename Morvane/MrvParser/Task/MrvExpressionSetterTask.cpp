#include "MrvParser/Task/MrvExpressionSetterTask.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMExpression.h"
#include "MrvParser/Language/MrvOMScope.h"

namespace Mrv
{
ExpressionSetterTask::ExpressionSetterTask(Ref<IExpression> expression, std::shared_ptr<OMScope> scope, std::shared_ptr<IOMNode> value)
    : fExpression(std::move(expression)),
      fScope(std::move(scope))
{
	fRetValNode = std::move(value);
}

bool ExpressionSetterTask::call(
    const Ref<IExpression> &expression, const std::shared_ptr<OMScope> &scope, const std::shared_ptr<IOMNode> &value)
{
	const auto task = makeAndRun(expression, scope, value);
	return task && task->isSuccess();
}

bool ExpressionSetterTask::hasArguments() const
{
	SANITY_CHECK_AS(fExpression, "expression", return false);
	SANITY_CHECK_AS(fScope, "scope", return false);
	SANITY_CHECK_AS(fRetValNode, "value", return false);
	return true;
}

void ExpressionSetterTask::timeslice()
{
	static_cast<const OMExpression &>(*fExpression).set_yielding(shared_from_this(), fSuccess, fRetValNode, fScope, ScriptPhase::RUN);
}
}
