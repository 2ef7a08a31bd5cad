// The buffer holds a stretch of the source: bytes that were passed and may be gone back to, then the bytes to come. Bytes are
// appended at its end and forgotten at its front, in large steps, so that each byte is moved a bounded number of times.

#include "MrvParser/Stream/MrvInputStream.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Stream/MrvInputWake.h"
#include "MrvTask/MrvYieldingFrame.h"

#include <algorithm>

namespace Mrv
{
namespace
{
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
}

void InputStream::append(std::string_view bytes, Passed passed)
{
	fIsBeginningKnown = true;
	auto index = static_cast<size_t>(fCursor - fBuffer.data());
	if (passed == Passed::DROP)
	{
		size_t needed = index > REPLAY ? index - REPLAY : 0;
		if (fBufferActive > 0)
		{
			needed = std::min(needed, static_cast<size_t>(fKeepPosition - fBeginPosition));
		}
		if (needed >= DROP_SIZE && needed >= fBuffer.size() - needed)
		{
			dropFront(needed);
			index -= needed;
		}
	}
	fBuffer.append(bytes);
	setCursorTo(index);
}

void InputStream::dropFront(size_t count)
{
	getLineTable();
	const auto index = static_cast<size_t>(fCursor - fBuffer.data());
	fBuffer.erase(0, count);
	fBeginPosition += count;
	setCursorTo(index > count ? index - count : 0);
}

void InputStream::appendBeginning(std::string_view bytes, bool isEnd)
{
	fBeginning.append(bytes);
	if (fBeginning.starts_with(BYTE_ORDER_MARK))
	{
		fBeginning.erase(0, BYTE_ORDER_MARK.size());
		fBeginPosition += BYTE_ORDER_MARK.size();
		fStartPosition = fBeginPosition;
	}
	else if (!isEnd && BYTE_ORDER_MARK.starts_with(fBeginning))
	{
		return;
	}
	append(fBeginning, Passed::KEEP);
	fBeginning.clear();
}

void InputStream::restartAt(uint64_t position)
{
	getLineTable();
	fBuffer.clear();
	fBeginning.clear();
	fBeginPosition = position;
	fKeepPosition = position;
	fIsSourceEnded = false;
	fIsBeginningKnown = position > 0;
	setCursorTo(0);
}

int32_t InputStream::fetchChar()
{
	Fetched fetched = Fetched::MORE;
	while (!fIsSourceEnded && fCursor == fEnd && fetched == Fetched::MORE) // a byte-order mark gives nothing
	{
		fetched = fetch();
	}
	if (fetched == Fetched::END)
	{
		setEOF();
	}
	if (fCursor != fEnd)
	{
		return static_cast<unsigned char>(*fCursor);
	}
	return fIsSourceEnded ? END_OF_INPUT : NOTHING_YET;
}

int32_t InputStream::getCharSlow()
{
	return fetchChar();
}

void InputStream::waitForChar_yielding(Task &task, int32_t &character)
{
	struct LocalVariableState : OMFunctionState
	{
		InputWake wake;
	};
	enum At : int32_t
	{
		START = 0,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, character);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				character = fCursor != fEnd ? static_cast<unsigned char>(*fCursor) : fetchChar();
				if (character == NOTHING_YET)
				{
					if (isFedByProcessInput())
					{
						frame->wake.start();
					}
					task.sleepYield();
					break;
				}
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

void InputStream::takeLine_yielding(Task &task, bool &success, std::string &line)
{
	struct LocalVariableState : OMFunctionState
	{
		int32_t character = NOTHING_YET;
		std::string text;
	};
	enum At : int32_t
	{
		START = 0,
		CHARACTER_KNOWN = 1000000,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, success, line);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(CHARACTER_KNOWN, [&] { getChar_yielding(task, frame->character); });
				break;
			case CHARACTER_KNOWN:
				if (takeLineCharacter(frame->character, frame->text))
				{
					success = frame->character != END_OF_INPUT || !frame->text.empty();
					line = std::move(frame->text);
					frame.finish();
					break;
				}
				frame.goTo(START);
				break;
			case DONE:
				break;
		}
	}
}

// True when the line has ended. A CR ends it at once, without waiting for the LF that may follow.
bool InputStream::takeLineCharacter(int32_t character, std::string &text)
{
	if (character == END_OF_INPUT)
	{
		return true;
	}
	const bool isLineEndGoingOn = character == '\n' && fLineEndPosition > 0 && getPos() == fLineEndPosition;
	advance();
	if (isLineEndGoingOn)
	{
		return false;
	}
	if (character == '\r')
	{
		fLineEndPosition = getPos();
		return true;
	}
	if (character == '\n')
	{
		return true;
	}
	text.push_back(static_cast<char>(character));
	return false;
}

bool InputStream::discardBuffered()
{
	const bool hadAny = fCursor != fEnd;
	fCursor = fEnd;
	return hadAny;
}

bool InputStream::setEOF()
{
	fIsSourceEnded = true;
	return true;
}

bool InputStream::setPos(uint64_t position)
{
	if (position < fBeginPosition || position > fBeginPosition + fBuffer.size())
	{
		return false;
	}
	setCursorTo(static_cast<size_t>(position - fBeginPosition));
	return true;
}

void InputStream::setBufferActive(bool isActive)
{
	if (isActive)
	{
		if (fBufferActive++ == 0)
		{
			fKeepPosition = getPos();
		}
		return;
	}
	SANITY_CHECK(fBufferActive > 0, return );
	--fBufferActive;
}

const std::shared_ptr<LineTable> &InputStream::getLineTable()
{
	if (!fLineTable)
	{
		fLineTable = std::make_shared<LineTable>();
	}
	fLineTable->add(fBuffer, fBeginPosition);
	return fLineTable;
}
}
