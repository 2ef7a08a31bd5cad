#pragma once

#include "MrvParser/Stream/MrvInputStream.h"

namespace Mrv
{
// A text that is there from the beginning. Going back reaches all of it.
class InputStreamString final : public InputStream
{
public:
	explicit InputStreamString(std::string &&text) { adopt(std::move(text)); }
	explicit InputStreamString(std::string_view text) : InputStreamString(std::string(text)) {}
	explicit InputStreamString(const char *text) : InputStreamString(std::string(text)) {}

protected:
	Fetched fetch() override { return Fetched::END; }
};
}
