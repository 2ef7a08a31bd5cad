#pragma once

#include "MrvParser/Language/MrvBuiltin.h"

// The built-in functions, one for each word, a file for each group of kin. What they have in common:
//
// - Too few arguments: "insufficient arguments" is logged, the value is Undefined. What stands behind the last argument is ignored
//   (but for `parseFloat`).
// - Conversions: numbers by `getAsNum`, positions by `getAsBits` (what is no whole number counts as -1), texts by `getAsString`. An
//   optional argument that is Undefined counts as left out.
// - A failure gives an Error, which is logged and noted with the place of the call.
namespace Mrv::Builtins
{
// --- Numbers (MrvBuiltinNumbers.cpp)

// abs(number): an Int stays one, but for the least of all, whose value no Int can hold.
Value ftn_abs(const BuiltinCall &call);
// sqr(number), sqrt(number): an Int where the result is integral.
Value ftn_sqr(const BuiltinCall &call);
Value ftn_sqrt(const BuiltinCall &call);
// isNaN(value): whether it is the value NaN; nothing is converted, so that `isNaN('abc')` is false.
Value ftn_isNaN(const BuiltinCall &call);
// parseFloat(text), parseInt(text, radix): the number that the text begins with, blanks in front allowed; NaN if there is none. The radix
// goes from 2 to 36 and is 10 by default, when "0x" makes it 16; any other is logged and gives NaN. More than one argument of
// parseFloat: "too many arguments" and Undefined.
Value ftn_parseFloat(const BuiltinCall &call);
Value ftn_parseInt(const BuiltinCall &call);

// --- Text (MrvBuiltinText.cpp); letters are those of ASCII, positions count bytes

// substr(text, from, length): a negative `from` and one behind the end give "", a negative or missing length everything up to the end.
Value ftn_substr(const BuiltinCall &call);
Value ftn_toLowerCase(const BuiltinCall &call);
Value ftn_toUpperCase(const BuiltinCall &call);
// toString(value): the text as `+` uses it. stringify(value): the literal.
Value ftn_toString(const BuiltinCall &call);
Value ftn_stringify(const BuiltinCall &call);
// enquote(text, quote): between quotes, with escapes; the quote is the first byte of the second argument, else `"`.
Value ftn_enquote(const BuiltinCall &call);

// --- Containers, and what works on texts as well (MrvBuiltinContainers.cpp)

// length(value): bytes of a String, elements of an Array, of everything else the attribute "length", Undefined if there is none.
Value ftn_length(const BuiltinCall &call);
// size(value): children; 0 for what has none, a String included.
Value ftn_size(const BuiltinCall &call);
// indexOf(haystack, needle, from): in an Array the first element that is `==` the needle, in the text of everything else the first
// place of the needle's text; -1 if there is none. A negative `from` counts as 0.
Value ftn_indexOf(const BuiltinCall &call);
// push(array, value): the array. What is no array: "push failed" and an Error.
Value ftn_push(const BuiltinCall &call);
// pop(array): takes the last element away and gives it; Undefined for an empty array and for what is none.
Value ftn_pop(const BuiltinCall &call);

// --- Files (MrvBuiltinFiles.cpp). A relative path counts from the folder of the running script, without one from the current folder; both
// separators are understood. Bytes pass as they are.

// readFile(path): the whole file; Undefined, and a log line, if it can't be read.
Value ftn_readFile(const BuiltinCall &call);
// writeFile(path, value): the text of the value becomes the file. Whether that worked.
Value ftn_writeFile(const BuiltinCall &call);
// fileOpen(path, mode): the id of the open file; the mode begins with r (also without one), w (anew) or a (at the end). Undefined for
// another mode ("unexpected file mode"), or if the file can't be opened.
Value ftn_fileOpen(const BuiltinCall &call);
// fileClose(id): whether all that was written has arrived. What is no open file's id is reported and gives Undefined, here and below.
Value ftn_fileClose(const BuiltinCall &call);
// fileRead(id, limit): at most so many bytes, without a limit (or with a negative one) the rest; "" at the end.
Value ftn_fileRead(const BuiltinCall &call);
// fileWrite(id, value): writes the text of the value. Whether that worked.
Value ftn_fileWrite(const BuiltinCall &call);
Value ftn_dirExists(const BuiltinCall &call);
Value ftn_fileExists(const BuiltinCall &call);

// --- Paths and the system (MrvBuiltinPaths.cpp)

// parentPath(path): without its last segment, ending in the separator.
Value ftn_parentPath(const BuiltinCall &call);
// pathSegmentFromLeft(path, index, separator) and ...Right: what stands between two separators, "" where nothing does. The separator is the
// system's by default; another one than `\` and `/` is reported and gives "".
Value ftn_pathSegmentFromLeft(const BuiltinCall &call);
Value ftn_pathSegmentFromRight(const BuiltinCall &call);
// getEnv(name): the environment variable, "" when it isn't set.
Value ftn_getEnv(const BuiltinCall &call);
// sysInfo(): a Map of settings, folders and facts, made anew for each call.
Value ftn_sysInfo(const BuiltinCall &call);

// --- Log lines (MrvBuiltinLogging.cpp)

Value ftn_logError(const BuiltinCall &call);
Value ftn_logWarning(const BuiltinCall &call);
Value ftn_logNote(const BuiltinCall &call);
Value ftn_logTrace(const BuiltinCall &call);

// --- Streams (MrvBuiltinStreams.cpp); texts go out as they stand, without a line end

// output(text), stdOut(text): to the output side of the task's stream, else to standard output.
void ftn_stdOut_yielding(const BuiltinCall &call, Value &result);
void ftn_stdErr_yielding(const BuiltinCall &call, Value &result);
// stdIn(): the next line of the task's input stream without its end; Undefined at the end of the input.
void ftn_stdIn_yielding(const BuiltinCall &call, Value &result);

// --- Tasks (MrvBuiltinTasks.cpp)

// yield(milliseconds, function): lets other tasks run until the time is over, at least one millisecond, or until the function, asked in
// each round, gives true. yield() gives way for one round.
void ftn_yield_yielding(const BuiltinCall &call, Value &result);
// exit(value): ends the task, whose result the value is. Never comes back.
void ftn_exit_yielding(const BuiltinCall &call, Value &result);
// quit(): asks the coordinator to end. The script goes on until that happens.
Value ftn_quit(const BuiltinCall &call);

// --- Evaluation (MrvBuiltinEvaluation.cpp, MrvBuiltinParseScript.cpp)

// eval(text, options), evalScript(path, options): runs a text or a script file in the present scope, as a task of its own that `exit` ends,
// and waits for its value. Options go by type, in any order: a Map is the only scope of the code then, a String the address where it is to
// run (empty: here). A text that can't be parsed gives an Error, as does a file that isn't there. With an address elsewhere, an Int is the
// longest time to wait in milliseconds (0 and below: as the settings say), and a function is called with the value as well; no answer in
// time is an Error.
void ftn_eval_yielding(const BuiltinCall &call, Value &result);
void ftn_evalScript_yielding(const BuiltinCall &call, Value &result);
// parseScript(text, options, function): the text as complete statements, one a line or more, free of comments; an Error for a closing
// bracket too many. Arguments go by type, in any order. Options: `prompt` (String) is written in front of each line that is read, `timeOut`
// (microseconds) ends the work with an Error, with `noWait` true the call returns at once and the work goes on beside the script, which
// doesn't end before it; a function is required then. The function is called once, with the outcome.
void ftn_parseScript_yielding(const BuiltinCall &call, Value &result);
// scriptFilePath(): the path of the script that runs, with the system's separators; empty when it comes from no file.
Value ftn_scriptFilePath(const BuiltinCall &call);

// --- References (MrvBuiltinReference.cpp)

// reference(root, path, selector): what a path reference finds in an Array or Map given first, else in the receiver, else in the scope. One
// match is given itself, more as an Array of them, none as Undefined; with the selector "selectarray" any match is given in an Array. A
// text that is no reference and a walk that fails give an Error. As the target of an assignment it gives every match the value.
void ftn_reference_yielding(const BuiltinCall &call, Value &result);
void access_reference_yielding(const BuiltinCall &call, AccessType accessType, const Value &value, Value &result);

// --- Data requests (MrvBuiltinRemote.cpp)

// sendData(data, options): asks the function that is registered under an id elsewhere, with the data as its argument, and waits for what it
// gives. Options go by type, in any order: the first String is the id, the second the address; an Int and a function as above.
void ftn_sendData_yielding(const BuiltinCall &call, Value &result);
// setDataRequestCallBack(id, function): registers the function that answers requests under the id, in the place of the one before; null
// instead of a function takes that one back. Whether that was done.
Value ftn_setDataRequestCallBack(const BuiltinCall &call);
}
