// The two state machines over pipes in memory: every operation of every state with every code that it can end with.
#include "MrvPipes/PipeFixture.h"

#include <array>
#include <functional>

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
using Test::takeLogLines;
using Read = ReadPipeHandleState;
using Write = WritePipeHandleState;

constexpr std::array ALL_OUTCOMES{PipeOutcome::SUCCESS, PipeOutcome::FILE_NOT_FOUND, PipeOutcome::TOO_MANY_OPEN_FILES,
    PipeOutcome::ACCESS_DENIED, PipeOutcome{6}, PipeOutcome::GENERAL_FAILURE, PipeOutcome::INVALID_PARAMETER, PipeOutcome::BROKEN_PIPE,
    PipeOutcome::FILENAME_TOO_LONG, PipeOutcome::PIPE_BUSY, PipeOutcome::NO_DATA, PipeOutcome::PIPE_NOT_CONNECTED, PipeOutcome::MORE_DATA,
    PipeOutcome::PIPE_CONNECTED, PipeOutcome::PIPE_LISTENING, PipeOutcome::OPERATION_ABORTED, PipeOutcome::IO_INCOMPLETE,
    PipeOutcome::IO_PENDING, PipeOutcome{4711}};

std::vector<PipeTransition> sTransitions;
std::int64_t sNow = 0;

class StateTablesTest : public Test::PipeFixture
{
protected:
	StateTablesTest()
	{
		sNow = 1'000'000'000;
		Platform::setClockSource([] { return sNow; });
		sTransitions.clear();
		Pipe::setTransitionObserver([](const PipeTransition &transition) { sTransitions.push_back(transition); });
	}
	~StateTablesTest() override
	{
		// Ends go before the memory that they are made of.
		WritePipe::closeAll();
		ReadPipe::closeAll();
		Platform::setClockSource(nullptr);
	}

	// Where the first step out of a state has led; the state itself when it was never left.
	template <typename State>
	static State nextOf(const char *machine, State from)
	{
		for (const PipeTransition &transition : sTransitions)
		{
			if (std::string_view(transition.machine) == machine && transition.from == static_cast<int>(from))
			{
				return static_cast<State>(transition.to);
			}
		}
		return from;
	}

	MemoryPipes fPipes;
};

// What leads to each code's next state: some codes by name, all others alike.
template <typename State>
struct Row
{
	const char *name;
	State from;
	std::function<void(MemoryPipes &)> comeHere; // scripts up to the state
	PipeOperation operation;
	std::vector<std::pair<PipeOutcome, State>> known;
	State other;
};

const std::string HEADER = packet(1, 0, lengthText(3) + "abc").substr(0, PIPE_HEADER_SIZE);
const std::string BODY = lengthText(3) + "abc";

void connect(MemoryPipes &pipes)
{
	pipes.script(PipeOperation::CONNECT, PipeOutcome::PIPE_CONNECTED);
}

void readHeader(MemoryPipes &pipes)
{
	connect(pipes);
	pipes.script(PipeOperation::READ, PipeOutcome::MORE_DATA, HEADER);
}

