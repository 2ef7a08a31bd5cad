#pragma once

#include "MrvParser/Language/MrvScriptInstrumentation.h"
#include "MrvParser/Task/MrvWrapperTask.h"

namespace Mrv
{
class IOStreamPrompted;
class OMScope;

// The filter that hands a script on statement by statement (see ScriptInstrumentation), over the task's own stream.
class InstrumentScriptStreamTask final : public WrapperTask<InstrumentScriptStreamTask>
{
public:
	static constexpr const char *LOCAL_NAME = "instrumentScript";

	// path: what messages call the script.
	InstrumentScriptStreamTask(std::shared_ptr<OMScope> scope, std::string path, const std::shared_ptr<IOStreamPrompted> &inputStream);
	bool hasArguments() const;

protected:
	void timeslice() override;

private:
	std::shared_ptr<OMScope> fScope;
	ScriptInstrumentation fInstrumentation;
};
}
