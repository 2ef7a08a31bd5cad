#include "MrvParser/Stream/MrvOutputStreamString.h"

namespace Mrv
{
bool OutputStreamString::write(std::string_view text)
{
	reopen();
	append(text, Passed::KEEP);
	return true;
}
}
