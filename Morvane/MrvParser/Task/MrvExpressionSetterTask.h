#pragma once

#include "MrvParser/Node/MrvIExpression.h"
#include "MrvParser/Task/MrvWrapperTask.h"

namespace Mrv
{
class OMScope;

// Assigns to what an expression denotes.
class ExpressionSetterTask final : public WrapperTask<ExpressionSetterTask>
{
public:
	static constexpr const char *LOCAL_NAME = "setter";

	ExpressionSetterTask(Ref<IExpression> expression, std::shared_ptr<OMScope> scope, std::shared_ptr<IOMNode> value);
	// False, with a log line, when the expression is no place or the place can't take the value.
	static bool call(const Ref<IExpression> &expression, const std::shared_ptr<OMScope> &scope, const std::shared_ptr<IOMNode> &value);
	bool hasArguments() const;

protected:
	void timeslice() override;

private:
	Ref<IExpression> fExpression;
	std::shared_ptr<OMScope> fScope;
};
}
