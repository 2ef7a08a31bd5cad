#pragma once

#include "MrvParser/Stream/MrvInputStream.h"

namespace Mrv
{
// The standard input of the process. Ends as soon as the coordinator is terminating, or gone. There should be one only: what a stream has
// fetched is lost to others. A UTF-8 byte-order mark at the beginning is passed over.
class InputStreamStdIn final : public InputStream
{
protected:
	Fetched fetch() override;
	// Waits for input, or for the coordinator's end.
	int32_t getCharSlow() override;
	bool isFedByProcessInput() const override { return true; }

private:
	static constexpr size_t BLOCK_SIZE = 65536;
	static constexpr int64_t POLL_NANOSECONDS = 50'000'000; // a sleep ends with input; this is for the coordinator's end
};
}
