#include "support/SmallStack.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace Mrv::Test
{
namespace
{
struct Call
{
	void (*function)(const void *argument);
	const void *argument;
};

DWORD WINAPI run(void *context)
{
	const Call &call = *static_cast<const Call *>(context);
	call.function(call.argument);
	return 0;
}
}

void runOnSmallStack(void (*function)(const void *argument), const void *argument)
{
	Call call{function, argument};
	const HANDLE thread = CreateThread(nullptr, SMALL_STACK, &run, &call, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
	ASSERT_NE(thread, nullptr);
	EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
	CloseHandle(thread);
}
}
