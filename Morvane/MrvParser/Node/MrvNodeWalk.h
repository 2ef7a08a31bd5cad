#pragma once

#include "MrvParser/Node/MrvHeapObject.h"
#include "MrvTask/MrvNestingGuard.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Mrv
{
// The bounds of one walk over values that can't suspend: rendering, hashing, comparing, cloning. It keeps the containers on the
// present path, where meeting one again is a cycle, and counts what it visits. When a limit is reached the walk is over: every
// further question is answered with "stop", and one line is logged.
class NodeWalk
{
public:
	static constexpr uint64_t MAX_VISITS = uint64_t{1} << 26;
	static constexpr size_t MAX_ROOM = size_t{1} << 29;
	static constexpr size_t MAX_TEXT = size_t{1} << 29; // also the longest String that there may be

	// What a rendering is made for.
	enum class TextUse : uint8_t
	{
		LITERAL,
		TRANSFER, // to another process: what has no literal of its own is written as a String, so that the text can be read back
	};

	// operation: names the walk in the log line, e.g. "toString"; a literal.
	explicit NodeWalk(const char *operation, TextUse textUse = TextUse::LITERAL) : fOperation(operation), fTextUse(textUse) {}
	TextUse getTextUse() const { return fTextUse; }

	// Counts one visited value; false when the walk must stop.
	bool visit()
	{
		if (fIsStopped || ++fVisits >= fNextCheck)
		{
			return checkSlowly();
		}
		return true;
	}
	// Counts text that is looked at; false when the walk must stop.
	bool visitText(size_t bytes)
	{
		fVisits += bytes / BYTES_OF_A_VISIT;
		return (fVisits < fNextCheck && !fIsStopped) || checkSlowly();
	}
	// Counts room that the walk takes for what it builds; false when it must stop.
	bool takeRoom(size_t bytes)
	{
		fRoom += bytes;
		return fRoom <= MAX_ROOM || stop("too much memory");
	}
	// Whether this much text may still be.
	bool allowText(size_t length) { return length <= MAX_TEXT || stop("text too long"); }

	// Ends the walk with a log line "<operation>: <reason>". Always false.
	bool stop(const char *reason);
	bool isStopped() const { return fIsStopped; }

	// Whether the container is on the path already.
	bool isOnPath(const HeapObject *container) const;

	// A container on the path for as long as the object lives.
	class Step
	{
	public:
		// With isCycleAnError, a container that is on the path already stops the walk.
		Step(NodeWalk &walk, const HeapObject *container, bool isCycleAnError = true);
		~Step();
		Step(const Step &) = delete;
		Step &operator=(const Step &) = delete;
		// False: the container must not be entered.
		bool isEntered() const { return fIsEntered; }

	private:
		const NestingGuard fGuard;
		NodeWalk &fWalk;
		bool fIsEntered;
	};

private:
	static constexpr uint64_t CHECK_INTERVAL = 1000; // visits between two looks at the task's deadline
	static constexpr size_t BYTES_OF_A_VISIT = 16;   // so two Strings of any length can be compared

	bool checkSlowly();

	const char *fOperation;
	const TextUse fTextUse;
	uint64_t fVisits = 0;
	size_t fRoom = 0;
	uint64_t fNextCheck = CHECK_INTERVAL;
	bool fIsStopped = false;
	std::vector<const HeapObject *> fPath;
};
}
