#pragma once

#include "MrvParser/Language/MrvScriptEvaluation.h"
#include "MrvParser/Node/MrvIOMNode.h"
#include "MrvTask/MrvTask.h"

#include <optional>

namespace Mrv
{
// Parses and runs a script: a file, or a stream to its end. The value is the task's result.
class EvalScriptTask final : public Task
{
public:
	static std::shared_ptr<EvalScriptTask> factory(
	    const std::shared_ptr<OMScope> &scope, const std::string &scriptFilePath, HandleReturnValue handleReturnValue);
	// sourceName: what messages call the text. A first line that begins with `#!` is passed over. address: where it is to be run once it
	// is parsed; empty: here.
	static std::shared_ptr<EvalScriptTask> streamFactory(const std::shared_ptr<OMScope> &scope, std::shared_ptr<InputStream> stream,
	    const std::string &sourceName, HandleReturnValue handleReturnValue, const std::string &address = {});
	// Runs it to its end; the value, or null.
	static std::shared_ptr<IOMNode> call(
	    const std::shared_ptr<OMScope> &scope, const std::string &scriptFilePath, HandleReturnValue handleReturnValue);

	EvalScriptTask(std::shared_ptr<OMScope> scope, HandleReturnValue handleReturnValue);

	// Whether the script could be read and parsed; known when the task has completed.
	bool isParsed() const { return fIsParsed; }

protected:
	void timeslice() override;

private:
	std::shared_ptr<OMScope> fScope;
	HandleReturnValue fHandleReturnValue;
	std::string fScriptFilePath;
	std::optional<ScriptEvaluation::Source> fSource; // of a stream
	bool fIsParsed = false;
	Value fValue;
};
}
