#pragma once

#include "MrvParser/Stream/MrvInputStream.h"
#include "MrvParser/Stream/MrvOutputStream.h"

namespace Mrv
{
// A text that grows by what is written, and that can be read at the same time: reading ends where the text ends so far.
class OutputStreamString final : public InputStream, public OutputStream
{
public:
	bool write(std::string_view text) override;

	// All that was written.
	const std::string &getText() const { return buffer(); }

protected:
	Fetched fetch() override { return Fetched::END; }
};
}
