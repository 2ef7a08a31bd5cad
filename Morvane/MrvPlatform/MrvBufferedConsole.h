#pragma once

#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvKeyDecoder.h"
#include "MrvPlatform/MrvLineEditor.h"

#include <cstdint>
#include <deque>

// The part of a console that is the same on all systems: what is held back, and when it goes out; the editing of lines. Derived classes
// move the bytes and the keys.
namespace Mrv::Platform
{
class BufferedConsole : public IConsole
{
public:
	WriteOutcome write(StandardStream stream, std::string_view text) override;
	WriteOutcome flush() override;
	InputState pollInput() override;
	InputState readInput(std::string &bytes, std::size_t maximum) override;
	InputState readLine(std::string &line) override;
	void setHistoryFile(const std::string &path) override { fEditor.history().useFile(path); }

protected:
	// Writes all of `text` to OUTPUT or ERROR_OUTPUT, waiting as long as the receiver makes it wait.
	virtual WriteOutcome writeThrough(StandardStream stream, std::string_view text) = 0;

	// Appends to `bytes` what the system has at hand, without waiting. READY: at least one byte was appended.
	virtual InputState fetchInput(std::string &bytes) = 0;

	// --- For the editing of lines. In the key mode:
	virtual bool isInKeyMode() const = 0;
	// Appends the keys at hand, without waiting; as a rule they are decoded from what `fetchInput` gives.
	virtual InputState fetchKeys(std::deque<KeyEvent> &keys);
	// Cells of a row of the terminal.
	virtual std::size_t columns() const { return 80; }
	// Empties the screen; the cursor goes to its first row. As a rule a control sequence does it.
	virtual void clearScreen();
	// What Ctrl-C does: it is a key while a line is edited, else it raises a signal.
	virtual void setInterruptKeyIsInput(bool) {}
	// The line is no longer edited, whatever became of it.
	void endEditing();

private:
	WriteOutcome writeOut(std::string_view text);
	WriteOutcome writeAroundLine(StandardStream stream, std::string_view text);
	void noteRow(std::string_view text);
	InputState acceptKeys(std::string &line);
	void drawAgain();

	WriteOutcome fOutputOutcome = WriteOutcome::WRITTEN;
	std::string fHeldBack;
	std::string fInput;
	std::size_t fInputPos = 0;
	bool fInputEnded = false;

	LineEditor fEditor;
	KeyDecoder fDecoder;
	std::deque<KeyEvent> fKeys;
	std::int64_t fEscapeSince = 0; // when an escape sequence was seen unfinished, in nanoseconds; 0 when none is
	bool fIsEditing = false;
	std::string fRow; // what the terminal's row shows in front of the line
};
}
