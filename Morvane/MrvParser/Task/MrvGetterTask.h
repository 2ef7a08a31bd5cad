#pragma once

#include "MrvParser/Reference/MrvOMAccessor.h"
#include "MrvParser/Task/MrvWrapperTask.h"

namespace Mrv
{
// Reads by reference through an accessor.
class GetterTask final : public WrapperTask<GetterTask>
{
public:
	static constexpr const char *LOCAL_NAME = "getter";

	GetterTask(std::shared_ptr<OMAccessor> accessor, std::string path, ReferenceType referenceType);
	// The node, null when there is nothing.
	static std::shared_ptr<IOMNode> call(const std::shared_ptr<OMAccessor> &accessor, const std::string &path,
	    ReferenceType referenceType = ReferenceType::OM_REF_SELECTOR_SINGLE_ELEMENT_OR_ARRAY);
	bool hasArguments() const;

protected:
	void timeslice() override;

private:
	std::shared_ptr<OMAccessor> fAccessor;
	std::string fPath;
	ReferenceType fReferenceType;
};
}
