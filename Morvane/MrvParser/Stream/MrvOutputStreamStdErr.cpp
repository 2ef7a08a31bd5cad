#include "MrvParser/Stream/MrvOutputStreamStdErr.h"

#include "MrvPlatform/MrvConsole.h"

namespace Mrv
{

bool OutputStreamStdErr::write(std::string_view text)
{
	return Platform::console().write(Platform::StandardStream::ERROR_OUTPUT, text) == Platform::WriteOutcome::WRITTEN;
}
}
