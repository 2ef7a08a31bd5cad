// The system's message pipes, below everything that is sent over them.
#include "MrvPlatform/MrvMessagePipe.h"

#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

#include <functional>

namespace Mrv
{
namespace
{
using Platform::PipeOutcome;

class MessagePipeTest : public testing::Test
{
protected:
	MessagePipeTest()
	{
		const std::string folder = Dirs::getTmpPath() + "pipes" + Platform::pathSeparator();
		Dirs::mkDir(folder, DirRecurse::RECURSE);
		std::string refusal;
		fPath = Platform::messagePipes().rawPath(folder + "net.morvane.coordinator.tested", refusal);
		EXPECT_NE(fPath, "") << refusal;
	}
	~MessagePipeTest() override { Dirs::rmDir(Dirs::getTmpPath() + "pipes", DirRecurse::RECURSE); }

	std::unique_ptr<Platform::IPipeInstance> listen() const
	{
		std::unique_ptr<Platform::IPipeInstance> instance;
		EXPECT_EQ(Platform::messagePipes().createInstance(fPath, instance), PipeOutcome::SUCCESS);
		EXPECT_EQ(instance->connect(), PipeOutcome::IO_PENDING);
		EXPECT_EQ(instance->connectResult(), PipeOutcome::IO_INCOMPLETE);
		return instance;
	}

	PipeOutcome open(std::unique_ptr<Platform::IPipeWriter> &writer) const { return Platform::messagePipes().openWriter(fPath, writer); }

	// Asks again until the operation isn't in flight any more.
	static PipeOutcome finish(const std::function<PipeOutcome()> &ask)
	{
		const std::int64_t end = Platform::steadyNanoseconds() + 20'000'000'000;
		PipeOutcome outcome = ask();
		while ((outcome == PipeOutcome::IO_INCOMPLETE || outcome == PipeOutcome::IO_PENDING) && Platform::steadyNanoseconds() < end)
		{
			Platform::sleepUntil(Platform::steadyNanoseconds() + 1'000'000);
			outcome = ask();
		}
		return outcome;
	}

	// A read to its end, whether it was done at once or not.
	static PipeOutcome read(Platform::IPipeInstance &instance, std::size_t size, std::string_view &bytes)
	{
		const PipeOutcome outcome = instance.read(size, bytes);
		return outcome == PipeOutcome::IO_PENDING ? finish([&] { return instance.readResult(bytes); }) : outcome;
	}

