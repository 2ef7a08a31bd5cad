#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvParser/Stream/MrvInputStreamConsole.h"
#include "MrvParser/Stream/MrvInputStreamFile.h"
#include "MrvParser/Stream/MrvInputStreamStdIn.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "MrvParser/Stream/MrvOutputStreamStdErr.h"
#include "MrvParser/Stream/MrvOutputStreamStdOut.h"
#include "MrvParser/Stream/MrvOutputStreamString.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvSignals.h"
#include "support/MemoryConsole.h"
#include "support/MrvTestCoordinator.h"
#include "support/TestLog.h"
#include "support/TrickleStream.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace Mrv::Test
{
namespace
{
// All that is left, by the blocking interface.
std::string readAll(InputStream &stream)
{
	std::string text;
	for (int32_t character = stream.getChar(); character >= 0; character = stream.getChar())
	{
		text.push_back(static_cast<char>(character));
		stream.advance();
	}
	return text;
}

// The lines that are left, by the suspending interface.
std::vector<std::string> readLines(InputStream &stream)
{
	std::vector<std::string> lines;
	bool success = true;
	while (success)
	{
		std::string line;
		runInTask([&](Task &task) { stream.takeLine_yielding(task, success, line); });
		if (success)
		{
			lines.push_back(line);
		}
	}
	return lines;
}

class StreamTest : public testing::Test
{
protected:
	std::string makeFile(const std::string &text)
	{
		std::string path = (std::filesystem::temp_directory_path() / "stream.txt").string();
		std::FILE *file = Platform::openFile(path, Platform::OpenMode::WRITE);
		EXPECT_TRUE(file);
		EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), file), text.size());
		std::fclose(file);
		return path;
	}

	TestCoordinator fCoordinator;
	MemoryConsole fConsole;
};
}

TEST_F(StreamTest, StringIsReadInPlace)
{
	InputStreamString stream(std::string("a\xFF\xFE\0b", 5));
	EXPECT_FALSE(stream.atEOF());
	EXPECT_EQ(stream.getChar(), 'a');
	EXPECT_EQ(stream.getChar(), 'a');
	EXPECT_TRUE(stream.advance());
	EXPECT_EQ(stream.getChar(), 0xFF);
	EXPECT_EQ(stream.getPos(), 1u);
	EXPECT_EQ(readAll(stream), std::string("\xFF\xFE\0b", 4));
	EXPECT_TRUE(stream.atEOF());
	EXPECT_FALSE(stream.advance());
	EXPECT_EQ(stream.getChar(), InputStream::END_OF_INPUT);
	EXPECT_TRUE(stream.setPos(4));
	EXPECT_FALSE(stream.atEOF());
	EXPECT_EQ(stream.getChar(), 'b');
	EXPECT_FALSE(stream.setPos(6));
	EXPECT_TRUE(stream.discardBuffered());
	EXPECT_FALSE(stream.discardBuffered());
}

TEST_F(StreamTest, FileGoesBackAnywhere)
{
	std::string text;
	for (int number = 0; text.size() < 300000; ++number)
	{
		text += std::to_string(number) + '\n';
	}
	InputStreamFile stream(makeFile(text));
	ASSERT_TRUE(stream.isOpen());
	EXPECT_EQ(readAll(stream), text);
	EXPECT_EQ(stream.getPos(), text.size());
	EXPECT_TRUE(stream.setPos(text.size() - 10));
	EXPECT_EQ(readAll(stream), text.substr(text.size() - 10));
	EXPECT_TRUE(stream.setPos(5));
	EXPECT_EQ(stream.getChar(), text[5]);
	EXPECT_FALSE(stream.setPos(0x80000000));
	EXPECT_EQ(stream.getPos(), 5u);

	InputStreamFile missing(makeFile("") + ".missing");
	EXPECT_FALSE(missing.isOpen());
	EXPECT_LOG("EXPECTED failed: 'fFile' evaluates to false");
	EXPECT_EQ(missing.getChar(), InputStream::END_OF_INPUT);
}

TEST_F(StreamTest, ByteOrderMarkIsPassedOver)
{
	InputStreamFile marked(makeFile("\xEF\xBB\xBFx"));
	EXPECT_TRUE(marked.isAtStart());
	EXPECT_EQ(marked.getChar(), 'x');
	EXPECT_EQ(marked.getPos(), 3u);
	EXPECT_TRUE(marked.isAtStart());
	EXPECT_TRUE(marked.setPos(0));
	EXPECT_EQ(marked.getChar(), 'x');
	InputStreamFile only(makeFile("\xEF\xBB\xBF"));
	EXPECT_EQ(only.getChar(), InputStream::END_OF_INPUT);
	InputStreamFile part(makeFile("\xEF\xBB"));
	EXPECT_EQ(readAll(part), "\xEF\xBB");
	InputStreamString bytes("\xEF\xBB\xBF");
	EXPECT_EQ(bytes.getChar(), 0xEF);

	for (const char *text : {"\xEF\xBB\xBFy", "\xEF\xBBy"})
	{
		MemoryConsole console;
		console.fetchSize = 1;
		console.input = text;
		InputStreamStdIn input;
		EXPECT_EQ(readAll(input), text[2] == 'y' ? text : "y");
	}
}