const std::vector<Row<Read>> READ_ROWS{
    {"connect", Read::DISCONNECTED, [](MemoryPipes &) {}, PipeOperation::CONNECT,
        {{PipeOutcome::IO_PENDING, Read::CONNECTION_PENDING}, {PipeOutcome::PIPE_CONNECTED, Read::CONNECTED},
            {PipeOutcome::NO_DATA, Read::DESTROY_REQUESTED}},
        Read::DISCONNECTED},
    {"connection", Read::CONNECTION_PENDING, [](MemoryPipes &pipes) { pipes.script(PipeOperation::CONNECT, PipeOutcome::IO_PENDING); },
        PipeOperation::CONNECT_RESULT,
        {{PipeOutcome::SUCCESS, Read::CONNECTED}, {PipeOutcome::IO_INCOMPLETE, Read::CONNECTION_PENDING},
            {PipeOutcome::PIPE_CONNECTED, Read::CONNECTED}, {PipeOutcome::NO_DATA, Read::DISCONNECT_REQUESTED}},
        Read::DESTROY_REQUESTED},
    {"header at once", Read::CONNECTED, connect, PipeOperation::READ,
        {{PipeOutcome::SUCCESS, Read::PROCESS_PACKET_HEADER}, {PipeOutcome::MORE_DATA, Read::PROCESS_PACKET_HEADER},
            {PipeOutcome::IO_PENDING, Read::READING_PACKET_HEADER}, {PipeOutcome::IO_INCOMPLETE, Read::READING_PACKET_HEADER},
            {PipeOutcome::PIPE_LISTENING, Read::DISCONNECT_REQUESTED}, {PipeOutcome::BROKEN_PIPE, Read::DISCONNECT_REQUESTED}},
        Read::DESTROY_REQUESTED},
    {"header later", Read::READING_PACKET_HEADER,
        [](MemoryPipes &pipes)
        {
	        connect(pipes);
	        pipes.script(PipeOperation::READ, PipeOutcome::IO_PENDING);
        },
        PipeOperation::READ_RESULT,
        {{PipeOutcome::SUCCESS, Read::PROCESS_PACKET_HEADER}, {PipeOutcome::MORE_DATA, Read::PROCESS_PACKET_HEADER},
            {PipeOutcome::IO_PENDING, Read::READING_PACKET_HEADER}, {PipeOutcome::IO_INCOMPLETE, Read::READING_PACKET_HEADER},
            {PipeOutcome::PIPE_LISTENING, Read::DISCONNECT_REQUESTED}, {PipeOutcome::BROKEN_PIPE, Read::DISCONNECT_REQUESTED}},
        Read::DESTROY_REQUESTED},
    {"body at once", Read::PROCESS_PACKET_HEADER, readHeader, PipeOperation::READ,
        {{PipeOutcome::SUCCESS, Read::PROCESS_PACKET}, {PipeOutcome::MORE_DATA, Read::DISCONNECT_REQUESTED},
            {PipeOutcome::IO_PENDING, Read::READING_PACKET_BODY}, {PipeOutcome::IO_INCOMPLETE, Read::READING_PACKET_BODY},
            {PipeOutcome::PIPE_LISTENING, Read::DISCONNECT_REQUESTED}, {PipeOutcome::BROKEN_PIPE, Read::DISCONNECT_REQUESTED}},
        Read::DESTROY_REQUESTED},
    {"body later", Read::READING_PACKET_BODY,
        [](MemoryPipes &pipes)
        {
	        readHeader(pipes);
	        pipes.script(PipeOperation::READ, PipeOutcome::IO_PENDING);
        },
        PipeOperation::READ_RESULT,
        {{PipeOutcome::SUCCESS, Read::PROCESS_PACKET}, {PipeOutcome::MORE_DATA, Read::DISCONNECT_REQUESTED},
            {PipeOutcome::IO_PENDING, Read::READING_PACKET_BODY}, {PipeOutcome::IO_INCOMPLETE, Read::READING_PACKET_BODY},
            {PipeOutcome::PIPE_LISTENING, Read::DISCONNECT_REQUESTED}, {PipeOutcome::BROKEN_PIPE, Read::DISCONNECT_REQUESTED}},
        Read::DESTROY_REQUESTED},
    {"disconnect", Read::DISCONNECT_REQUESTED,
        [](MemoryPipes &pipes)
        {
	        connect(pipes);
	        pipes.script(PipeOperation::READ, PipeOutcome::BROKEN_PIPE);
        },
        PipeOperation::DISCONNECT, {{PipeOutcome::SUCCESS, Read::DISCONNECTED}}, Read::DESTROY_REQUESTED},
};

