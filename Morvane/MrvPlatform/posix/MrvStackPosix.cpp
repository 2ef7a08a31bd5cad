#include "MrvPlatform/MrvStack.h"

#include <pthread.h>

namespace Mrv::Platform
{
StackBounds findStackBounds()
{
	pthread_attr_t attributes;
	if (::pthread_getattr_np(::pthread_self(), &attributes) != 0)
	{
		return {};
	}
	void *lowest = nullptr;
	std::size_t size = 0;
	std::size_t guardSize = 0;
	StackBounds bounds;
	if (::pthread_attr_getstack(&attributes, &lowest, &size) == 0 && ::pthread_attr_getguardsize(&attributes, &guardSize) == 0)
	{
		// Some versions of the library count the guard pages as part of the stack; taking them off twice does no harm.
		bounds.base = reinterpret_cast<std::uintptr_t>(lowest) + size;
		bounds.limit = reinterpret_cast<std::uintptr_t>(lowest) + (guardSize < size ? guardSize : 0);
	}
	::pthread_attr_destroy(&attributes);
	return bounds;
}
}
