#pragma once

#include "MrvParser/Task/MrvStatementScanner.h"
#include "MrvParser/Task/MrvWrapperTask.h"

namespace Mrv
{
class IOStreamPrompted;
class OMScope;

// A filter: whatever reads the output side of the task's prompted stream gets the script that comes in one complete statement at a time,
// free of comments, each with a line end behind it. The task gives way between two statements.
class InstrumentScriptStreamTask final : public WrapperTask<InstrumentScriptStreamTask>
{
public:
	static constexpr const char *LOCAL_NAME = "instrumentScript";

	// path: what messages call the script.
	InstrumentScriptStreamTask(std::shared_ptr<OMScope> scope, std::string path, const std::shared_ptr<IOStreamPrompted> &inputStream);
	bool hasArguments() const;

	// The scan, up to the end of the input or the first failure: a closing bracket too many ("unbalanced parensCountGlobal"), or a
	// statement that could not be handed on.
	void instrumentScript_yielding(const std::shared_ptr<Task> &task, bool &success);
	// Writes one statement to the output side of the task's stream.
	void runStatement_yielding(const std::shared_ptr<Task> &task, bool &success, const std::string &statement);
	// Whether more of the input is there already. A text that was pasted in full is then not cut into steps.
	bool isInputPending() const;

protected:
	void timeslice() override;

private:
	// What one character, seen as often as it has to be, leads to.
	enum class Scan : uint8_t
	{
		NEXT,
		HAND_ON,
		HAND_ON_THEN_AGAIN,
		FAILED,
	};
	Scan scan(int32_t character);
	void noteUnbalanced();

	std::shared_ptr<OMScope> fScope;
	std::string fPath;
	StatementScanner fScanner;
};
}
