#include "support/HelperProcess.h"
#include "support/Mode.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

using Mrv::Test::Mode;
using Mrv::Test::TestHome;

int main(int argc, char **argv)
{
	int status = 0;
	if (Mrv::Test::runHelper(argc, argv, status))
	{
		return status;
	}
	// Before the framework reads its options: it looks for a folder for temporary files.
	const TestHome home;
	if (!home.isReady())
	{
		std::fputs("could not make a home folder for the tests\n", stderr);
		return 1;
	}

	testing::InitGoogleTest(&argc, argv);
	for (int i = 1; i < argc; i++)
	{
		if (std::strcmp(argv[i], "--always-yield") == 0)
		{
			Mode::alwaysYield = true;
		}
		else
		{
			std::fprintf(stderr, "unknown option %s; there is --always-yield beside the test framework's own\n", argv[i]);
			return 1;
		}
	}
	return RUN_ALL_TESTS();
}
