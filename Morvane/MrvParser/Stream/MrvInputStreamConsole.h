#pragma once

#include "MrvParser/Stream/MrvInputStream.h"

namespace Mrv
{
// The keyboard of a terminal, key by key and without an echo: the terminal is in its key mode while the stream lives. Reading never
// waits. Ends as soon as the coordinator is terminating, or gone.
class InputStreamConsole final : public InputStream
{
public:
	InputStreamConsole();
	~InputStreamConsole() override;

	bool isConsole() const override { return true; }

protected:
	Fetched fetch() override;
	bool isFedByProcessInput() const override { return true; }
};
}
