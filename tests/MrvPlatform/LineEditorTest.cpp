#include "MrvPlatform/MrvLineEditor.h"

#include "MrvPlatform/MrvCellWidth.h"
#include "MrvPlatform/MrvKeyDecoder.h"
#include "support/MemoryConsole.h"

#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

namespace Mrv
{
namespace
{
using Platform::KeyEvent;
using Platform::LineEditor;
using Outcome = LineEditor::Outcome;

std::deque<KeyEvent> decode(const std::string &bytes)
{
	Platform::KeyDecoder decoder;
	std::deque<KeyEvent> keys;
	for (const char byte : bytes)
	{
		decoder.accept(byte, keys);
	}
	return keys;
}

// One row of a terminal that knows nothing but characters, backspace and carriage return; a wide character takes two cells.
class Row
{
public:
	void write(std::string_view text)
	{
		while (!text.empty())
		{
			const std::string_view from = text;
			const char32_t character = Platform::takeCharacter(text);
			const std::string bytes(from.substr(0, from.size() - text.size()));
			const size_t cells = Platform::cellWidth(character);
			if (character == '\b' || character == '\r')
			{
				ASSERT_TRUE(character == '\r' || fCursor > 0) << "out of the row";
				fCursor = character == '\r' ? 0 : fCursor - 1;
			}
			else if (character == '\n')
			{
				fCells.clear();
			}
			else if (cells == 0)
			{
				fCells.at(fCursor - 1) += bytes;
			}
			else
			{
				fCells.resize(std::max(fCells.size(), fCursor + cells), " ");
				fCells[fCursor] = bytes;
				if (cells == 2)
				{
					fCells[fCursor + 1] = "";
				}
				fCursor += cells;
				EXPECT_LT(fCursor, 80U) << "the last cell is to stay free";
			}
		}
	}

	// What is seen, with `|` for the cursor.
	std::string seen() const
	{
		std::string text;
		for (size_t cell = 0; cell <= fCells.size(); ++cell)
		{
			text += cell == fCursor ? "|" : "";
			text += cell < fCells.size() ? fCells[cell] : "";
		}
		return text.substr(0, text.find_last_not_of(' ') + 1);
	}

private:
	std::vector<std::string> fCells;
	size_t fCursor = 0;
};

class LineEditorTest : public testing::Test
{
protected:
	LineEditorTest() { begin(); }

	void begin(size_t columns = 80)
	{
		fRow = Row();
		fRow.write("> ");
		fEditor.begin(columns, 2);
	}

	// What is seen after these bytes, drawn after each key.
	std::string type(const std::string &bytes)
	{
		for (const KeyEvent &key : decode(bytes))
		{
			fOutcome = fEditor.accept(key);
			if (fOutcome == Outcome::EDITING)
			{
				fRow.write(fEditor.takeOutput());
			}
		}
		return fRow.seen();
	}

	std::string enter(const std::string &bytes)
	{
		type(bytes + "\r");
		EXPECT_EQ(fOutcome, Outcome::LINE);
		fEditor.takeOutput();
		std::string line = fEditor.takeLine();
		begin();
		return line;
	}

