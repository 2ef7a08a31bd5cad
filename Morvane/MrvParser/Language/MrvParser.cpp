// The resumable functions. The parse itself is the machine's (MrvParserMachine.h), which works as long as there are characters; these
// functions fetch them.

#include "MrvParser/Language/MrvParser.h"

#include "MrvParser/Language/MrvParserMachine.h"
#include "MrvParser/Language/MrvParserSearch.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvTask/MrvYieldingFrame.h"

#include <utility>

namespace Mrv
{
namespace
{
bool sIsDebugOutput = false;

std::string &debugLogFile()
{
	static std::string path;
	return path;
}

// Adds a statement to those before it; one that held nothing doesn't count.
bool joinStatement(Value &sequence, bool &hasSequence, Value &statement, InputStream &stream, ParseContext &context)
{
	if (!context.hasOperand())
	{
		return true;
	}
	if (!std::exchange(hasSequence, true))
	{
		sequence = std::move(statement);
		return true;
	}
	std::string message;
	Value joined;
	ExpressionFactory factory(message, context.getSource());
	const bool isJoined = factory.registerBinaryOperation(joined, BinOp::SEQUENCE, sequence, statement, 0);
	if (!isJoined)
	{
		context.addError(message, stream);
	}
	sequence = std::move(joined);
	return isJoined;
}

// How deep the task says that it is within an expression, which picks the prompt. Taken back when the frame is dropped.
class ParsingNestLevel
{
public:
	ParsingNestLevel() noexcept = default;
	ParsingNestLevel(ParsingNestLevel &&other) noexcept : fTask(std::exchange(other.fTask, nullptr)), fLevel(std::exchange(other.fLevel, 0))
	{
	}
	ParsingNestLevel &operator=(ParsingNestLevel &&other) noexcept
	{
		if (this != &other)
		{
			set(0);
			fTask = std::exchange(other.fTask, nullptr);
			fLevel = std::exchange(other.fLevel, 0);
		}
		return *this;
	}
	~ParsingNestLevel() { set(0); }

	void set(Task &task, int level)
	{
		fTask = &task;
		set(level);
	}

private:
	void set(int level) noexcept
	{
		for (; fTask && fLevel < level; ++fLevel)
		{
			fTask->updateParsingNestLevel(1);
		}
		for (; fTask && fLevel > level; --fLevel)
		{
			fTask->updateParsingNestLevel(-1);
		}
	}

	Task *fTask = nullptr;
	int fLevel = 0;
};
}

void Parser::parseExpression_yielding(
    Task &task, bool &success, Value &result, InputStream &stream, int nestLevel, ParseType parseType, ParseContext &context)
{
	struct LocalVariableState : OMFunctionState
	{
		std::unique_ptr<ParserMachine> machine;
		ParsingNestLevel parsingNestLevel;
		int32_t character = InputStream::NOTHING_YET;
		bool isFound = false;
	};
	enum At : int32_t
	{
		START = 0,
		MACHINE_READY = 1,
		CHARACTERS_NEEDED = 2,
		SEARCH_NEEDED = 3,
		CHARACTER_KNOWN = 1000002,
		SEARCH_DONE = 1000003,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, success, result);
	while (frame.running())
	{
		if (frame->machine)
		{
			frame->machine->attach(stream, context);
		}
		switch (frame.at<At>())
		{
			case START:
				frame->machine = context.fSpareMachine ? std::move(context.fSpareMachine) : std::make_unique<ParserMachine>();
				frame->machine->begin(parseType, nestLevel, context.getSource());
				stream.commit();
				frame.goTo(MACHINE_READY);
				break;
			case MACHINE_READY:
			{
				ParserMachine &machine = *frame->machine;
				machine.attach(stream, context);
				machine.run(Task::isAlwaysYield() ? 1 : STEPS_AT_ONCE);
				if (machine.getNeed() == ParserMachine::Need::NOTHING)
				{
					success = machine.isSuccess();
					result = machine.takeResult();
					context.setHasOperand(machine.hasOperand());
					context.updateSource(stream);
					machine.clear();
					context.fSpareMachine = std::move(frame->machine);
					task.readClockSoon();
					frame.finish();
				}
				else if (machine.getNeed() != ParserMachine::Need::CHARACTERS)
				{
					frame.goTo(SEARCH_NEEDED);
				}
				else if (!machine.canStep())
				{
					frame.goTo(CHARACTERS_NEEDED);
				}
				break;
			}
			case CHARACTERS_NEEDED:
				frame->parsingNestLevel.set(task, frame->machine->getOpenCount());
				frame.call(CHARACTER_KNOWN, [&] { stream.getChar_yielding(task, frame->character); });
				break;
			case CHARACTER_KNOWN:
				if (frame->character == InputStream::END_OF_INPUT)
				{
					frame->machine->takeEnd();
				}
				frame.goTo(MACHINE_READY);
				break;
			case SEARCH_NEEDED:
			{
				const ParserMachine &machine = *frame->machine;
				const bool isKeyword = machine.getNeed() == ParserMachine::Need::KEYWORD;
				const SearchRange range = machine.doesSearchEndWithLine() ? SearchRange::LINE : SearchRange::TEXT;
				frame->parsingNestLevel.set(task, machine.getOpenCount());
				frame.call(
				    SEARCH_DONE, [&] { parseText_yielding(task, frame->isFound, stream, machine.getSearchedText(), isKeyword, range); });
				break;
			}
			case SEARCH_DONE:
				frame->machine->takeSearchResult(frame->isFound);
				frame.goTo(MACHINE_READY);
				break;
			case DONE:
				break;
		}
	}
}

void Parser::parseExpressionList_yielding(Task &task, bool &success, Value &result, InputStream &stream, ParseContext &context)
{
	struct LocalVariableState : OMFunctionState
	{
		Value sequence;
		Value statement;
		bool hasSequence = false;
		bool isParsed = false;
		int32_t character = InputStream::NOTHING_YET;
		uint64_t position = 0;
	};
	enum At : int32_t
	{
		START = 0,
		STATEMENT_EXPECTED = 1000000,
		CHARACTER_KNOWN = 1000001,
		STATEMENT_BEGINS = 2,
		STATEMENT_KNOWN = 1000002,
		STATEMENT_JOINED = 3,
		END_KNOWN = 1000003,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, success, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(STATEMENT_EXPECTED, [&] { passFirstLine_yielding(task, stream, context); });
				break;
			case STATEMENT_EXPECTED:
				frame.call(CHARACTER_KNOWN, [&] { stream.getChar_yielding(task, frame->character); });
				break;
			case CHARACTER_KNOWN:
				frame->position = stream.getPos();
				if (frame->character == InputStream::END_OF_INPUT)
				{
					success = true;
					result = std::move(frame->sequence);
					frame.finish();
					break;
				}
				frame.goTo(STATEMENT_BEGINS);
				break;
			case STATEMENT_BEGINS:
				frame.call(STATEMENT_KNOWN,
				    [&] { parseExpression_yielding(task, frame->isParsed, frame->statement, stream, 0, ParseType::EXPRESSION, context); });
				break;
			case STATEMENT_KNOWN:
				if (!frame->isParsed || stream.getPos() == frame->position ||
				    !joinStatement(frame->sequence, frame->hasSequence, frame->statement, stream, context))
				{
					context.addError("parsing failed", stream);
					frame.finish();
					break;
				}
				frame.goTo(STATEMENT_JOINED);
				break;
			case STATEMENT_JOINED:
				frame.call(END_KNOWN, [&] { stream.getChar_yielding(task, frame->character); });
				break;
			case END_KNOWN:
				if (frame->character == ';')
				{
					stream.advance();
				}
				frame.goTo(STATEMENT_EXPECTED);
				break;
			case DONE:
				break;
		}
	}
}