	std::string fPath;
};

TEST_F(MessagePipeTest, MessagesKeepTheirBounds)
{
	const auto instance = listen();
	std::unique_ptr<Platform::IPipeWriter> writer;
	ASSERT_EQ(open(writer), PipeOutcome::SUCCESS);
	EXPECT_EQ(writer->setMessageMode(), PipeOutcome::SUCCESS);
	ASSERT_EQ(finish([&] { return instance->connectResult(); }), PipeOutcome::SUCCESS);

	EXPECT_EQ(instance->peerProcessId(), Platform::currentProcessId());
	EXPECT_EQ(writer->peerProcessId(), Platform::currentProcessId());
	EXPECT_TRUE(instance->isPeerOfSameUser());
	EXPECT_TRUE(writer->isPeerOfSameUser());

	std::string_view bytes;
	EXPECT_EQ(instance->read(24, bytes), PipeOutcome::IO_PENDING);
	EXPECT_EQ(instance->readResult(bytes), PipeOutcome::IO_INCOMPLETE);
	EXPECT_EQ(writer->write("0123456789"), PipeOutcome::SUCCESS);
	EXPECT_EQ(writer->write("next"), PipeOutcome::SUCCESS);
	EXPECT_EQ(finish([&] { return instance->readResult(bytes); }), PipeOutcome::SUCCESS);
	EXPECT_EQ(bytes, "0123456789");
	EXPECT_EQ(read(*instance, 3, bytes), PipeOutcome::MORE_DATA);
	EXPECT_EQ(bytes, "nex");
	EXPECT_EQ(read(*instance, 3, bytes), PipeOutcome::SUCCESS);
	EXPECT_EQ(bytes, "t");

	const std::string largest(Platform::LARGEST_PIPE_MESSAGE, 'x');
	EXPECT_EQ(writer->write(largest), PipeOutcome::SUCCESS);
	EXPECT_EQ(read(*instance, 24, bytes), PipeOutcome::MORE_DATA);
	EXPECT_EQ(read(*instance, 4072, bytes), PipeOutcome::SUCCESS);
	EXPECT_EQ(bytes.size(), 4072U);

	// What was written before the end is read before it.
	EXPECT_EQ(writer->write("last"), PipeOutcome::SUCCESS);
	writer.reset();
	EXPECT_EQ(read(*instance, 24, bytes), PipeOutcome::SUCCESS);
	EXPECT_EQ(bytes, "last");
	EXPECT_EQ(read(*instance, 24, bytes), PipeOutcome::BROKEN_PIPE);

	EXPECT_EQ(instance->disconnect(), PipeOutcome::SUCCESS);
	EXPECT_EQ(instance->connect(), PipeOutcome::IO_PENDING);
	ASSERT_EQ(open(writer), PipeOutcome::SUCCESS);
	EXPECT_EQ(finish([&] { return instance->connectResult(); }), PipeOutcome::SUCCESS);
}

TEST_F(MessagePipeTest, AWriterWaitsForTheReader)
{
	const auto instance = listen();
	std::unique_ptr<Platform::IPipeWriter> writer;
	ASSERT_EQ(open(writer), PipeOutcome::SUCCESS);
	ASSERT_EQ(finish([&] { return instance->connectResult(); }), PipeOutcome::SUCCESS);
	std::size_t written = 0;
	PipeOutcome outcome = PipeOutcome::SUCCESS;
	std::string message(4000, 'a');
	for (; outcome == PipeOutcome::SUCCESS && written < 10'000; ++written)
	{
		message[0] = static_cast<char>('a' + written % 26);
		outcome = writer->write(message);
	}
	ASSERT_EQ(outcome, PipeOutcome::IO_PENDING);
	EXPECT_EQ(writer->writeResult(), PipeOutcome::IO_INCOMPLETE);
	message.assign("overwritten while the write is in flight");
	std::string_view bytes;
	for (std::size_t i = 0; i < written; ++i)
	{
		ASSERT_EQ(read(*instance, 4096, bytes), PipeOutcome::SUCCESS);
		ASSERT_EQ(bytes.size(), 4000U);
		ASSERT_EQ(bytes[0], static_cast<char>('a' + i % 26));
		if (i == written / 2 + 1)
		{
			ASSERT_EQ(finish([&] { return writer->writeResult(); }), PipeOutcome::SUCCESS);
		}
	}
}

TEST_F(MessagePipeTest, WritersThatFindNobody)
{
	std::unique_ptr<Platform::IPipeWriter> writer;
	EXPECT_EQ(open(writer), PipeOutcome::FILE_NOT_FOUND);
	for (const std::string path : {"", "relative", "\\\\somewhere\\pipe\\x", "\\\\.\\pipe\\", "\\\\.\\pipe\\..\\x"})
	{
		EXPECT_EQ(Platform::messagePipes().openWriter(path, writer), PipeOutcome::INVALID_PARAMETER) << path;
	}
	{
		const auto first = listen();
		const auto second = listen();
		std::unique_ptr<Platform::IPipeWriter> others[2];
		EXPECT_EQ(open(others[0]), PipeOutcome::SUCCESS);
		EXPECT_EQ(open(others[1]), PipeOutcome::SUCCESS);
		EXPECT_EQ(open(writer), PipeOutcome::PIPE_BUSY);
		EXPECT_EQ(finish([&] { return first->connectResult(); }), PipeOutcome::SUCCESS);
		EXPECT_EQ(open(writer), PipeOutcome::PIPE_BUSY);
		EXPECT_EQ(finish([&] { return second->connectResult(); }), PipeOutcome::SUCCESS);
	}
	EXPECT_EQ(open(writer), PipeOutcome::FILE_NOT_FOUND);
	EXPECT_FALSE(writer);
}

TEST_F(MessagePipeTest, AReaderThatGoes)
{
	auto instance = listen();
	std::unique_ptr<Platform::IPipeWriter> writer;
	ASSERT_EQ(open(writer), PipeOutcome::SUCCESS);
	ASSERT_EQ(finish([&] { return instance->connectResult(); }), PipeOutcome::SUCCESS);
	std::string_view bytes;
	EXPECT_EQ(instance->read(24, bytes), PipeOutcome::IO_PENDING);
	instance.reset(); // with a read in flight
	const PipeOutcome outcome = writer->write("into the void");
	EXPECT_TRUE(outcome == PipeOutcome::BROKEN_PIPE || outcome == PipeOutcome::NO_DATA || outcome == PipeOutcome::PIPE_NOT_CONNECTED)
	    << static_cast<std::uint32_t>(outcome);
	// The address is free again.
	listen().reset();
}
}
}
