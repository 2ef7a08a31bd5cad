#include "support/SmallStack.h"

#include <gtest/gtest.h>

#include <pthread.h>

namespace Mrv::Test
{
namespace
{
struct Call
{
	void (*function)(const void *argument);
	const void *argument;
};
}

void runOnSmallStack(void (*function)(const void *argument), const void *argument)
{
	Call call{function, argument};
	pthread_attr_t attributes;
	pthread_t thread{};
	ASSERT_EQ(pthread_attr_init(&attributes), 0);
	ASSERT_EQ(pthread_attr_setstacksize(&attributes, SMALL_STACK), 0);
	const auto run = [](void *context) -> void *
	{
		const Call &wanted = *static_cast<const Call *>(context);
		wanted.function(wanted.argument);
		return nullptr;
	};
	ASSERT_EQ(pthread_create(&thread, &attributes, run, &call), 0);
	ASSERT_EQ(pthread_join(thread, nullptr), 0);
	pthread_attr_destroy(&attributes);
}
}