TEST_F(StateTablesTest, EveryCodeInEveryStateOfReading)
{
	for (const Row<Read> &row : READ_ROWS)
	{
		for (const PipeOutcome outcome : ALL_OUTCOMES)
		{
			SCOPED_TRACE(std::string(row.name) + ' ' + std::to_string(static_cast<std::uint32_t>(outcome)));
			ReadPipe pipe(fPath);
			const auto buffer = ReadPipeHandleBuffer::factory(pipe);
			ASSERT_TRUE(buffer);
			sTransitions.clear();
			row.comeHere(fPipes);
			const bool isBody = row.from == Read::PROCESS_PACKET_HEADER || row.from == Read::READING_PACKET_BODY;
			fPipes.script(row.operation, outcome, isBody ? BODY : HEADER);
			for (int poll = 0; poll < 4 && fPipes.scriptCount() > 0; ++poll)
			{
				buffer->poll();
			}
			EXPECT_EQ(fPipes.forgetScripts(), 0U);
			Read expected = row.other;
			for (const auto &[known, next] : row.known)
			{
				expected = known == outcome ? next : expected;
			}
			EXPECT_EQ(nextOf("ReadPipeHandleState", row.from), expected);
			takeLogLines();
		}
	}
}

TEST_F(StateTablesTest, TheEndOfAnInstance)
{
	ReadPipe pipe(fPath);
	const auto buffer = ReadPipeHandleBuffer::factory(pipe);
	fPipes.script(PipeOperation::CONNECT, PipeOutcome::NO_DATA);
	buffer->poll();
	EXPECT_LOG("should not occur in rawConnect");
	EXPECT_EQ(buffer->getState(), Read::DESTROY_REQUESTED);
	buffer->poll();
	EXPECT_EQ(buffer->getState(), Read::DESTROYED);
	EXPECT_EQ(fPipes.instanceCount(), 0U);
	buffer->poll();
	EXPECT_TRUE(buffer->forceFinalState());
	EXPECT_EQ(buffer->getState(), Read::DESTROYED);
}

// A failure that lasts is logged once.
TEST_F(StateTablesTest, AnInstanceThatCannotListenTriesAgain)
{
	ReadPipe pipe(fPath);
	const auto buffer = ReadPipeHandleBuffer::factory(pipe);
	for (int poll = 0; poll < 3; ++poll)
	{
		fPipes.script(PipeOperation::CONNECT, PipeOutcome::GENERAL_FAILURE);
		buffer->poll();
	}
	EXPECT_LOG("Unexpected connectError 31");
	EXPECT_EQ(logLines().size(), 0U);
	buffer->poll();
	EXPECT_EQ(buffer->getState(), Read::CONNECTION_PENDING);
}

void openWriter(MemoryPipes &pipes)
{
	pipes.script(PipeOperation::OPEN, PipeOutcome::SUCCESS);
}

const std::vector<Row<Write>> WRITE_ROWS{
    {"open", Write::DISCONNECTED, [](MemoryPipes &) {}, PipeOperation::OPEN, {{PipeOutcome::SUCCESS, Write::CONNECTED}},
        Write::DISCONNECTED},
    {"mode", Write::DISCONNECTED, openWriter, PipeOperation::SET_MODE, {{PipeOutcome::PIPE_NOT_CONNECTED, Write::DISCONNECTED}},
        Write::CONNECTED},
    {"write", Write::CONNECTED, openWriter, PipeOperation::WRITE,
        {{PipeOutcome::SUCCESS, Write::CONNECTED}, {PipeOutcome::IO_PENDING, Write::WRITING}, {PipeOutcome::IO_INCOMPLETE, Write::WRITING}},
        Write::DISCONNECTED},
    {"write in flight", Write::WRITING,
        [](MemoryPipes &pipes)
        {
	        openWriter(pipes);
	        pipes.script(PipeOperation::WRITE, PipeOutcome::IO_PENDING);
        },
        PipeOperation::WRITE_RESULT,
        {{PipeOutcome::SUCCESS, Write::CONNECTED}, {PipeOutcome::IO_INCOMPLETE, Write::WRITING}, {PipeOutcome::IO_PENDING, Write::WRITING},
            {PipeOutcome::PIPE_CONNECTED, Write::WRITING}},
        Write::DISCONNECTED},
};

