#pragma once

#include "MrvParser/Reference/MrvOMAccessor.h"
#include "MrvParser/Task/MrvWrapperTask.h"

namespace Mrv
{
// Stores a node by reference through an accessor, by pointer.
class SetterTask final : public WrapperTask<SetterTask>
{
public:
	static constexpr const char *LOCAL_NAME = "setter";

	SetterTask(std::shared_ptr<OMAccessor> accessor, std::string path, std::shared_ptr<IOMNode> omNode);
	static bool call(const std::shared_ptr<OMAccessor> &accessor, const std::string &path, const std::shared_ptr<IOMNode> &omNode);
	bool hasArguments() const;

protected:
	void timeslice() override;

private:
	std::shared_ptr<OMAccessor> fAccessor;
	std::string fPath;
};
}