TEST_F(StreamTest, ReplayAndKeptStretch)
{
	const std::string text(100000, 'x');
	TrickleStream stream(text);
	const auto pass = [&](size_t count)
	{
		for (size_t passed = 0; passed < count;)
		{
			passed += stream.getChar() >= 0 && stream.advance() ? size_t{1} : size_t{0};
		}
	};
	pass(50000);
	EXPECT_TRUE(stream.setPos(50000 - InputStream::REPLAY));
	EXPECT_FALSE(stream.setPos(100));
	const uint64_t mark = stream.getPos();
	stream.setBufferActive(true);
	pass(40000);
	EXPECT_TRUE(stream.setPos(mark));
	stream.setBufferActive(false);
	pass(50000);
	EXPECT_FALSE(stream.setPos(mark));
	stream.setBufferActive(false);
	EXPECT_LOG("SANITY_CHECK failed: 'fBufferActive > 0' evaluates to false");
}

TEST_F(StreamTest, LinesEndInAnyWay)
{
	const std::string text = "a\r\nb\n\nc\rd";
	const std::vector<std::string> lines{"a", "b", "", "c", "d"};
	InputStreamString string{std::string_view(text)};
	EXPECT_EQ(readLines(string), lines);
	TrickleStream slow(text);
	EXPECT_EQ(readLines(slow), lines);
	const AlwaysYield alwaysYield(true);
	TrickleStream slowest(text);
	EXPECT_EQ(readLines(slowest), lines);
}

TEST_F(StreamTest, LineTableTellsPlaces)
{
	TrickleStream stream("ab\n\ncd");
	readLines(stream);
	const auto place = [&](uint64_t position)
	{
		const LineTable::Place found = stream.getLineTable()->locate(position);
		return std::to_string(found.line) + ':' + std::to_string(found.column);
	};
	EXPECT_EQ(place(0), "1:1");
	EXPECT_EQ(place(2), "1:3");
	EXPECT_EQ(place(3), "2:1");
	EXPECT_EQ(place(5), "3:2");
	EXPECT_EQ(place(99), "3:96");
}

TEST_F(StreamTest, StandardInputPollsAndEndsWithTheCoordinator)
{
	fConsole.inputEnds = false;
	InputStreamStdIn stream;
	int32_t character = 0;
	int slices = 0;
	const auto task = FunctionTask::factory([&](Task &running) { stream.getChar_yielding(running, character); });
	for (; slices < 3; ++slices)
	{
		task->runTimeslice(0);
		EXPECT_TRUE(task->isSleepRequested());
		EXPECT_TRUE(fConsole.wakesSleep);
	}
	fConsole.input = "z";
	task->runTimeslice(0);
	EXPECT_TRUE(task->isTaskCompleted());
	EXPECT_EQ(character, 'z');
	EXPECT_FALSE(fConsole.wakesSleep);

	stream.advance();
	fCoordinator.terminationRequested = true;
	EXPECT_EQ(stream.getChar(), InputStream::END_OF_INPUT);
	EXPECT_TRUE(stream.atEOF());
}

TEST_F(StreamTest, ConsoleNeverWaits)
{
	fConsole.isATerminal = true;
	fConsole.inputEnds = false;
	{
		InputStreamConsole stream;
		EXPECT_TRUE(fConsole.keyMode);
		EXPECT_EQ(stream.getChar(), InputStream::NOTHING_YET);
		fConsole.input = "kx\b";
		EXPECT_EQ(stream.getChar(), InputStream::NOTHING_YET) << "lines come as a whole";
		EXPECT_TRUE(fConsole.interruptKeyIsInput);
		fConsole.input = "\r";
		EXPECT_EQ(stream.getChar(), 'k');
		EXPECT_FALSE(fConsole.interruptKeyIsInput);
		stream.advance();
		EXPECT_EQ(stream.getChar(), '\n');
		stream.advance();
		fConsole.inputEnds = true;
		EXPECT_EQ(stream.getChar(), InputStream::END_OF_INPUT);
		fConsole.input = "more";
		EXPECT_EQ(stream.getChar(), InputStream::END_OF_INPUT);
	}
	EXPECT_FALSE(fConsole.keyMode);
}

// A keyboard that leaves editing and echo to others.
class Keys final : public InputStream
{
public:
	explicit Keys(std::string keys) : fKeys(std::move(keys)) {}
	bool isConsole() const override { return true; }

protected:
	Fetched fetch() override
	{
		append(std::exchange(fKeys, {}), Passed::DROP);
		return hasBuffered() ? Fetched::MORE : Fetched::END;
	}

private:
	std::string fKeys;
};

