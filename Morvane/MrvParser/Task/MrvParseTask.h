#pragma once

#include "MrvParser/Language/MrvParseContext.h"
#include "MrvParser/Language/MrvScriptEvaluation.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvTask/MrvTask.h"

namespace Mrv
{
// Parses a text into a node.
class ParseTask final : public Task
{
public:
	static std::shared_ptr<ParseTask> factory(const std::shared_ptr<OMStored> &target, std::string text);
	// Of a stream, to its end. timeoutMicroseconds: as of tasks.
	static std::shared_ptr<ParseTask> sourceFactory(
	    const std::shared_ptr<OMStored> &target, ScriptEvaluation::Source source, int64_t timeoutMicroseconds);
	// Runs it to its end. False, with the target Undefined, when the text can't be parsed. A text from elsewhere is given a time-out:
	// nobody else's turn comes before the parse has ended.
	static bool call(const std::shared_ptr<OMStored> &target, std::string text, int64_t timeoutMicroseconds = NO_TIMEOUT);

	ParseTask(std::shared_ptr<OMStored> target, ScriptEvaluation::Source source, int64_t timeoutMicroseconds);
	const ParseError &getError() const { return fSource.context->getError(); }
	// The lines that tell of the error; empty without one.
	std::string getErrorText() const { return fSource.context->getErrorText(); }

protected:
	void timeslice() override;

private:
	std::shared_ptr<OMStored> fTarget;
	ScriptEvaluation::Source fSource;
};
}
