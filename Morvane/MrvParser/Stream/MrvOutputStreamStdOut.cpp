#include "MrvParser/Stream/MrvOutputStreamStdOut.h"

#include "MrvPlatform/MrvConsole.h"

namespace Mrv
{
bool OutputStreamStdOut::flush()
{
	return Platform::console().flush() == Platform::WriteOutcome::WRITTEN;
}

bool OutputStreamStdOut::write(std::string_view text)
{
	return Platform::console().write(Platform::StandardStream::OUTPUT, text) == Platform::WriteOutcome::WRITTEN;
}
}
