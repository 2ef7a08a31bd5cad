#include "support/MemoryConsole.h"

#include <gtest/gtest.h>

namespace Mrv
{
namespace
{
using Platform::InputState;
using Platform::StandardStream;
using Platform::WriteOutcome;
using Test::MemoryConsole;

TEST(BufferedConsoleTest, OutputIsHeldBackForAWhile)
{
	MemoryConsole console;
	for (int i = 0; i < 1000; ++i)
	{
		console.write(StandardStream::OUTPUT, "line\n");
	}
	EXPECT_EQ(console.writeCount, 0);
	console.write(StandardStream::OUTPUT, std::string(100'000, 'x'));
	EXPECT_EQ(console.writeCount, 1);
	EXPECT_EQ(console.output.size(), 105'000U);
	console.write(StandardStream::OUTPUT, "question");
	EXPECT_EQ(console.pollInput(), InputState::END);
	EXPECT_TRUE(console.output.ends_with("question"));
}

TEST(BufferedConsoleTest, ATerminalGetsWholeLinesInOrder)
{
	MemoryConsole console;
	console.isATerminal = true;
	console.write(StandardStream::OUTPUT, "a");
	EXPECT_EQ(console.output, "");
	console.write(StandardStream::OUTPUT, "b\nc");
	EXPECT_EQ(console.output, "ab\nc");
	console.write(StandardStream::OUTPUT, "first");
	console.write(StandardStream::ERROR_OUTPUT, "second");
	EXPECT_EQ(console.output, "ab\ncfirst");
	EXPECT_EQ(console.errorOutput, "second");
}

TEST(BufferedConsoleTest, AFailureOfOutputLasts)
{
	for (const WriteOutcome failure : {WriteOutcome::FAILED, WriteOutcome::CLOSED_PIPE})
	{
		MemoryConsole console;
		console.outcome = failure;
		EXPECT_EQ(console.write(StandardStream::OUTPUT, "lost"), WriteOutcome::WRITTEN);
		EXPECT_EQ(console.flush(), failure);
		console.outcome = WriteOutcome::WRITTEN;
		EXPECT_EQ(console.write(StandardStream::OUTPUT, "dropped"), failure);
		EXPECT_EQ(console.flush(), failure);
		EXPECT_EQ(console.output, "");
		EXPECT_EQ(console.write(StandardStream::ERROR_OUTPUT, "told"), WriteOutcome::WRITTEN);
		EXPECT_EQ(console.write(StandardStream::INPUT, "nonsense"), WriteOutcome::FAILED);
	}
}

TEST(BufferedConsoleTest, InputComesInPiecesAndEndsForGood)
{
	MemoryConsole console;
	console.inputEnds = false;
	EXPECT_EQ(console.pollInput(), InputState::NOTHING_YET);
	console.input = "abcdef";
	console.fetchSize = 4;
	std::string bytes;
	EXPECT_EQ(console.readInput(bytes, 3), InputState::READY);
	EXPECT_EQ(bytes, "abc");
	EXPECT_EQ(console.readInput(bytes, 3), InputState::READY);
	EXPECT_EQ(bytes, "abcd");
	EXPECT_EQ(console.readInput(bytes, 3), InputState::READY);
	EXPECT_EQ(bytes, "abcdef");
	console.inputEnds = true;
	EXPECT_EQ(console.readInput(bytes, 3), InputState::END);
	console.input = "too late";
	EXPECT_EQ(console.readInput(bytes, 3), InputState::END);
	EXPECT_EQ(bytes, "abcdef");
}
}
}
