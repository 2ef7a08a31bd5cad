#pragma once

#include <memory>
#include <utility>

namespace Mrv::Platform
{
// Calls `end` after the last ordinary static object of this module (program or shared library) is gone: at the end of the process or when
// the library is unloaded. Ends entered later are called earlier.
void callAtUnload(void (*end)(void *subject), void *subject);

// An object for tables that destructors of static objects may still use: whatever the order in which those go, it goes after them, and
// nothing is left behind when a library is unloaded. To be kept in a function's static reference, so that it's made at first use.
template <typename T>
T &makeLasting()
{
	auto made = std::make_unique<T>();
	callAtUnload([](void *subject) { const std::unique_ptr<T> owned(static_cast<T *>(subject)); }, made.get());
	return *made.release();
}
}