TEST_F(StateTablesTest, EveryCodeInEveryStateOfWriting)
{
	writeProxyFile("memory:x");
	for (const Row<Write> &row : WRITE_ROWS)
	{
		for (const PipeOutcome outcome : ALL_OUTCOMES)
		{
			SCOPED_TRACE(std::string(row.name) + ' ' + std::to_string(static_cast<std::uint32_t>(outcome)));
			WritePipe pipe(fPath);
			WritePipeHandleBuffer buffer(pipe);
			sTransitions.clear();
			row.comeHere(fPipes);
			fPipes.script(row.operation, outcome);
			buffer.write("text");
			buffer.poll();
			buffer.poll();
			Write expected = row.other;
			for (const auto &[known, next] : row.known)
			{
				expected = known == outcome ? next : expected;
			}
			EXPECT_EQ(nextOf("WritePipeHandleState", row.from), expected);

			// A failed write loses the string and says so; in every other case it was written or waits.
			const bool isLost = row.from != Write::DISCONNECTED && expected == Write::DISCONNECTED;
			EXPECT_EQ(buffer.getLossCount(), isLost ? 1U : 0U);
			EXPECT_EQ(fPipes.written.size() + (isLost ? 1 : 0) + (buffer.isIdle() ? 0 : 1), 1U);
			EXPECT_EQ(fPipes.forgetScripts(), 0U);
			fPipes.written.clear();
			takeLogLines();
		}
	}
}

TEST_F(StateTablesTest, OpeningIsTriedAgainAtTheInterval)
{
	writeProxyFile("memory:x");
	WritePipe pipe(fPath);
	WritePipeHandleBuffer buffer(pipe);
	buffer.write("text");
	for (const PipeOutcome outcome : {PipeOutcome::FILE_NOT_FOUND, PipeOutcome::PIPE_BUSY, PipeOutcome::FILE_NOT_FOUND})
	{
		fPipes.script(PipeOperation::OPEN, outcome);
		EXPECT_FALSE(buffer.poll());
		EXPECT_EQ(fPipes.forgetScripts(), 0U);
		// Being busy isn't being unreachable.
		EXPECT_EQ(buffer.getUnreachableSince(), outcome == PipeOutcome::PIPE_BUSY ? 0 : sNow);
		openWriter(fPipes);
		sNow += 9'999'999;
		EXPECT_FALSE(buffer.poll());
		EXPECT_EQ(fPipes.forgetScripts(), 1U);
		sNow += 1;
	}
	// A busy one ends the sleep in time.
	fPipes.script(PipeOperation::OPEN, PipeOutcome::PIPE_BUSY);
	buffer.poll();
	static std::int64_t sSleptUntil;
	Platform::setSleepFunction([](std::int64_t deadline) { sSleptUntil = deadline; });
	Platform::sleepUntil(sNow + 1'000'000'000);
	EXPECT_EQ(sSleptUntil, sNow + 10'000'000);
	sNow += 10'000'000;
	openWriter(fPipes);
	EXPECT_TRUE(buffer.poll());
	EXPECT_TRUE(buffer.isIdle());
	Platform::sleepUntil(sNow + 1'000'000'000);
	EXPECT_EQ(sSleptUntil, sNow + 1'000'000'000);
	Platform::setSleepFunction(nullptr);
	EXPECT_EQ(fPipes.written, std::vector<std::string>{packet(1, 0, lengthText(4) + "text")});
	EXPECT_TRUE(logLines().empty());
}

TEST_F(StateTablesTest, NothingIsSentToAnotherUser)
{
	writeProxyFile("memory:x");
	fPipes.isServerOfSameUser = false;
	openWriter(fPipes);
	const int handle = Pipes::openWriteNamedPipe(fPath);
	EXPECT_TRUE(Pipes::writeToNamedPipe(handle, "secret"));
	EXPECT_LOG("the pipe is served by another user");
	EXPECT_EQ(Pipes::getWriteProgress(handle, 0), Pipes::WriteProgress::FAILED);
	WritePipe::timeslice();
	EXPECT_LOG("WritePipeState::Error, writePipe goes into to close pipes");
	EXPECT_FALSE(WritePipe::getPipe(handle));
	EXPECT_TRUE(fPipes.written.empty());
}
}
}