TEST_F(StreamTest, PromptedLineIsEditedAndEchoed)
{
	const auto output = std::make_shared<OutputStreamString>();
	IOStreamPrompted stream(std::make_shared<Keys>("\x08"
	                                               "ab\x7F"
	                                               "c\rd"),
	    output);
	EXPECT_TRUE(stream.isConsole());
	EXPECT_TRUE(stream.isPrompted());
	std::string line;
	runInTask([&](Task &task) { stream.readLine_yielding(task, line); });
	EXPECT_EQ(line, "ac\r");
	EXPECT_EQ(output->getText(), "> ab\b \bc\r\n");
	runInTask(
	    [&](Task &task)
	    {
		    if (task.getParsingNestLevel() == 0)
		    {
			    task.updateParsingNestLevel(1);
		    }
		    stream.readLine_yielding(task, line);
	    });
	EXPECT_EQ(line, "d");
	EXPECT_EQ(output->getText(), "> ab\b \bc\r\n. d");
	EXPECT_TRUE(stream.write("!"));
	EXPECT_EQ(output->getText().back(), '!');
}

TEST_F(StreamTest, ALineThatIsDroppedBeginsAnewWithAPrompt)
{
	fConsole.isATerminal = true;
	fConsole.inputEnds = false;
	const auto output = std::make_shared<OutputStreamString>();
	IOStreamPrompted stream(std::make_shared<InputStreamConsole>(), output);
	fConsole.input = "ab\x03";
	EXPECT_EQ(stream.getChar(), InputStream::NOTHING_YET);
	EXPECT_TRUE(Platform::takeInterrupt());
	EXPECT_FALSE(Platform::takeInterrupt());
	EXPECT_EQ(stream.getChar(), InputStream::NOTHING_YET);
	EXPECT_EQ(output->getText(), "> ");
	stream.dropLine();
	fConsole.input = "c\r";
	EXPECT_EQ(stream.getChar(), 'c');
	EXPECT_EQ(output->getText(), "> > ");
	EXPECT_EQ(fConsole.output, "ab^C\r\nc\r\n");
}

TEST_F(StreamTest, PromptedStreamKeepsToTheLine)
{
	const auto input = std::make_shared<InputStreamString>("ab\ncd");
	const auto output = std::make_shared<OutputStreamString>();
	IOStreamPrompted stream(input, output);
	stream.setPrompt("? ");
	EXPECT_EQ(stream.getChar(), 'a');
	EXPECT_FALSE(stream.setPos(3)) << "the end of the line";
	EXPECT_TRUE(stream.setPos(2));
	stream.advance();
	EXPECT_EQ(stream.getChar(), 'c');
	EXPECT_EQ(stream.getPos(), 3u);
	EXPECT_FALSE(stream.setPos(2));
	EXPECT_FALSE(stream.atEOF()) << "there is a line left";
	EXPECT_EQ(readAll(stream), "cd");
	EXPECT_TRUE(stream.atEOF());
	EXPECT_EQ(output->getText(), "? ? ") << "no echo without a console";

	IOStreamPrompted::setPromptTexts("# ", "+ ");
	IOStreamPrompted other(std::make_shared<InputStreamString>("x"), output);
	EXPECT_EQ(readAll(other), "x");
	EXPECT_EQ(output->getText(), "? ? # ");
	IOStreamPrompted::setPromptTexts("> ", ". ");

	IOStreamPrompted silent(std::make_shared<InputStreamString>("x"), nullptr);
	EXPECT_EQ(readAll(silent), "x");
	EXPECT_FALSE(silent.write("x"));
	EXPECT_LOG("SANITY_CHECK failed: 'fNestedOutputStream' evaluates to false");
}

TEST_F(StreamTest, Outputs)
{
	OutputStreamStdOut standardOutput;
	OutputStreamStdErr standardError;
	EXPECT_TRUE(standardOutput.write("out"));
	EXPECT_TRUE(standardOutput.flush());
	EXPECT_TRUE(standardError.write("err"));
	EXPECT_EQ(fConsole.output, "out");
	EXPECT_EQ(fConsole.errorOutput, "err");
	fConsole.outcome = Platform::WriteOutcome::FAILED;
	EXPECT_FALSE(standardError.write("err"));

	OutputStreamString string;
	EXPECT_EQ(string.getChar(), InputStream::END_OF_INPUT);
	bool success = false;
	runInTask([&](Task &task) { string.write_yielding(task, success, "ab"); });
	EXPECT_TRUE(success);
	EXPECT_EQ(readAll(string), "ab");
	string.write(std::string(100, 'c'));
	EXPECT_EQ(readAll(string), std::string(100, 'c'));
	EXPECT_EQ(string.getText().size(), 102u);
}
}
