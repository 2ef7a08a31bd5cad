#pragma once

#include "MrvParser/Stream/MrvInputStream.h"

namespace Mrv
{
// The lines that a person edits at a terminal: the terminal is in its key mode while the stream lives, and Ctrl-C is an interrupt
// (Platform::takeInterrupt) instead of a request for the end. Reading never waits. Ends as soon as the coordinator is terminating, or gone.
class InputStreamConsole final : public InputStream
{
public:
	InputStreamConsole();
	~InputStreamConsole() override;

	bool isConsole() const override { return true; }
	bool isEdited() const override { return true; }

protected:
	Fetched fetch() override;
	bool isFedByProcessInput() const override { return true; }
};
}
