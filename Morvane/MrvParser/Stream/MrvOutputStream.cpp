#include "MrvParser/Stream/MrvOutputStream.h"

namespace Mrv
{
void OutputStream::write_yielding(Task & /*task*/, bool &success, std::string_view text)
{
	write(text);
	success = true;
}
}
