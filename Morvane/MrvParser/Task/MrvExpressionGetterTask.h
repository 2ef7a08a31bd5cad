#pragma once

#include "MrvParser/Node/MrvIExpression.h"
#include "MrvParser/Task/MrvWrapperTask.h"

namespace Mrv
{
class OMScope;

// Runs an expression in a scope.
class ExpressionGetterTask final : public WrapperTask<ExpressionGetterTask>
{
public:
	static constexpr const char *LOCAL_NAME = "getter";

	ExpressionGetterTask(Ref<IExpression> expression, AccessType accessType, std::shared_ptr<OMScope> scope, ScriptPhase phase);
	ExpressionGetterTask(Ref<IExpression> expression, std::shared_ptr<OMScope> scope)
	    : ExpressionGetterTask(std::move(expression), AccessType::GET, std::move(scope), ScriptPhase::RUN)
	{
	}
	// The value; null when it could not be run, and in the phase PARSE.
	static std::shared_ptr<IOMNode> call(
	    const Ref<IExpression> &expression, AccessType accessType, const std::shared_ptr<OMScope> &scope, ScriptPhase phase);
	static std::shared_ptr<IOMNode> call(const Ref<IExpression> &expression, const std::shared_ptr<OMScope> &scope);
	bool hasArguments() const;

protected:
	void timeslice() override;

private:
	Ref<IExpression> fExpression;
	AccessType fAccessType;
	std::shared_ptr<OMScope> fScope;
	ScriptPhase fPhase;
};
}
