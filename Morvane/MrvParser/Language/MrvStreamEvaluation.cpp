#include "MrvParser/Language/MrvStreamEvaluation.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Language/MrvParser.h"
#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvSignals.h"
#include "MrvTask/MrvIInternalCoordinator.h"

namespace Mrv
{
namespace
{
bool isBlank(int32_t character)
{
	return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

// Passes a line end that stands next and is there already, CR and LF together. False when something else stands there.
bool passLineEnd(InputStream &stream)
{
	const auto next = [&stream] { return stream.hasBuffered() ? stream.buffered().front() : '\0'; };
	if (next() != '\n' && next() != '\r')
	{
		return false;
	}
	const bool isCarriageReturn = next() == '\r';
	stream.advance();
	if (isCarriageReturn && next() == '\n')
	{
		stream.advance();
	}
	return true;
}

// A person may be waiting for what the parser waits for; taken back whatever way the parse ends.
class InteractionLevel
{
public:
	InteractionLevel() = default;
	explicit InteractionLevel(Task &task) : fTask(&task) { task.pushInteractionLevel(AsyncIOType::ASYNC); }
	InteractionLevel(InteractionLevel &&other) noexcept : fTask(std::exchange(other.fTask, nullptr)) {}
	InteractionLevel &operator=(InteractionLevel &&other) noexcept
	{
		std::swap(fTask, other.fTask);
		return *this;
	}
	~InteractionLevel()
	{
		if (fTask)
		{
			fTask->popInteractionLevel();
		}
	}

private:
	Task *fTask = nullptr;
};
}

void reportErrorNote(Task &task)
{
	Platform::console().write(
	    Platform::StandardStream::ERROR_OUTPUT, (task.fErrorNote.empty() ? "the script ended in an Error" : task.fErrorNote) + "\n");
	task.fErrorNote.clear();
}

void parseAndEvalStream_yielding(Task &task, bool &success, const std::shared_ptr<OMScope> &scope, const std::string &address)
{
	struct LocalVariableState : OMFunctionState
	{
		std::unique_ptr<ParseContext> context;
		InteractionLevel interactionLevel;
		Value program;
		Value value;
		bool isPending = false; // a value waits to be printed
		bool isParsed = false;
		bool isLineTaken = false; // the end of the statement's line was passed before it ran
		bool isWritten = false;
		uint64_t position = 0;
		std::string text;
		int32_t character = 0;
	};
	enum At : int32_t
	{
		START = 0,
		NEXT_CHARACTER = 1,
		PRINT = 2,
		STATEMENT_BEGINS = 3,
		STATEMENT = 4,
		RUN = 5,
		INTERRUPTED = 6,
		CHARACTER_KNOWN = 1000001,
		PRINTED = 1000002,
		PARSED = 1000004,
		VALUE_KNOWN = 1000005,
		DONE = -1
	};

	SANITY_CHECK(scope, return );
	const auto ioStream = std::dynamic_pointer_cast<IOStreamPrompted>(task.getInputStream());
	SANITY_CHECK(ioStream, return );
	const bool hasOutput = ioStream->getNestedOutputStream() != nullptr;
	YieldingFrame<LocalVariableState> frame(task, success);
	while (frame.running())
	{
		if (ioStream->isConsole() && Platform::takeInterrupt())
		{
			if (frame.at<At>() == RUN)
			{
				Platform::console().write(Platform::StandardStream::ERROR_OUTPUT, "interrupted\n");
			}
			frame.goTo(INTERRUPTED); // lets go of what is suspended, so that its undo runs
		}
		switch (frame.at<At>())
		{
			case INTERRUPTED:
				task.endChildTasks();
				frame->interactionLevel = InteractionLevel();
				frame->isPending = false;
				ioStream->dropLine();
				task.fErrorNote.clear();
				frame.goTo(frame->context ? NEXT_CHARACTER : START);
				break;
			case START:
				frame->context = std::make_unique<ParseContext>("standard input", ParseContext::FirstLine::MAY_BE_DIRECTIVE);
				frame.call(NEXT_CHARACTER, [&] { Parser::passFirstLine_yielding(task, *ioStream, *frame->context); });
				break;
			case NEXT_CHARACTER:
				frame.call(CHARACTER_KNOWN, [&] { ioStream->getChar_yielding(task, frame->character); });
				break;
			case CHARACTER_KNOWN:
				if (frame->character == ';')
				{
					frame->isPending = false;
					ioStream->advance();
					frame.goTo(NEXT_CHARACTER);
				}
				else if (frame->isPending)
				{
					frame.goTo(PRINT);
				}
				else if (frame->character < 0)
				{
					success = true;
					frame.finish();
				}
				else if (isBlank(frame->character))
				{
					ioStream->advance();
					frame.goTo(NEXT_CHARACTER);
				}
				else
				{
					frame.goTo(STATEMENT_BEGINS);
				}
				break;
			case PRINT:
				frame->isPending = false;
				if (!hasOutput)
				{
					frame.goTo(NEXT_CHARACTER);
					break;
				}
				frame->text = getAsString(frame->value) + "\n";
				frame.goTo(PRINTED);
				[[fallthrough]];
			case PRINTED:
				frame.call(NEXT_CHARACTER, [&] { ioStream->write_yielding(task, frame->isWritten, frame->text); });
				break;
			case STATEMENT_BEGINS:
				frame->position = ioStream->getPos();
				frame->context->clearError();
				frame->interactionLevel = InteractionLevel(task);
				frame.goTo(STATEMENT);
				[[fallthrough]];
			case STATEMENT:
				frame.call(PARSED,
				    [&] {
					    Parser::parseExpression_yielding(
					        task, frame->isParsed, frame->program, *ioStream, 0, ParseType::EXPRESSION, *frame->context);
				    });
				break;
			case PARSED:
				frame->interactionLevel = InteractionLevel();
				if (!frame->isParsed)
				{
					Parser::writeError(*frame->context);
					if (!hasOutput || (!ioStream->discardBuffered() && ioStream->getPos() == frame->position))
					{
						LOG_ERROR("parsing failed");
						frame.finish();
						break;
					}
					frame.goTo(NEXT_CHARACTER);
					break;
				}
				if (ioStream->getPos() == frame->position)
				{
					frame->context->addError("parsing failed", *ioStream);
					Parser::writeError(*frame->context);
					LOG_ERROR("parsing failed");
					if (!hasOutput || !ioStream->discardBuffered())
					{
						frame.finish();
						break;
					}
					frame.goTo(NEXT_CHARACTER);
					break;
				}
				if (!address.empty())
				{
					frame->program = Evaluation::programForElsewhere(frame->program, address);
				}
				// What the statement reads from the input is what comes behind its line.
				frame->isLineTaken = frame->context->hasOperand() && passLineEnd(*ioStream);
				frame.goTo(frame->context->hasOperand() ? RUN : NEXT_CHARACTER);
				break;
			case RUN:
				frame.call(VALUE_KNOWN,
				    [&] { Evaluation::evaluateProgram_yielding(task, frame->value, frame->program, scope->getEnvironment()); });
				break;
			case VALUE_KNOWN:
				// `return` at the prompt is worth its value and ends nothing.
				frame->value.dropControl();
				frame->isPending = true;
				if (IInternalCoordinator::isTerminatingNow())
				{
					success = true; // the statement has asked for the end: nothing is printed any more
					frame.finish();
					break;
				}
				if (frame->value.isError())
				{
					reportErrorNote(task);
				}
				frame.goTo(frame->isLineTaken ? PRINT : NEXT_CHARACTER);
				break;
			case DONE:
				break;
		}
	}
}
}
