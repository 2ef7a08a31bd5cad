// What a write pipe sends, over pipes in memory.
#include "MrvPipes/PipeFixture.h"

#include "MrvUtils/MrvLimits.h"

#include <numeric>
#include <sstream>

namespace Mrv
{
namespace
{
using Pipes::WriteProgress;
using Platform::PipeOutcome;
using Test::lengthText;
using Test::MemoryPipes;
using Test::packet;
using Test::PipeOperation;
using Strings = std::vector<std::string>;

class WritePipeTest : public Test::PipeFixture
{
protected:
	WritePipeTest()
	{
		writeProxyFile("memory:x");
		fPipes.script(PipeOperation::OPEN, PipeOutcome::SUCCESS);
		fHandle = Pipes::openWriteNamedPipe(fPath);
	}
	~WritePipeTest() override { WritePipe::closeAll(); }

	MemoryPipes fPipes;
	int fHandle = 0;
};

TEST_F(WritePipeTest, CutsStringsIntoPackets)
{
	std::string first(4064, 'a');
	std::string second(4065, 'b');
	std::string third(4064 + 4072 + 1, 'c');
	for (const std::string &text : {first, second, std::string(), third})
	{
		EXPECT_TRUE(Pipes::writeToNamedPipe(fHandle, text));
	}
	EXPECT_LOG("empty string in queue");
	EXPECT_EQ(fPipes.written,
	    (Strings{packet(1, 0, lengthText(4064) + first), packet(2, 0, lengthText(4065) + std::string(4064, 'b')), packet(2, 1, "b"),
	        packet(3, 0, lengthText(8137) + std::string(4064, 'c')), packet(3, 1, std::string(4072, 'c')), packet(3, 2, "c")}));
	for (const std::string &message : fPipes.written)
	{
		EXPECT_LE(message.size(), 4096U);
	}
	EXPECT_TRUE(WritePipe::isAllIdle());
	EXPECT_GT(fCoordinator.activityCount, 0);
}

TEST_F(WritePipeTest, ThePacketOfTheDocument)
{
	std::string document;
	ASSERT_TRUE(Dirs::readFile(std::string(MORVANE_DOCS) + "/pipes.md", document, 100'000));
	const std::size_t start = document.find("```text\n") + 8;
	std::istringstream words(document.substr(start, document.find("```", start) - start));
	std::string bytes;
	for (unsigned byte = 0; words >> std::hex >> byte;)
	{
		bytes += static_cast<char>(byte);
	}
	EXPECT_EQ(bytes, packet(1, 0, lengthText(5) + "ping\n", 4711));

	EXPECT_TRUE(Pipes::writeToNamedPipe(fHandle, "ping\n"));
	const std::uint32_t own = Platform::currentProcessId();
	bytes.replace(16, sizeof own, reinterpret_cast<const char *>(&own), sizeof own);
	EXPECT_EQ(fPipes.written, Strings{bytes});
}

TEST_F(WritePipeTest, GoesOnWhileTheSystemTakesIt)
{
	const std::size_t size = 4064 + 4072 * std::size_t{Limits::PIPE_PACKETS_WRITTEN};
	fPipes.script(PipeOperation::WRITE, PipeOutcome::IO_PENDING);
	EXPECT_TRUE(Pipes::writeToNamedPipe(fHandle, std::string(size, 'x')));
	EXPECT_EQ(Pipes::getWriteProgress(fHandle, 0), WriteProgress::IN_PROGRESS);
	EXPECT_FALSE(WritePipe::isAllIdle());
	fPipes.script(PipeOperation::WRITE_RESULT, PipeOutcome::IO_INCOMPLETE);
	WritePipe::timeslice();
	EXPECT_EQ(fPipes.written.size(), 0U);
	// The write that was in flight and those that follow, up to a poll's limit.
	WritePipe::timeslice();
	EXPECT_EQ(fPipes.written.size(), Limits::PIPE_PACKETS_WRITTEN);
	EXPECT_FALSE(WritePipe::isAllIdle());
	WritePipe::timeslice();
	EXPECT_EQ(fPipes.written.size(), Limits::PIPE_PACKETS_WRITTEN + 1);
	EXPECT_EQ(std::accumulate(fPipes.written.begin(), fPipes.written.end(), std::size_t{0},
	              [](std::size_t sum, const std::string &message) { return sum + message.size() - PIPE_HEADER_SIZE; }),
	    size + PIPE_LENGTH_SIZE);
	EXPECT_EQ(Pipes::getWriteProgress(fHandle, 0), WriteProgress::DONE);
}

TEST_F(WritePipeTest, AFailedWriteLosesWhatWaitsAndTheNextStringGoesOut)
{
	for (const PipeOperation operation : {PipeOperation::WRITE, PipeOperation::WRITE_RESULT})
	{
		const std::uint64_t losses = Pipes::getLossCount(fHandle);
		if (operation == PipeOperation::WRITE_RESULT)
		{
			fPipes.script(PipeOperation::WRITE, PipeOutcome::IO_PENDING);
		}
		fPipes.script(operation, PipeOutcome::NO_DATA);
		EXPECT_TRUE(Pipes::writeToNamedPipe(fHandle, std::string(5000, 'x')));
		WritePipe::timeslice();
		EXPECT_LOG("failed, writeError = 232");
		EXPECT_EQ(Pipes::getWriteProgress(fHandle, losses), WriteProgress::FAILED);
		EXPECT_TRUE(WritePipe::isAllIdle());
		fPipes.script(PipeOperation::OPEN, PipeOutcome::SUCCESS);
		EXPECT_TRUE(Pipes::writeToNamedPipe(fHandle, "next"));
		EXPECT_EQ(fPipes.written.size(), 1U);
		EXPECT_EQ(Pipes::getWriteProgress(fHandle, losses + 1), WriteProgress::DONE);
		fPipes.written.clear();
	}
}

TEST_F(WritePipeTest, ClosingSendsWhatWaits)
{
	fPipes.script(PipeOperation::WRITE, PipeOutcome::IO_PENDING);
	fPipes.script(PipeOperation::WRITE_RESULT, PipeOutcome::IO_INCOMPLETE);
	EXPECT_TRUE(Pipes::writeToNamedPipe(fHandle, "one"));
	EXPECT_TRUE(Pipes::writeToNamedPipe(fHandle, "two"));
	EXPECT_TRUE(Pipes::closeNamedPipe(fHandle));
	EXPECT_EQ(fPipes.written.size(), 0U);
	// Opened again before it is empty, it goes on with the same queue.
	EXPECT_EQ(Pipes::openWriteNamedPipe(fPath), fHandle);
	EXPECT_TRUE(Pipes::writeToNamedPipe(fHandle, "three"));
	EXPECT_TRUE(Pipes::closeNamedPipe(fHandle));
	WritePipe::timeslice();
	EXPECT_EQ(fPipes.written,
	    (Strings{packet(1, 0, lengthText(3) + "one"), packet(2, 0, lengthText(3) + "two"), packet(3, 0, lengthText(5) + "three")}));
	EXPECT_FALSE(WritePipe::getPipe(fPath));
	EXPECT_FALSE(Pipes::writeToNamedPipe(fHandle, "four"));
	EXPECT_LOG("SANITY_CHECK failed: 'writePipe' evaluates to false");
}

TEST_F(WritePipeTest, ClosingByForceLosesWhatWaits)
{
	fPipes.forgetScripts();
	EXPECT_TRUE(Pipes::writeToNamedPipe(fHandle, "for nobody"));
	EXPECT_EQ(Pipes::getWriteProgress(fHandle, 0), WriteProgress::IN_PROGRESS);
	EXPECT_GT(WritePipe::getPipe(fHandle)->getBuffer()->getUnreachableSince(), 0);
	Pipes::closeWriteNamedPipeForced(fHandle);
	Pipes::closeWriteNamedPipeForced(fHandle);
	EXPECT_TRUE(WritePipe::isAllIdle());
	EXPECT_EQ(Pipes::getWriteProgress(fHandle, 0), WriteProgress::FAILED);
	EXPECT_EQ(Pipes::getUnreachableMicroseconds(fHandle), 0);
	EXPECT_TRUE(Pipes::deleteNamedPipe(fPath));
	EXPECT_EQ(Pipes::openWriteNamedPipe(fPath), 0);
}

TEST_F(WritePipeTest, WithoutAProxyFileThereIsNoPipe)
{
	Platform::removeFile(fPath);
	EXPECT_EQ(Pipes::openWriteNamedPipe(fPath), 0);
	EXPECT_FALSE(Pipes::writeToNamedPipe(fHandle, "text"));
	EXPECT_LOG("VERIFY failed: 'Pipes::namedPipeExists(fNamedPipePath)' evaluates to false");
	EXPECT_EQ(WritePipe::getPipe(fHandle)->getState(), WritePipeState::NON_EXISTENT);
	// It may come.
	writeProxyFile("memory:x");
	EXPECT_TRUE(Pipes::writeToNamedPipe(fHandle, "text"));
	EXPECT_EQ(fPipes.written.size(), 1U);

	EXPECT_FALSE(Pipes::writeToNamedPipe(fHandle, std::string(Limits::PIPE_STRING_BYTES + 1, 'x')));
	EXPECT_LOG("too long to be sent");
	EXPECT_FALSE(WritePipe::getPipe(fPath)->open());
	EXPECT_LOG("SANITY_CHECK failed: 'fState != WritePipeState::Open' evaluates to false");
}
}
}
