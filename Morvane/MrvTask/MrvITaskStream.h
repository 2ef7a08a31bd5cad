#pragma once

namespace Mrv
{
// A task's input stream, as far as tasks know it: the streams of the script side derive from it.
class ITaskStream
{
public:
	virtual ~ITaskStream() = default;

	// A stream with an output side and prompts: somebody may be typing.
	virtual bool isPrompted() const { return false; }
};
}
