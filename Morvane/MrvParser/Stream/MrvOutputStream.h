#pragma once

#include <string_view>

namespace Mrv
{
class Task;

// Where characters go. Held by `shared_ptr`.
class OutputStream
{
public:
	OutputStream() = default;
	OutputStream(const OutputStream &) = delete;
	OutputStream &operator=(const OutputStream &) = delete;
	virtual ~OutputStream() = default;

	// Writes out what is held back.
	virtual bool flush() { return true; }
	// All of it or false.
	virtual bool write(std::string_view text) = 0;
	// The same; may suspend while the receiver isn't ready. On re-entry the same text is to be given.
	virtual void write_yielding(Task &task, bool &success, std::string_view text);
};
}
