// What a read pipe makes of packets, and how it keeps its pool, over pipes in memory.
#include "MrvPipes/PipeFixture.h"

#include "MrvUtils/MrvLimits.h"

namespace Mrv
{
namespace
{
using Platform::PipeOutcome;
using Test::lengthText;
using Test::logLines;
using Test::MemoryPipes;
using Test::packet;
using Test::PipeOperation;
using Test::takeLogLine;
using Test::takeLogLines;
using Strings = std::vector<std::string>;

constexpr Platform::ProcessId OTHER = 4'000'000'001; // no process has it

std::int64_t sNow = 0;

class ReadPipeTest : public Test::PipeFixture
{
protected:
	ReadPipeTest() : fHandle(Pipes::openReadNamedPipe(fPath)), fPipe(ReadPipe::getPipe(fHandle)) { EXPECT_TRUE(fPipe); }
	~ReadPipeTest() override { ReadPipe::closeAll(); }

	bool process(const std::string &bytes) const
	{
		return fPipe->processPacket(readFromBytes<PipePacketHeader>(bytes), std::string_view(bytes).substr(PIPE_HEADER_SIZE));
	}

	// All that waits, piece by piece; a piece that was closed by a line feed shows it.
	Strings takeAll() const
	{
		Strings pieces;
		std::string piece;
		bool isComplete = false;
		while (Pipes::readFromNamedPipe(piece, fHandle, isComplete, '\n') || isComplete)
		{
			pieces.push_back(piece + (isComplete ? "\n" : ""));
		}
		return pieces;
	}

