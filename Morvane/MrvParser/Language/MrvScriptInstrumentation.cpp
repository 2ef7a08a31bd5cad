#include "MrvParser/Language/MrvScriptInstrumentation.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvTask/MrvYieldingFrame.h"

namespace Mrv
{
namespace
{
std::shared_ptr<IOStreamPrompted> promptedStreamOf(Task &task)
{
	return std::dynamic_pointer_cast<IOStreamPrompted>(task.getInputStream());
}
}

bool ScriptInstrumentation::isInputPending(Task &task)
{
	const auto ioStream = promptedStreamOf(task);
	return ioStream && ioStream->hasBuffered();
}

ScriptInstrumentation::Scan ScriptInstrumentation::scan(int32_t character)
{
	StatementScanner::Outcome outcome = StatementScanner::Outcome::AGAIN;
	while (outcome == StatementScanner::Outcome::AGAIN)
	{
		outcome = fScanner.accept(character);
	}
	switch (outcome)
	{
		case StatementScanner::Outcome::UNBALANCED:
			return Scan::FAILED;
		case StatementScanner::Outcome::RUN:
			return Scan::HAND_ON_THEN_AGAIN;
		case StatementScanner::Outcome::BOUNDARY:
			return Scan::HAND_ON;
		case StatementScanner::Outcome::MORE:
		case StatementScanner::Outcome::AGAIN:
			break;
	}
	return character < 0 ? Scan::HAND_ON : Scan::NEXT;
}

void ScriptInstrumentation::noteUnbalanced(Task &task) const
{
	static constexpr const char *TEXT = "unbalanced parensCountGlobal";
	LOG_ERROR(TEXT);
	const auto ioStream = promptedStreamOf(task);
	const LineTable::Place place = ioStream->getLineTable()->locate(ioStream->getPos());
	task.fErrorNote = fPath + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) + ": " + TEXT;
}

void ScriptInstrumentation::instrumentScript_yielding(Task &task, bool &success)
{
	struct LocalVariableState : OMFunctionState
	{
		int32_t character = 0;
		std::string statement;
		bool isHandedOn = false;
		bool isSeenAgain = false; // the character, after the statement has been handed on
	};
	enum At : int32_t
	{
		START = 0,
		CHARACTER_KNOWN = 1000000,
		BOUNDARY = 2,
		STATEMENT_COMPLETE = 3,
		HANDED_ON = 1000003,
		DONE = -1
	};

	const auto ioStream = promptedStreamOf(task);
	SANITY_CHECK(ioStream, success = false; return );
	YieldingFrame<LocalVariableState> frame(task, success);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(CHARACTER_KNOWN, [&] { ioStream->getChar_yielding(task, frame->character); });
				break;
			case CHARACTER_KNOWN:
			{
				const Scan outcome = scan(frame->character);
				if (outcome == Scan::FAILED)
				{
					noteUnbalanced(task);
					frame.finish();
					break;
				}
				frame->isSeenAgain = outcome == Scan::HAND_ON_THEN_AGAIN;
				if (frame->character >= 0 && !frame->isSeenAgain)
				{
					ioStream->advance();
				}
				if (outcome == Scan::HAND_ON && frame->character >= 0 && !fScanner.isYieldOn() && isInputPending(task))
				{
					fScanner.keep();
					frame.goTo(START);
					break;
				}
				frame.goTo(outcome == Scan::NEXT ? START : BOUNDARY);
				break;
			}
			case BOUNDARY:
			{
				const bool isBlank = fScanner.isBlank();
				frame->statement = fScanner.take();
				frame->isHandedOn = isBlank; // nothing to hand on
				frame.goTo(isBlank ? HANDED_ON : STATEMENT_COMPLETE);
				break;
			}
			case STATEMENT_COMPLETE:
				frame.call(HANDED_ON, [&] { runStatement_yielding(task, frame->isHandedOn, frame->statement); });
				break;
			case HANDED_ON:
				SANITY_CHECK_AS(frame->isHandedOn, "success", frame.finish(); break);
				if (frame->character < 0 && !frame->isSeenAgain)
				{
					success = true;
					frame.finish();
					break;
				}
				if (!frame->statement.empty())
				{
					frame.giveWay();
				}
				frame.goTo(frame->isSeenAgain ? CHARACTER_KNOWN : START);
				break;
			case DONE:
				break;
		}
	}
}

void ScriptInstrumentation::runStatement_yielding(Task &task, bool &success, const std::string &statement)
{
	struct LocalVariableState : OMFunctionState
	{
		std::string text;
		bool isWritten = false;
	};
	enum At : int32_t
	{
		START = 0,
		TEXT_KNOWN = 1,
		WRITTEN = 1000001,
		DONE = -1
	};

	const auto ioStream = promptedStreamOf(task);
	SANITY_CHECK(ioStream, success = false; return );
	const auto outputStream = ioStream->getNestedOutputStream();
	SANITY_CHECK(outputStream, success = false; return );
	YieldingFrame<LocalVariableState> frame(task, success);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame->text = statement + "\n";
				frame.goTo(TEXT_KNOWN);
				break;
			case TEXT_KNOWN:
				frame.call(WRITTEN, [&] { outputStream->write_yielding(task, frame->isWritten, frame->text); });
				break;
			case WRITTEN:
				success = frame->isWritten;
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}
}
