#include "MrvParser/Stream/MrvInputStreamConsole.h"

#include "MrvPlatform/MrvConsole.h"
#include "MrvTask/MrvIInternalCoordinator.h"

namespace Mrv
{
InputStreamConsole::InputStreamConsole()
{
	Platform::console().enterKeyMode();
}

InputStreamConsole::~InputStreamConsole()
{
	Platform::console().leaveKeyMode();
}

InputStream::Fetched InputStreamConsole::fetch()
{
	if (IInternalCoordinator::isTerminatingNow())
	{
		return Fetched::END;
	}
	std::string key;
	switch (Platform::console().readKey(key))
	{
		case Platform::InputState::READY:
			append(key, Passed::DROP);
			return Fetched::MORE;
		case Platform::InputState::NOTHING_YET:
			return Fetched::NOTHING;
		case Platform::InputState::END:
			break;
	}
	return Fetched::END;
}
}