void Parser::parseText_yielding(Task &task, bool &success, InputStream &stream, std::string_view text, bool isKeyword, SearchRange range)
{
	struct LocalVariableState : OMFunctionState
	{
		ParserSearch search;
		int32_t character = InputStream::NOTHING_YET;
	};
	enum At : int32_t
	{
		START = 0,
		CHARACTER_KNOWN = 1000000,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, success);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(CHARACTER_KNOWN, [&] { stream.getChar_yielding(task, frame->character); });
				break;
			case CHARACTER_KNOWN:
				switch (frame->search.take(frame->character, stream, text, isKeyword, range == SearchRange::LINE))
				{
					case ParserSearch::Outcome::SEARCHING:
						frame.goTo(START);
						break;
					case ParserSearch::Outcome::FOUND:
						success = true;
						frame.finish();
						break;
					case ParserSearch::Outcome::MISSING:
						frame.finish();
						break;
				}
				break;
			case DONE:
				break;
		}
	}
}

void Parser::parseChars_yielding(Task &task, bool &success, InputStream &stream, std::string_view text)
{
	parseText_yielding(task, success, stream, text, false, SearchRange::TEXT);
}

void Parser::parseKeyword_yielding(Task &task, bool &success, InputStream &stream, std::string_view keyword, SearchRange range)
{
	parseText_yielding(task, success, stream, keyword, true, range);
}

void Parser::passFirstLine_yielding(Task &task, InputStream &stream, ParseContext &context)
{
	struct LocalVariableState : OMFunctionState
	{
		int32_t character = InputStream::NOTHING_YET;
		size_t count = 0; // of characters that were passed
	};
	enum At : int32_t
	{
		START = 0,
		CHARACTER_KNOWN = 1000000,
		DONE = -1
	};
	constexpr std::string_view DIRECTIVE = "#!";

	YieldingFrame<LocalVariableState> frame(task);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				if (context.getFirstLine() == ParseContext::FirstLine::CODE || (frame->count == 0 && !stream.isAtStart()))
				{
					frame.finish();
					break;
				}
				frame.call(CHARACTER_KNOWN, [&] { stream.getChar_yielding(task, frame->character); });
				break;
			case CHARACTER_KNOWN:
			{
				const int32_t character = frame->character;
				const bool isLineEnd = character == '\n' || character == '\r' || character == InputStream::END_OF_INPUT;
				if (frame->count < DIRECTIVE.size() && character != DIRECTIVE[frame->count])
				{
					if (frame->count > 0)
					{
						stream.setPos(stream.getPos() - frame->count);
					}
					frame.finish();
				}
				else if (isLineEnd)
				{
					frame.finish();
				}
				else
				{
					stream.advance();
					++frame->count;
					frame.goTo(START);
				}
				break;
			}
			case DONE:
				break;
		}
	}
}

// --- Reports

void Parser::writeError(const ParseContext &context)
{
	Platform::console().write(Platform::StandardStream::ERROR_OUTPUT, context.getErrorText());
}

void Parser::setDebugOutput(bool isOn)
{
	sIsDebugOutput = isOn;
}

void Parser::setDebugLogFile(std::string path)
{
	debugLogFile() = std::move(path);
}

void Parser::reportDebugLine(const std::string &line)
{
	if (!sIsDebugOutput)
	{
		return;
	}
	const std::string text = line + '\n';
	std::FILE *file = debugLogFile().empty() ? nullptr : Platform::openFile(debugLogFile(), Platform::OpenMode::APPEND);
	if (!file)
	{
		Platform::console().write(Platform::StandardStream::ERROR_OUTPUT, text);
		return;
	}
	std::fwrite(text.data(), 1, text.size(), file);
	std::fclose(file);
}
}
