#include "MrvParser/Stream/MrvInputStreamStdIn.h"

#include "MrvParser/Stream/MrvInputWake.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvTask/MrvIInternalCoordinator.h"

namespace Mrv
{
InputStream::Fetched InputStreamStdIn::fetch()
{
	if (IInternalCoordinator::isTerminatingNow())
	{
		return Fetched::END;
	}
	std::string bytes;
	const Platform::InputState state = Platform::console().readInput(bytes, BLOCK_SIZE);
	const bool isEnd = state == Platform::InputState::END;
	if (isAtBeginning() && (isEnd || !bytes.empty()))
	{
		appendBeginning(bytes, isEnd);
	}
	else if (!bytes.empty())
	{
		append(bytes, Passed::DROP);
	}
	if (isEnd)
	{
		return Fetched::END;
	}
	return state == Platform::InputState::READY ? Fetched::MORE : Fetched::NOTHING;
}

int32_t InputStreamStdIn::getCharSlow()
{
	InputWake wake;
	int32_t character = fetchChar();
	while (character == NOTHING_YET)
	{
		wake.start();
		Platform::sleepUntil(Platform::steadyNanoseconds() + POLL_NANOSECONDS);
		character = fetchChar();
	}
	return character;
}
}
