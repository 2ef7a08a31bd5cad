#pragma once

#include <memory>
#include <string>

namespace Mrv
{
class OMScope;
class Task;

// The read-eval-print loop over the task's prompted stream: parses a statement, runs it in the scope, prints its value as soon as a blank
// or the line's end follows it, and goes on until the input ends. `;` drops the value. Prints only where the stream has an output side.
//
// With an output side a text that can't be parsed is reported, the rest of its line is dropped, and the loop goes on; without one it ends
// the loop with `success` false.
//
// At a console an interrupt (Platform::takeInterrupt) ends what the present statement does, with all its child tasks, drops what was typed,
// and the loop goes on with a new prompt. address: where the statements are run; empty: here. Yielding.
void parseAndEvalStream_yielding(Task &task, bool &success, const std::shared_ptr<OMScope> &scope, const std::string &address);

// Tells on standard error why an evaluation of this task ended in an Error, and forgets it: "FILE:LINE:COLUMN: text".
void reportErrorNote(Task &task);
}
