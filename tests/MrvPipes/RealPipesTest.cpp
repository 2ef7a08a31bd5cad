// The pipes of the system, within one process and between several.
#include "MrvPipes/PipeFixture.h"

#include "MrvPipes/MrvProcess.h"
#include "MrvUtils/MrvLimits.h"
#include "support/HelperProcess.h"

#include <map>

namespace Mrv
{
namespace
{
using Platform::IPipeWriter;
using Platform::PipeOutcome;
using Test::lengthText;
using Test::packet;
using Test::startHelper;
using Test::takeLogLines;
using Strings = std::vector<std::string>;

class RealPipesTest : public Test::PipeFixture
{
protected:
	RealPipesTest() : fReader(Pipes::openReadNamedPipe(fPath)) { EXPECT_NE(fReader, 0); }

	std::size_t listening() const { return ReadPipe::getPipe(fReader)->getListeningCount(); }

	// A writer below the packets.
	std::unique_ptr<IPipeWriter> connect() const
	{
		const std::string rawPath = ReadPipe::getPipe(fReader)->getRawNamedPipePath();
		std::unique_ptr<IPipeWriter> writer;
		EXPECT_EQ(Platform::messagePipes().openWriter(rawPath, writer), PipeOutcome::SUCCESS);
		EXPECT_EQ(writer->setMessageMode(), PipeOutcome::SUCCESS);
		return writer;
	}

