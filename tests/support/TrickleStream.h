#pragma once

#include "MrvParser/Stream/MrvInputStream.h"

#include <string>
#include <utility>

namespace Mrv::Test
{
// A source that has its bytes one at a time, and nothing in between: a pipe whose writer is slow.
class TrickleStream final : public InputStream
{
public:
	explicit TrickleStream(std::string text) : fText(std::move(text)) {}

protected:
	Fetched fetch() override
	{
		fIsReady = !fIsReady;
		if (!fIsReady)
		{
			return Fetched::NOTHING;
		}
		if (fNext == fText.size())
		{
			return Fetched::END;
		}
		append(std::string_view(fText).substr(fNext++, 1), Passed::DROP);
		return Fetched::MORE;
	}

private:
	std::string fText;
	size_t fNext = 0;
	bool fIsReady = false;
};
}