	MemoryPipes fPipes;
	int fHandle;
	std::shared_ptr<ReadPipe> fPipe;
};

TEST_F(ReadPipeTest, PutsThePacketsOfEachProcessTogether)
{
	// A body without a beginning leaves others alone; an unfinished string gives way to the next one.
	EXPECT_TRUE(process(packet(7, 0, lengthText(8) + "mine", 1)));
	EXPECT_FALSE(process(packet(9, 1, "nobody's", 3)));
	EXPECT_LOG("was expecting a packet #0 at start of buffer");
	EXPECT_TRUE(process(packet(1, 0, lengthText(9) + "yours", 2)));
	EXPECT_TRUE(process(packet(7, 1, "", 1)));
	EXPECT_TRUE(process(packet(7, 2, "too\n", 1)));
	EXPECT_TRUE(process(packet(2, 0, lengthText(6) + "later", 2)));
	EXPECT_TRUE(process(packet(2, 1, "\n", 2)));
	EXPECT_EQ(takeAll(), (Strings{"minetoo\n", "later\n"}));
	EXPECT_EQ(fPipe->getUnfinishedCount(), 0U);
}

TEST_F(ReadPipeTest, RefusesWhatDoesNotFit)
{
	const struct
	{
		Strings packets;
		std::string log;
		std::size_t unfinished;
	} cases[] = {
	    {{packet(1, 0, "1234567")}, "No room for string length in packet", 0},
	    {{packet(1, 0, lengthText(0))}, "a string without text", 0},
	    {{packet(1, 0, lengthText(Limits::PIPE_STRING_BYTES + 1) + "x")}, "too long to be received", 0},
	    {{packet(1, 0, lengthText(std::uint64_t{1} << 63) + "x")}, "too long to be received", 0},
	    {{packet(1, 0, lengthText(~std::uint64_t{0}) + "x")}, "too long to be received", 0},
	    {{packet(1, 0, lengthText(3) + "toolong")}, "More data received than expected", 0},
	    {{packet(1, 0, lengthText(3) + "ok"), packet(1, 1, "xx")}, "More data received than expected", 0},
	    {{packet(1, 0, lengthText(9) + "ok"), packet(2, 1, "xx")}, "string sequence error", 1},
	    {{packet(1, 0, lengthText(9) + "ok"), packet(1, 2, "xx")}, "packet sequence error", 1},
	    {{packet(1, 0, lengthText(9) + "ok"), packet(1, 0, "short")}, "No room for string length in packet", 0},
	};
	for (const auto &[packets, log, unfinished] : cases)
	{
		SCOPED_TRACE(log);
		bool isTaken = true;
		for (const std::string &bytes : packets)
		{
			isTaken = process(bytes);
		}
		EXPECT_FALSE(isTaken);
		EXPECT_EQ(process(packets.back()) && unfinished > 0, false);
		EXPECT_TRUE(takeLogLine(log));
		EXPECT_EQ(fPipe->getUnfinishedCount(), unfinished);
		// The next string is none the worse.
		EXPECT_TRUE(process(packet(9, 0, lengthText(5) + "good\n")));
		EXPECT_EQ(takeAll(), Strings{"good\n"});
		takeLogLines();
	}
}

TEST_F(ReadPipeTest, HandsOutLines)
{
	EXPECT_TRUE(takeAll().empty());
	for (const std::string text : {"one\ntwo\n", "\n", "begins ", "ends\nrest", "last\n"})
	{
		EXPECT_TRUE(process(packet(1, 0, lengthText(text.size()) + text)));
	}
	EXPECT_EQ(takeAll(), (Strings{"one\n", "two\n", "\n", "begins ", "ends\n", "rest", "last\n"}));

	std::string piece = "old";
	bool isComplete = true;
	EXPECT_FALSE(Pipes::readFromNamedPipe(piece, 999, isComplete, '\n'));
	EXPECT_FALSE(isComplete);
	EXPECT_EQ(piece, "");
	EXPECT_LOG("SANITY_CHECK failed: 'readPipe' evaluates to false");
}

TEST_F(ReadPipeTest, ManyStringsAtOnceAreLimited)
{
	for (Platform::ProcessId processId = 1; processId <= Limits::PIPE_ASSEMBLIES; ++processId)
	{
		EXPECT_TRUE(process(packet(1, 0, lengthText(9), processId)));
	}
	EXPECT_FALSE(process(packet(1, 0, lengthText(9), OTHER)));
	EXPECT_LOG("too many strings arrive at once");
	EXPECT_TRUE(process(packet(2, 0, lengthText(2) + "x\n", 7)));
	EXPECT_EQ(takeAll(), Strings{"x\n"});
}

TEST_F(ReadPipeTest, APacketMustBeWhatItSays)
{
	std::string tooLarge = packet(1, 0, lengthText(5) + "text\n");
	tooLarge[21] = '\x7F';
	const std::string good = packet(1, 0, lengthText(5) + "text\n");
	const struct
	{
		std::string message;
		std::string log;
	} cases[] = {
	    {good.substr(0, 23), "has no header"},
	    {good.substr(0, 1), "has no header"},
	    {good.substr(0, PIPE_HEADER_SIZE), "tells another size"}, // and the next message isn't taken for its body
	    {good.substr(0, good.size() - 1), "tells another size"},
	    {good + "x", "tells another size"},
	    {packet(1, 0, "") + "x", "tells another size"},
	    {tooLarge, "SANITY_CHECK failed: 'fPacketSize <= 4096' evaluates to false"},
	    {packet(1, 0, lengthText(5) + "text\n", OTHER), "sends in the name of process"},
	};
	for (const auto &[message, log] : cases)
	{
		SCOPED_TRACE(log);
		fPipe->poll();
		const auto liar = fPipes.connectWriter(Platform::currentProcessId());
		ASSERT_TRUE(liar);
		liar->messages = {message, good};
		fPipe->poll();
		fPipe->poll();
		fPipe->poll();
		EXPECT_TRUE(takeLogLine(log));
		EXPECT_TRUE(liar->isReaderGone);
		EXPECT_TRUE(takeAll().empty());
		EXPECT_EQ(fPipe->getListeningCount(), Limits::PIPE_LISTENING_INSTANCES);
	}
	// A header alone is a packet: here it says nothing that belongs anywhere.
	const auto writer = fPipes.connectWriter(Platform::currentProcessId());
	writer->messages = {packet(1, 1, ""), good};
	EXPECT_EQ(takeAll(), Strings{"text\n"});
	EXPECT_LOG("was expecting a packet #0");
}

TEST_F(ReadPipeTest, AnotherUserIsTurnedAway)
{
	const auto writer = fPipes.connectWriter(OTHER);
	writer->isSameUser = false;
	writer->messages = {packet(1, 0, lengthText(5) + "text\n", OTHER)};
	EXPECT_TRUE(takeAll().empty());
	EXPECT_LOG("a process of another user");
	fPipe->poll();
	EXPECT_TRUE(writer->isReaderGone);
}

TEST_F(ReadPipeTest, FiveListenWhateverComesAndGoes)
{
	std::vector<std::shared_ptr<MemoryPipes::Connection>> writers;
	for (int round = 0; round < 40; ++round)
	{
		for (std::size_t i = 0; i < Limits::PIPE_LISTENING_INSTANCES; ++i)
		{
			writers.push_back(fPipes.connectWriter(OTHER));
			ASSERT_TRUE(writers.back());
		}
		EXPECT_FALSE(fPipes.connectWriter(OTHER));
		fPipe->poll();
		EXPECT_EQ(fPipe->getListeningCount(), Limits::PIPE_LISTENING_INSTANCES);
	}
	EXPECT_EQ(fPipe->getPoolSize(), 205U);
	for (const auto &writer : writers)
	{
		writer->isWriterGone = true;
	}
	fPipe->poll();
	fPipe->poll();
	EXPECT_EQ(fPipe->getListeningCount(), Limits::PIPE_LISTENING_INSTANCES);
	EXPECT_EQ(fPipe->getPoolSize(), Limits::PIPE_LISTENING_INSTANCES);
	EXPECT_EQ(fPipes.instanceCount(), Limits::PIPE_LISTENING_INSTANCES);
}

TEST_F(ReadPipeTest, BeyondTheLargestPoolTheLongestSilentGoes)
{
	sNow = 1'000'000'000;
	Platform::setClockSource([] { return ++sNow; });
	std::vector<std::shared_ptr<MemoryPipes::Connection>> writers;
	while (fPipe->getPoolSize() < Limits::PIPE_POOL_INSTANCES)
	{
		writers.push_back(fPipes.connectWriter(OTHER));
		fPipe->poll();
	}
	writers.front()->messages.push_back(packet(1, 0, lengthText(9), OTHER));
	fPipe->poll();
	writers.push_back(fPipes.connectWriter(OTHER));
	fPipe->poll();
	EXPECT_EQ(fPipe->getPoolSize(), Limits::PIPE_POOL_INSTANCES);
	EXPECT_EQ(fPipe->getListeningCount(), Limits::PIPE_LISTENING_INSTANCES);
	EXPECT_FALSE(writers[0]->isReaderGone);
	EXPECT_TRUE(writers[1]->isReaderGone);
	EXPECT_FALSE(writers[2]->isReaderGone);
	// Said once as long as it lasts.
	writers.push_back(fPipes.connectWriter(OTHER));
	fPipe->poll();
	EXPECT_TRUE(writers[2]->isReaderGone);
	EXPECT_LOG("too many connections");
	EXPECT_FALSE(takeLogLine("too many connections"));
	Platform::setClockSource(nullptr);
}

// It is tried again with each poll, and said once.
TEST_F(ReadPipeTest, InstancesThatCannotBeMade)
{
	for (std::size_t i = 0; i < 3; ++i)
	{
		fPipes.script(PipeOperation::CREATE, PipeOutcome::TOO_MANY_OPEN_FILES);
	}
	fPipes.connectWriter(OTHER);
	fPipe->poll();
	fPipe->poll();
	fPipe->poll();
	EXPECT_EQ(fPipe->getListeningCount(), Limits::PIPE_LISTENING_INSTANCES - 1);
	EXPECT_EQ(fPipes.forgetScripts(), 0U);
	EXPECT_LOG("createNamedPipeError 4");
	EXPECT_TRUE(logLines().empty());
	fPipe->poll();
	EXPECT_EQ(fPipe->getListeningCount(), Limits::PIPE_LISTENING_INSTANCES);
}

TEST_F(ReadPipeTest, AFastWriterHoldsNobodyUp)
{
	const auto writer = fPipes.connectWriter(Platform::currentProcessId());
	const std::string text = std::string(4063, 'x') + '\n';
	std::uint64_t sequence = 0;
	const auto refill = [&]
	{
		while (writer->messages.size() < 2 * Limits::PIPE_PACKETS_READ)
		{
			writer->messages.push_back(packet(++sequence, 0, lengthText(text.size()) + text));
		}
	};
	refill();
	fPipe->poll();
	EXPECT_EQ(writer->messages.size(), Limits::PIPE_PACKETS_READ);
	// With enough strings waiting the pipe isn't read at all.
	for (std::size_t received = 0; received < 2 * Limits::PIPE_FINISHED_BYTES; received += Limits::PIPE_PACKETS_READ * text.size())
	{
		refill();
		fPipe->poll();
	}
	EXPECT_EQ(writer->messages.size(), 2 * Limits::PIPE_PACKETS_READ);
	const std::size_t count = takeAll().size();
	EXPECT_EQ(count, sequence);
	EXPECT_TRUE(writer->messages.empty());
}

TEST_F(ReadPipeTest, HalfAStringKeepsTheLoopAwakeForAWhile)
{
	sNow = 1'000'000'000;
	Platform::setClockSource([] { return sNow; });
	const auto writer = fPipes.connectWriter(Platform::currentProcessId());
	writer->messages.push_back(packet(1, 0, lengthText(5) + "ha"));
	fPipe->poll();
	EXPECT_EQ(fCoordinator.activityCount, 1);
	sNow += 4'900'000'000;
	fPipe->poll();
	EXPECT_EQ(fCoordinator.activityCount, 2);
	sNow += 200'000'000;
	fPipe->poll();
	EXPECT_EQ(fCoordinator.activityCount, 2);
	writer->messages.push_back(packet(1, 1, "lf\n"));
	EXPECT_EQ(takeAll(), Strings{"half\n"});

	// That of a dead process stays as long as something of it may come.
	const auto dead = fPipes.connectWriter(OTHER);
	dead->messages.push_back(packet(1, 0, lengthText(5) + "ha", OTHER));
	fPipe->poll();
	const int before = fCoordinator.activityCount;
	sNow += 1'000'000'000;
	fPipe->poll();
	EXPECT_EQ(fCoordinator.activityCount, before);
	EXPECT_EQ(fPipe->getUnfinishedCount(), 1U);
	dead->isWriterGone = true;
	fPipe->poll();
	sNow += 1'000'000'000;
	fPipe->poll();
	EXPECT_EQ(fPipe->getUnfinishedCount(), 0U);
	EXPECT_LOG("half a string of the dead process");
	Platform::setClockSource(nullptr);
}

TEST_F(ReadPipeTest, TheProxyFile)
{
	const std::string own = std::to_string(Platform::currentProcessId());
	std::string text;
	EXPECT_TRUE(Dirs::readFile(fPath, text, 1000));
	EXPECT_NE(text.find("[NamedPipe]"), std::string::npos) << text;
	EXPECT_NE(text.find("namedPipeProxyPath=\""), std::string::npos) << text;
	EXPECT_NE(text.find("processId=\"" + own + '"'), std::string::npos) << text;

	// One that another process has made meanwhile is left alone.
	EXPECT_TRUE(Pipes::deleteNamedPipe(fPath));
	EXPECT_TRUE(Pipes::namedPipeExists(fPath));
	writeProxyFile("memory:x", "1" + own);
	EXPECT_TRUE(Pipes::closeNamedPipe(fHandle));
	EXPECT_TRUE(Pipes::namedPipeExists(fPath));
	EXPECT_TRUE(Pipes::deleteNamedPipe(fPath));
	EXPECT_FALSE(Pipes::namedPipeIsActive(fPath));
	EXPECT_TRUE(Pipes::deleteNamedPipe(fPath));

	// One that was left behind is replaced, and goes with the pipe.
	writeProxyFile("memory:x", "1" + own);
	fHandle = Pipes::openReadNamedPipe(fPath);
	EXPECT_EQ(Pipes::openReadNamedPipe(fPath), fHandle);
	EXPECT_LOG("pipe opened more than once");
	EXPECT_TRUE(Pipes::closeNamedPipe(fHandle));
	EXPECT_LOG("pipe remains open");
	EXPECT_TRUE(Pipes::namedPipeExists(fPath));
	EXPECT_TRUE(Pipes::closeNamedPipe(fHandle));
	EXPECT_FALSE(Pipes::namedPipeExists(fPath));
	EXPECT_FALSE(Pipes::closeNamedPipe(fHandle));
	EXPECT_LOG("EXPECTED failed: 'closeCount == 1' evaluates to false");
	EXPECT_EQ(fPipes.instanceCount(), 0U);
}

TEST_F(ReadPipeTest, WhatCannotBeOpened)
{
	const std::string other = fPath + "2";
	fPipes.refuse("the folder belongs to another user: /somewhere");
	EXPECT_EQ(Pipes::openReadNamedPipe(other), 0);
	EXPECT_LOG("the folder belongs to another user: /somewhere");
	EXPECT_LOG("SANITY_CHECK failed: 'retVal->open()' evaluates to false");
	fPipes.refuse("");
	fPipes.script(PipeOperation::CREATE, PipeOutcome::ACCESS_DENIED);
	EXPECT_EQ(Pipes::openReadNamedPipe(other), 0);
	EXPECT_LOG("another user serves it");
	EXPECT_LOG("'retVal->open()'");
	EXPECT_FALSE(Pipes::namedPipeExists(other));
	// With some instances less it works all the same.
	fPipes.script(PipeOperation::CREATE, PipeOutcome::SUCCESS);
	fPipes.script(PipeOperation::CREATE, PipeOutcome::TOO_MANY_OPEN_FILES);
	EXPECT_NE(Pipes::openReadNamedPipe(other), 0);
	EXPECT_LOG("createNamedPipeError 4");
	EXPECT_TRUE(Pipes::namedPipeExists(other));
}
}
}
