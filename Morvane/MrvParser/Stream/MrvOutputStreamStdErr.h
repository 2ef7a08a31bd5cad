#pragma once

#include "MrvParser/Stream/MrvOutputStream.h"

namespace Mrv
{
// The process's standard error; goes out at once.
class OutputStreamStdErr final : public OutputStream
{
public:
	bool write(std::string_view text) override;
};
}
