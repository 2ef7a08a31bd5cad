#pragma once

#include "MrvParser/Language/MrvStatementScanner.h"

#include <cstdint>
#include <string>

namespace Mrv
{
class Task;

// A filter: whatever reads the output side of the running task's prompted stream gets the script that comes in one complete statement at a
// time, free of comments, each with a line end behind it. The task gives way between two statements.
class ScriptInstrumentation
{
public:
	// path: what messages call the script.
	explicit ScriptInstrumentation(std::string path) : fPath(std::move(path)) {}

	// The scan, up to the end of the input or the first failure: a closing bracket too many ("unbalanced parensCountGlobal", noted in the
	// task), or a statement that could not be handed on. Yielding.
	void instrumentScript_yielding(Task &task, bool &success);
	// Writes one statement to the output side of the task's stream. Yielding.
	static void runStatement_yielding(Task &task, bool &success, const std::string &statement);
	// Whether more of the task's input is there already. A text that was pasted in full is then not cut into steps.
	static bool isInputPending(Task &task);

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
	void noteUnbalanced(Task &task) const;

	std::string fPath;
	StatementScanner fScanner;
};
}
