#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The standard streams. All text is UTF-8 and passes byte for byte; only a Windows console gets and gives wide text beneath.
namespace Mrv::Platform
{
enum class StandardStream
{
	INPUT,
	OUTPUT,
	ERROR_OUTPUT,
};

enum class InputState
{
	READY,       // there is something to read
	NOTHING_YET, // not now, but it may come
	END,         // nothing will come any more
};

enum class WriteOutcome
{
	WRITTEN,
	CLOSED_PIPE, // nobody reads at the other end
	FAILED,      // a full disk, a closed descriptor
};

// The console of the process. Nothing here ever waits for input.
class IConsole
{
public:
	IConsole() = default;
	IConsole(const IConsole &) = delete;
	IConsole &operator=(const IConsole &) = delete;
	virtual ~IConsole() = default;

	// Whether a person sits at the other end.
	virtual bool isTerminal(StandardStream stream) const = 0;

	// Writes bytes to OUTPUT or ERROR_OUTPUT. OUTPUT is held back until `flush`, until much has come together or, on a terminal, until
	// a line ends; ERROR_OUTPUT goes out at once. OUTPUT that failed once has failed for good: what comes later is dropped.
	virtual WriteOutcome write(StandardStream stream, std::string_view text) = 0;

	// Writes out what OUTPUT holds back. Tells how OUTPUT fares as a whole, a failure at an earlier write included.
	virtual WriteOutcome flush() = 0;

	// Whether `readInput` would give something. Flushes OUTPUT first, so that a question is seen before its answer is awaited.
	virtual InputState pollInput() = 0;

	// Appends to `bytes` what is there, at most `maximum`. READY: at least one byte was appended (`maximum` must not be 0). On a terminal
	// outside the key mode, input comes by lines, edited by the system.
	virtual InputState readInput(std::string &bytes, std::size_t maximum) = 0;

	// From here to `leaveKeyMode` a terminal gives each key as it is struck, without an echo, for `readLine`. Every way out of the
	// process that a program can see restores the terminal: return, `exit`, signals. False when INPUT is no terminal. Entering twice is
	// harmless.
	virtual bool enterKeyMode() = 0;
	virtual void leaveKeyMode() = 0;

	// A line that a person edits in the key mode, with a history; it is echoed, behind what stands in the row already. READY: `line` is the
	// finished line with LF as its end. NOTHING_YET also after Ctrl-C, which drops the line and is noted as an interrupt (`takeInterrupt`):
	// while a line is edited it is a key like others, and at other times a signal. END: Ctrl-D on an empty line, or the terminal has gone.
	// Outside the key mode `line` is what there is.
	virtual InputState readLine(std::string &line) = 0;

	// The file that keeps the history of lines across sessions; empty for none.
	virtual void setHistoryFile(const std::string &path) = 0;

	// Whether something to read ends a sleep. To be on only while somebody is going to read.
	virtual void setInputWakesSleep(bool wakes) = 0;
};

// The console that everybody uses: the process's standard streams unless a test has put another in place.
IConsole &console();

// Makes `replacement` the console; null restores the standard streams. The caller keeps owning it.
void setConsole(IConsole *replacement);

// To be called first in `main` of a process of our own, never inside a host: standard streams become binary, and writing to a
// closed pipe fails instead of ending the process.
void prepareStandardStreams();

// Gives the terminal its modes back. For a signal handler about to end the process; otherwise `leaveKeyMode` serves.
void restoreTerminalNow() noexcept;
}
