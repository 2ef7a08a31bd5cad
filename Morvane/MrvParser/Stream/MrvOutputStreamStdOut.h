#pragma once

#include "MrvParser/Stream/MrvOutputStream.h"

namespace Mrv
{
// The process's standard output; held back until a line ends on a terminal, until much has come together elsewhere.
class OutputStreamStdOut final : public OutputStream
{
public:
	bool flush() override;
	bool write(std::string_view text) override;
};
}
