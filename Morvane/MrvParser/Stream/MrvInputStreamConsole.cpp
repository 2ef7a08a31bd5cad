#include "MrvParser/Stream/MrvInputStreamConsole.h"

#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvSignals.h"
#include "MrvTask/MrvIInternalCoordinator.h"

namespace Mrv
{
InputStreamConsole::InputStreamConsole()
{
	Platform::console().enterKeyMode();
	Platform::setInterruptsAreTaken(true);
}

InputStreamConsole::~InputStreamConsole()
{
	Platform::setInterruptsAreTaken(false);
	Platform::console().leaveKeyMode();
}

InputStream::Fetched InputStreamConsole::fetch()
{
	if (IInternalCoordinator::isTerminatingNow())
	{
		return Fetched::END;
	}
	std::string line;
	switch (Platform::console().readLine(line))
	{
		case Platform::InputState::READY:
			append(line, Passed::DROP);
			return Fetched::MORE;
		case Platform::InputState::NOTHING_YET:
			return Fetched::NOTHING;
		case Platform::InputState::END:
			break;
	}
	return Fetched::END;
}
}
