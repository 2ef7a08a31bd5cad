#pragma once

#include "MrvParser/Stream/MrvLineTable.h"
#include "MrvTask/MrvITaskStream.h"
#include "MrvTask/MrvTask.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Mrv
{
// A source of characters. Held by `shared_ptr`: the task that reads keeps it. The source closes with the stream.
//
// A character is one byte (0 to 255), END_OF_INPUT or NOTHING_YET. The next character is looked at with `getChar` and left behind with
// `advance`. What has been fetched from the source lies in a buffer, so that looking at it costs next to nothing; the classes of
// the several sources only fill the buffer.
//
// Positions count the bytes of the source that were passed. Going back with `setPos` reaches at least REPLAY bytes, and as far as
// `setBufferActive` was asked to keep; some sources go further.
class InputStream : public ITaskStream
{
public:
	static constexpr int32_t END_OF_INPUT = -1;
	static constexpr int32_t NOTHING_YET = -2;
	// How far back `setPos` can always go, unless a class says otherwise.
	static constexpr size_t REPLAY = 64;

	InputStream() { setCursorTo(0); }
	InputStream(const InputStream &) = delete;
	InputStream &operator=(const InputStream &) = delete;
	~InputStream() override = default;

	// --- Reading

	// The next character, without passing it. May wait for the source; NOTHING_YET when the source never waits and has nothing.
	int32_t getChar() { return fCursor != fEnd ? static_cast<unsigned char>(*fCursor) : getCharSlow(); }
	// The same, suspending while the source has nothing: never NOTHING_YET. Costs no frame for a character that is buffered.
	void getChar_yielding(Task &task, int32_t &character)
	{
		if (fCursor != fEnd && !task.isSuspended()) [[likely]]
		{
			character = static_cast<unsigned char>(*fCursor);
			return;
		}
		waitForChar_yielding(task, character);
	}
	// Passes the next character; false at the end.
	bool advance()
	{
		if (fCursor == fEnd && getCharSlow() < 0)
		{
			return false;
		}
		++fCursor;
		return true;
	}
	// Reads to the end of the line and passes it; the line end (LF, CR or both) is not part of `line`. False when there was nothing left.
	void takeLine_yielding(Task &task, bool &success, std::string &line);

	// What can be looked at right now, and passing some of it.
	std::string_view buffered() const { return {fCursor, static_cast<size_t>(fEnd - fCursor)}; }
	bool hasBuffered() const { return fCursor != fEnd; }
	void passBuffered(size_t count) { fCursor += count; }
	// Drops what is buffered; false when that was nothing.
	bool discardBuffered();

	// True once the source has ended and all of it has been passed.
	virtual bool atEOF() const { return fIsSourceEnded && fCursor == fEnd; }
	// The source counts as ended from here on. Always true.
	virtual bool setEOF();

	// --- Positions

	uint64_t getPos() const { return fBeginPosition + static_cast<uint64_t>(fCursor - fBuffer.data()); }
	// Nothing was passed yet, a byte-order mark aside.
	bool isAtStart() const { return getPos() == fStartPosition; }
	// False, without moving, when that position can't be reached.
	virtual bool setPos(uint64_t position);
	// true: what is passed from here on stays within reach of `setPos`, until as many calls with false have followed.
	void setBufferActive(bool isActive);
	// Nobody goes back to what was passed so far: ends all that `setBufferActive` keeps.
	virtual void commit() { fBufferActive = 0; }
	// The lines of what was fetched so far; kept up to date by asking again.
	const std::shared_ptr<LineTable> &getLineTable();

	// --- What kind of stream it is

	// Whether a statement that is complete ends at this character. Asked at line ends outside brackets.
	virtual bool isEndOfStatement(int32_t character) const { return character == '\n' || character == '\r'; }
	// Somebody sits at a keyboard: what belongs together is not awaited beyond the line's end.
	virtual bool isConsole() const { return false; }
	// The lines come with their editing done and their echo shown.
	virtual bool isEdited() const { return false; }
	// Writes out what an output side of the stream holds back.
	virtual bool flushOutput() { return true; }

protected:
	enum class Fetched : uint8_t
	{
		MORE,    // at least one byte was appended
		NOTHING, // not now
		END,
	};

	// Appends to the buffer what the source has, without waiting (a file may take its time). Asked only when the buffer is used up.
	virtual Fetched fetch() = 0;
	// `getChar` when the buffer is used up.
	virtual int32_t getCharSlow();
	// `getChar_yielding` when the buffer is used up, or when a suspended one goes on.
	virtual void waitForChar_yielding(Task &task, int32_t &character);
	// Whether input of the process ends the wait: then the scheduler need not sleep its time out.
	virtual bool isFedByProcessInput() const { return false; }
	// Asks the source once.
	int32_t fetchChar();

	// Appends bytes of the source. With DROP_PASSED, what lies further back than anybody may go is forgotten from time to time.
	enum class Passed : uint8_t
	{
		KEEP,
		DROP,
	};
	void append(std::string_view bytes, Passed passed);
	// Takes a whole text as the buffer.
	void adopt(std::string &&text)
	{
		fBuffer = std::move(text);
		setCursorTo(0);
	}
	// At the beginning of a source that may carry a UTF-8 byte-order mark, which is dropped. `isEnd`: nothing follows these bytes.
	void appendBeginning(std::string_view bytes, bool isEnd);
	bool isAtBeginning() const { return !fIsBeginningKnown; }
	// Empties the buffer; it continues at another position of the source.
	void restartAt(uint64_t position);
	void reopen() { fIsSourceEnded = false; }
	const std::string &buffer() const { return fBuffer; }
	uint64_t getBufferPosition() const { return fBeginPosition; }
	bool isBufferActive() const { return fBufferActive > 0; }
	// Forgets everything in front of this index of the buffer.
	void dropFront(size_t count);

private:
	static constexpr size_t DROP_SIZE = 16384; // worth moving the rest of the buffer for

	bool takeLineCharacter(int32_t character, std::string &text);
	void setCursorTo(size_t index)
	{
		fCursor = fBuffer.data() + index;
		fEnd = fBuffer.data() + fBuffer.size();
	}

	const char *fCursor = nullptr; // the next character
	const char *fEnd = nullptr;    // end of the buffer
	std::string fBuffer;
	uint64_t fBeginPosition = 0; // of the buffer's first byte
	uint64_t fStartPosition = 0; // behind a byte-order mark
	uint64_t fKeepPosition = 0;  // while the buffer is active: what `setPos` must reach
	uint32_t fBufferActive = 0;
	bool fIsSourceEnded = false;
	bool fIsBeginningKnown = false;
	uint64_t fLineEndPosition = 0; // behind the CR that ended a line taken last: an LF there belongs to it
	std::string fBeginning;        // what may become a byte-order mark
	std::shared_ptr<LineTable> fLineTable;
};
}
