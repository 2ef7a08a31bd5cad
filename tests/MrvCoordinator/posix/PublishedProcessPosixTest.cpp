// The process that started this one runs, and every user may ask about it.
#include "support/CoordinatorStart.h"
#include "support/ScriptRun.h"
#include "support/TestLog.h"

#include "MrvPlatform/MrvFileSystem.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace Mrv
{
namespace
{
using Test::CoordinatorStart;
using Test::readWholeFile;

TEST(PublishedProcessTest, ANameInUseRefusesTheStartAndStaysItsOwners)
{
	const std::string path = InternalCoordinator::getSessionDataFolderPath() + "net.morvane.coordinator.taken.pid";
	const std::string owner = std::to_string(getppid());
	std::FILE *file = Platform::openFile(path, Platform::OpenMode::WRITE);
	ASSERT_TRUE(file);
	std::fputs((owner + "\n").c_str(), file);
	std::fclose(file);
	{
		const CoordinatorStart refused({"-n", "taken"});
		EXPECT_FALSE(refused.isStarted());
		EXPECT_LOG("processId == 0 || ! Process::isRunning(processId)");
		EXPECT_EQ(readWholeFile(path), owner + "\n");
	}
	EXPECT_EQ(readWholeFile(path), owner + "\n");
	Platform::removeFile(path);

	const CoordinatorStart other({"-n", "taken"});
	EXPECT_TRUE(other.isStarted());
}
}
}
