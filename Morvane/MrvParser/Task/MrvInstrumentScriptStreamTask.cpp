#include "MrvParser/Task/MrvInstrumentScriptStreamTask.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Stream/MrvIOStreamPrompted.h"

namespace Mrv
{
InstrumentScriptStreamTask::InstrumentScriptStreamTask(
    std::shared_ptr<OMScope> scope, std::string path, const std::shared_ptr<IOStreamPrompted> &inputStream)
    : fScope(std::move(scope)),
      fInstrumentation(std::move(path))
{
	setInputStream(inputStream);
}

bool InstrumentScriptStreamTask::hasArguments() const
{
	SANITY_CHECK_AS(fScope, "scope", return false);
	return true;
}

void InstrumentScriptStreamTask::timeslice()
{
	fInstrumentation.instrumentScript_yielding(*this, fSuccess);
}
}