	int fReader;
};

TEST_F(RealPipesTest, StringsOfAllSizes)
{
	const int writer = Pipes::openWriteNamedPipe(fPath);
	ASSERT_NE(writer, 0);
	Strings sent;
	for (const std::size_t size : std::initializer_list<std::size_t>{1, 24, 4063, 4064, 4072, 4096, 100'000, 10'000'000, 2})
	{
		std::string text(size, 'x');
		for (std::size_t i = 0; i < size; i += 997)
		{
			text[i] = static_cast<char>('a' + i % 26);
		}
		sent.push_back(text);
		EXPECT_TRUE(Pipes::writeToNamedPipe(writer, text + '\n'));
	}
	EXPECT_EQ(readLines(fReader, sent.size()) == sent, true);
	EXPECT_TRUE(WritePipe::isAllIdle());
	EXPECT_EQ(Pipes::getWriteProgress(writer, 0), Pipes::WriteProgress::DONE);
	EXPECT_TRUE(Pipes::closeNamedPipe(writer));
}

TEST_F(RealPipesTest, NothingIsLostBeforeAnybodyReads)
{
	EXPECT_TRUE(Pipes::closeNamedPipe(fReader));
	writeProxyFile(Dirs::getTmpPath() + "nobody");
	const int writer = Pipes::openWriteNamedPipe(fPath);
	EXPECT_TRUE(Pipes::writeToNamedPipe(writer, "early\n"));
	takeLogLines(); // what the system calls an address where nobody ever was
	EXPECT_EQ(Pipes::getWriteProgress(writer, 0), Pipes::WriteProgress::IN_PROGRESS);
	fReader = Pipes::openReadNamedPipe(fPath);
	EXPECT_EQ(readLines(fReader, 1), Strings{"early"});

	// A writer notices with a write that the reader is gone, and finds the next one.
	EXPECT_TRUE(Pipes::closeNamedPipe(fReader));
	EXPECT_TRUE(Pipes::writeToNamedPipe(writer, "too late\n"));
	EXPECT_LOG("writeError = ");
	EXPECT_EQ(Pipes::getWriteProgress(writer, 0), Pipes::WriteProgress::FAILED);
	fReader = Pipes::openReadNamedPipe(fPath);
	EXPECT_TRUE(Pipes::writeToNamedPipe(writer, "again\n"));
	EXPECT_EQ(readLines(fReader, 1), Strings{"again"});
}

TEST_F(RealPipesTest, FiveProcessesAtOnce)
{
	constexpr std::size_t WRITERS = 5;
	constexpr std::size_t COUNT = 1000;
	std::map<std::string, std::size_t> nextOf;
	for (std::size_t i = 0; i < WRITERS; ++i)
	{
		nextOf[std::to_string(startHelper({"write", fPath, std::to_string(COUNT), i == 0 ? "9000" : "200"}))] = 0;
	}
	for (const std::string &line : readLines(fReader, WRITERS * COUNT))
	{
		const std::size_t blank = line.find(' ');
		const auto writer = nextOf.find(line.substr(0, blank));
		ASSERT_NE(writer, nextOf.end()) << line.substr(0, 100);
		ASSERT_EQ(line.substr(blank + 1, line.find(' ', blank + 1) - blank - 1), std::to_string(writer->second++));
	}
	for (const auto &[processId, next] : nextOf)
	{
		EXPECT_EQ(next, COUNT) << processId;
	}
	const auto pipe = ReadPipe::getPipe(fReader);
	EXPECT_TRUE(pumpUntil(
	    [&]
	    {
		    pipe->poll();
		    return pipe->getPoolSize() == Limits::PIPE_LISTENING_INSTANCES;
	    }));
	EXPECT_EQ(listening(), Limits::PIPE_LISTENING_INSTANCES);
}

TEST_F(RealPipesTest, AWriterThatDiesInMidString)
{
	const unsigned dead = startHelper({"half", fPath});
	const auto pipe = ReadPipe::getPipe(fReader);
	bool hasBegun = false;
	EXPECT_TRUE(pumpUntil(
	    [&]
	    {
		    pipe->poll();
		    hasBegun = hasBegun || pipe->getUnfinishedCount() == 1;
		    return hasBegun && pipe->getUnfinishedCount() == 0;
	    }));
	EXPECT_FALSE(Process::isRunning(dead));
	EXPECT_LOG("half a string of the dead process " + std::to_string(dead));
	// Others never noticed.
	const unsigned living = startHelper({"write", fPath, "1", "20"});
	EXPECT_EQ(readLines(fReader, 1).front().rfind(std::to_string(living) + " 0 ", 0), 0U);
	EXPECT_EQ(listening(), Limits::PIPE_LISTENING_INSTANCES);
}

TEST_F(RealPipesTest, ALiarLosesItsConnectionOnly)
{
	std::string lying = packet(1, 0, lengthText(5) + "text\n");
	lying[20] = 5;
	const std::string good = packet(1, 0, lengthText(5) + "text\n");
	for (const std::string &message : {lying, good.substr(0, 7), good.substr(0, 24), packet(1, 0, lengthText(2) + "x\n", 1)})
	{
		const auto liar = connect();
		EXPECT_EQ(liar->write(message), PipeOutcome::SUCCESS);
		const auto honest = connect();
		EXPECT_EQ(honest->write(good), PipeOutcome::SUCCESS);
		EXPECT_EQ(readLines(fReader, 1), Strings{"text"});
		EXPECT_LOG("the connection is ended");
		EXPECT_TRUE(pumpUntil(
		    [&]
		    {
			    ReadPipe::getPipe(fReader)->poll();
			    return liar->write(good) != PipeOutcome::SUCCESS;
		    }));
		std::string piece;
		bool isComplete = false;
		EXPECT_FALSE(Pipes::readFromNamedPipe(piece, fReader, isComplete, '\n')) << piece;
		takeLogLines();
	}
}

// More than one wait of any system takes; each of them ends the sleep or is reached by its length.
TEST_F(RealPipesTest, SeventyConnections)
{
	constexpr std::size_t COUNT = 70;
	std::vector<std::unique_ptr<IPipeWriter>> writers;
	while (writers.size() < COUNT)
	{
		writers.push_back(connect());
		ReadPipe::getPipe(fReader)->poll();
	}
	EXPECT_EQ(ReadPipe::getPipe(fReader)->getPoolSize(), COUNT + Limits::PIPE_LISTENING_INSTANCES);
	for (std::size_t i = 0; i < COUNT; ++i)
	{
		const std::string text = std::to_string(i) + '\n';
		EXPECT_EQ(writers[i]->write(packet(1, 0, lengthText(text.size()) + text)), PipeOutcome::SUCCESS);
		EXPECT_EQ(readLines(fReader, 1), Strings{std::to_string(i)});
	}
	writers.clear();
	EXPECT_TRUE(pumpUntil(
	    [&]
	    {
		    ReadPipe::getPipe(fReader)->poll();
		    return ReadPipe::getPipe(fReader)->getPoolSize() == Limits::PIPE_LISTENING_INSTANCES;
	    }));
}

TEST_F(RealPipesTest, AMessageEndsTheSleep)
{
	constexpr std::int64_t SECOND = 1'000'000'000;
	const auto pipe = ReadPipe::getPipe(fReader);
	pipe->poll();
	const auto endsTheSleep = []
	{
		const std::int64_t start = Platform::steadyNanoseconds();
		Platform::sleepUntil(start + 30 * SECOND);
		return Platform::steadyNanoseconds() - start < 10 * SECOND;
	};
	const auto writer = connect();
	EXPECT_TRUE(endsTheSleep());
	EXPECT_TRUE(pumpUntil(
	    [&]
	    {
		    pipe->poll();
		    return pipe->getPoolSize() > Limits::PIPE_LISTENING_INSTANCES;
	    }));
	EXPECT_EQ(writer->write(packet(1, 0, lengthText(2) + "x\n")), PipeOutcome::SUCCESS);
	EXPECT_TRUE(endsTheSleep());
	EXPECT_EQ(readLines(fReader, 1), Strings{"x"});

	// And so does room for a write that is in flight.
	const int handle = Pipes::openWriteNamedPipe(fPath);
	EXPECT_TRUE(Pipes::writeToNamedPipe(handle, std::string(1 << 20, 'y') + '\n'));
	EXPECT_FALSE(WritePipe::isAllIdle());
	pipe->poll();
	EXPECT_TRUE(endsTheSleep());
	EXPECT_EQ(readLines(fReader, 1).front().size(), std::size_t{1} << 20);
}
}
}
