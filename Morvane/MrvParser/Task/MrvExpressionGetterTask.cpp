#include "MrvParser/Task/MrvExpressionGetterTask.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMExpression.h"
#include "MrvParser/Language/MrvOMScope.h"

namespace Mrv
{
ExpressionGetterTask::ExpressionGetterTask(
    Ref<IExpression> expression, AccessType accessType, std::shared_ptr<OMScope> scope, ScriptPhase phase)
    : fExpression(std::move(expression)),
      fAccessType(accessType),
      fScope(std::move(scope)),
      fPhase(phase)
{
}

std::shared_ptr<IOMNode> ExpressionGetterTask::call(
    const Ref<IExpression> &expression, AccessType accessType, const std::shared_ptr<OMScope> &scope, ScriptPhase phase)
{
	return callForNode(expression, accessType, scope, phase);
}

std::shared_ptr<IOMNode> ExpressionGetterTask::call(const Ref<IExpression> &expression, const std::shared_ptr<OMScope> &scope)
{
	return callForNode(expression, scope);
}

bool ExpressionGetterTask::hasArguments() const
{
	SANITY_CHECK_AS(fExpression, "expression", return false);
	SANITY_CHECK_AS(fScope, "scope", return false);
	return true;
}

void ExpressionGetterTask::timeslice()
{
	runForNode([this]
	    { static_cast<const OMExpression &>(*fExpression).get_yielding(shared_from_this(), fRetValNode, fAccessType, fScope, fPhase); });
}
}