	LineEditor fEditor;
	Row fRow;
	Outcome fOutcome = Outcome::EDITING;
};

TEST_F(LineEditorTest, Keys)
{
	const struct
	{
		const char *keys;
		const char *seen;
	} cases[] = {
	    {"abc", "> abc|"},
	    {"abc\x1b[D\x1b[Dx", "> ax|bc"},
	    {"abc\x1bOD\x1bOC\x7f", "> ab|"},
	    {"abc\x02\b\x06", "> ac|"},
	    {"abc\x1b[Hx\x1b[Fy", "> xabcy|"},
	    {"abc\x01x\x05y", "> xabcy|"},
	    {"abc\x1b[1~x\x1b[4~y\x1b[7~z\x1b[8~", "> zxabcy|"},
	    {"abc\x1b[D\x1b[3~", "> ab|"},
	    {"abc\x01\x04", "> |bc"},
	    {"abc\x05\x04", "> abc|"},
	    {"one two\x1b[D\x0b", "> one tw|"},
	    {"one two\x1b[D\x15", "> |o"},
	    {"one two\x17", "> one |"},
	    {"one two  \x17x", "> one x|"},
	    {"f(one.two)\x17\x1b\x7f", "> f(|"},
	    {"one two\x1b[1;5D\x1b[1;5D\x1b[1;5C!", "> one!| two"},
	    {"one two\x1b\x62\x1b\x62\x1b\x66!", "> one!| two"},
	    {"\x7f\x1b[D\x1b[3~\x15\x0b\x17", "> |"},
	    {"a\tb", "> a b|"},
	    {"a\x1b[200~b\x1b[24;7~c\x1b[Zd", "> abcd|"},
	    {"a\x1b[1\x05z", "> az|"},
	    {"\xc3\xa4\xe6\x97\xa5x\x1b[D\x7f", "> \xc3\xa4|x"},
	    {"\xe6\x97\xa5\xe6\x9c\xac\x1b[D", "> \xe6\x97\xa5|\xe6\x9c\xac"},
	    {"e\xcc\x81x\x1b[D\x7f", "> |x"},
	    {"\xcc\x81", "> |"},
	    {"\xff"
	     "a\xc3"
	     "b",
	        "> \xef\xbf\xbd"
	        "a\xef\xbf\xbd"
	        "b|"},
	};
	for (const auto &[keys, seen] : cases)
	{
		SCOPED_TRACE(keys);
		begin();
		std::string shown = type(keys);
		if (std::string_view(keys) == "\xcc\x81")
		{
			shown = shown.substr(0, 2) + shown.substr(shown.find('|')); // drawn over a blank
		}
		EXPECT_EQ(shown, seen);
		EXPECT_EQ(fOutcome, Outcome::EDITING);
	}
}

TEST_F(LineEditorTest, LinesEndInSeveralWays)
{
	EXPECT_EQ(enter("ab\x1b[D"), "ab");
	EXPECT_EQ(enter(""), "");
	type("ab\x1b[D\x03");
	EXPECT_EQ(fOutcome, Outcome::INTERRUPTED);
	EXPECT_TRUE(fEditor.takeOutput().ends_with("^C\r\n"));
	begin();
	type("a\x04");
	EXPECT_EQ(fOutcome, Outcome::EDITING);
	type("\x7f\x04");
	EXPECT_EQ(fOutcome, Outcome::ENDED);
	begin();
	type("a\x0c");
	EXPECT_EQ(fOutcome, Outcome::CLEAR_SCREEN);
}

TEST_F(LineEditorTest, History)
{
	for (const std::string line : {"one", "two", "two", "  ", "three"})
	{
		EXPECT_EQ(enter(line), line);
	}
	EXPECT_EQ(fEditor.history().size(), 3U);
	EXPECT_EQ(type("typed\x1b[A"), "> three|");
	EXPECT_EQ(type("\x1b[A"), "> two|");
	EXPECT_EQ(type("\x10\x10\x10"), "> one|");
	EXPECT_EQ(type("\x0e"), "> two|");
	EXPECT_EQ(type("\x1b[B\x1b[B"), "> typed|");
	EXPECT_EQ(type("\x1b[B"), "> typed|");
	// What is changed there is the new line's alone.
	EXPECT_EQ(enter("\x1b[A\x1b[A!"), "two!");
	EXPECT_EQ(type("\x1b[A\x1b[A\x1b[A"), "> two|");
}

TEST_F(LineEditorTest, ALongLineIsScrolled)
{
	begin(20);
	EXPECT_EQ(type("0123456789abcdefgh"), "> 123456789abcdefgh|");
	EXPECT_EQ(type("\x01"), "> |0123456789abcdefg");
	EXPECT_EQ(type("\x05\x1b[D\x1b[D\x7f"), "> 0123456789abcde|gh") << "it fits again";
	begin(20);
	EXPECT_EQ(type("0123456789abcde\xe6\x97\xa5"), "> 0123456789abcde\xe6\x97\xa5|");
	EXPECT_EQ(type("\xe6\x9c\xac"), "> 23456789abcde\xe6\x97\xa5\xe6\x9c\xac|");
	// A prompt that leaves no room: the line has a row of its own.
	fEditor.begin(20, 15);
	EXPECT_EQ(fEditor.takeOutput(), "\r\n");
}

TEST_F(LineEditorTest, HistoryAcrossSessions)
{
	const std::string path = Dirs::getTmpPath() + "history";
	{
		Platform::LineHistory first;
		first.useFile(path);
		Platform::LineHistory second;
		second.useFile(path);
		first.add("1");
		second.add("2");
		first.add("3");
		EXPECT_EQ(first.size(), 2U);
	}
	Platform::LineHistory later;
	later.useFile(path);
	ASSERT_EQ(later.size(), 3U);
	EXPECT_EQ(later[0] + later[1] + later[2], "123");
	for (size_t count = 0; count < 20; ++count)
	{
		later.add("line " + std::to_string(count));
	}
	later.add(std::string(Platform::LineHistory::MAX_LINE_SIZE + 1, 'x'));
	EXPECT_EQ(later.size(), 23U);
	Platform::LineHistory alone;
	for (size_t count = 0; count < Platform::LineHistory::MAX_LINES + 5; ++count)
	{
		alone.add(std::to_string(count));
	}
	EXPECT_EQ(alone.size(), Platform::LineHistory::MAX_LINES);
	EXPECT_EQ(alone[0], "5");
	EXPECT_FALSE(Dirs::exists(path + ".new"));
	// A place that can't be written costs nothing but the memory.
	Platform::LineHistory nowhere;
	nowhere.useFile(Dirs::getTmpPath() + "no/such/folder");
	nowhere.add("kept");
	EXPECT_EQ(nowhere.size(), 1U);
	Platform::removeFile(path);
}

TEST(ConsoleLineTest, OutputOfOthersGoesAboveTheLine)
{
	Mrv::Test::MemoryConsole console;
	console.isATerminal = true;
	console.inputEnds = false;
	console.enterKeyMode();
	console.write(Platform::StandardStream::OUTPUT, "\x1b[1m> \x1b[0m");
	console.input = "ab\x1b[D";
	std::string line;
	EXPECT_EQ(console.readLine(line), Platform::InputState::NOTHING_YET);
	EXPECT_EQ(console.output, "\x1b[1m> \x1b[0mab\b");
	console.output.clear();
	console.write(Platform::StandardStream::OUTPUT, "news\n");
	EXPECT_EQ(console.output, "\b  \b\b\r  \rnews\n\x1b[1m> \x1b[0mab\b");
	console.output.clear();
	console.write(Platform::StandardStream::ERROR_OUTPUT, "bad");
	EXPECT_EQ(console.errorOutput, "bad");
	EXPECT_TRUE(console.output.ends_with("\r\n\x1b[1m> \x1b[0mab\b")) << console.output;
	console.output.clear();
	console.input = "\x0c";
	EXPECT_EQ(console.readLine(line), Platform::InputState::NOTHING_YET);
	EXPECT_EQ(console.output, "\x1b[H\x1b[2J\x1b[1m> \x1b[0mab\b");
	console.input = "x\ry\r";
	EXPECT_EQ(console.readLine(line), Platform::InputState::READY);
	EXPECT_EQ(line, "axb\n");
	EXPECT_FALSE(console.interruptKeyIsInput);
	line.clear();
	EXPECT_EQ(console.readLine(line), Platform::InputState::READY);
	EXPECT_EQ(line, "y\n") << "what was typed ahead";
}

TEST(ConsoleLineTest, TheEscapeKeyAloneIsGivenUp)
{
	Platform::KeyDecoder decoder;
	std::deque<KeyEvent> keys;
	decoder.accept('\x1b', keys);
	EXPECT_TRUE(decoder.isInEscape());
	decoder.giveUpEscape();
	decoder.accept('[', keys);
	decoder.accept('A', keys);
	ASSERT_EQ(keys.size(), 2U);
	EXPECT_EQ(keys[0].text + keys[1].text, "[A");
	keys.clear();
	decoder.accept('\xc3', keys);
	EXPECT_FALSE(decoder.isInEscape()) << "a character is waited for";
	decoder.giveUpEscape();
	decoder.accept('\xa4', keys);
	EXPECT_EQ(keys.at(0).text, "\xc3\xa4");
}
}
}
