// Who gets in, and what is left behind by those who died.
#include "MrvObject/MrvHash.h"
#include "MrvPlatform/MrvEnvironment.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvMessagePipe.h"
#include "MrvPlatform/MrvPrivateFolder.h"
#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Mrv
{
namespace
{
using Platform::PipeOutcome;

constexpr uid_t NOBODY = 65534;

class MessagePipePosixTest : public testing::Test
{
protected:
	MessagePipePosixTest() : fFolder(Dirs::getTmpPath() + "pipes") { Dirs::mkDir(fFolder, DirRecurse::RECURSE); }
	~MessagePipePosixTest() override
	{
		Platform::setEnvironmentVariable("XDG_RUNTIME_DIR", "");
		Dirs::rmDir(fFolder, DirRecurse::RECURSE);
	}

	std::string rawPath()
	{
		fRefusal.clear();
		return Platform::messagePipes().rawPath(fFolder + "/net.morvane.coordinator.tested", fRefusal);
	}

	std::string fFolder;
	std::string fRefusal;
};

// Does something in a process of its own; its exit status.
template <typename Body>
int inChild(Body body)
{
	const pid_t child = ::fork();
	if (child == 0)
	{
		::alarm(20);
		::_exit(body());
	}
	int status = 0;
	::waitpid(child, &status, 0);
	return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(MessagePipePosixTest, TheAddressIsShortAndDependsOnThePath)
{
	const std::string path = rawPath();
	const std::size_t name = path.rfind('/') + 1;
	char expected[17] = {};
	std::snprintf(
	    expected, sizeof expected, "%016llx", static_cast<unsigned long long>(fnvHash(fFolder + "/net.morvane.coordinator.tested")));
	EXPECT_EQ(path.substr(name), expected);
	EXPECT_TRUE(path.substr(0, name).ends_with("/net.morvane/"));
	const std::string longName = fFolder + '/' + std::string(200, 'n');
	EXPECT_EQ(Platform::messagePipes().rawPath(longName, fRefusal).size(), path.size());
	EXPECT_NE(Platform::messagePipes().rawPath(longName, fRefusal), path);
	EXPECT_EQ(Platform::messagePipes().rawPath("relative", fRefusal), "");
	EXPECT_NE(fRefusal, "");
}

TEST_F(MessagePipePosixTest, FoldersMustBeTheUsersAlone)
{
	const std::string runtime = fFolder + "/run";
	ASSERT_TRUE(Platform::makeDirectory(runtime));
	Platform::setEnvironmentVariable("XDG_RUNTIME_DIR", runtime + '/');
	EXPECT_TRUE(rawPath().starts_with(runtime + "/net.morvane/")) << fRefusal;

	for (const std::string &folder : {fFolder, runtime, runtime + "/net.morvane"})
	{
		SCOPED_TRACE(folder);
		for (const mode_t mode : {0710U, 0701U, 0777U})
		{
			::chmod(folder.c_str(), mode);
			EXPECT_EQ(rawPath(), "");
			EXPECT_NE(fRefusal.find("chmod 700): " + folder), std::string::npos) << fRefusal;
		}
		::chmod(folder.c_str(), 0700);
		if (::geteuid() == 0)
		{
			EXPECT_EQ(::chown(folder.c_str(), NOBODY, NOBODY), 0);
			EXPECT_EQ(rawPath(), "");
			EXPECT_NE(fRefusal.find("belongs to another user: " + folder), std::string::npos) << fRefusal;
			EXPECT_EQ(::chown(folder.c_str(), 0, 0), 0);
		}
		EXPECT_NE(rawPath(), "") << fRefusal;
	}

	const std::string link = fFolder + "/link";
	ASSERT_EQ(::symlink(runtime.c_str(), link.c_str()), 0);
	Platform::setEnvironmentVariable("XDG_RUNTIME_DIR", link);
	EXPECT_EQ(rawPath(), "");
	EXPECT_NE(fRefusal.find("not a link or a file: " + link), std::string::npos) << fRefusal;

	// What a session has left that is over doesn't count.
	for (const std::string &stale : {fFolder + "/nothing", std::string("relative")})
	{
		Platform::setEnvironmentVariable("XDG_RUNTIME_DIR", stale);
		EXPECT_TRUE(rawPath().starts_with(Dirs::getTmpPath() + "morvane-")) << fRefusal;
	}
	const std::string deep = fFolder + '/' + std::string(60, 'd');
	ASSERT_TRUE(Platform::makeDirectory(deep));
	Platform::setEnvironmentVariable("XDG_RUNTIME_DIR", deep);
	EXPECT_EQ(rawPath(), "");
	EXPECT_NE(fRefusal.find("too long"), std::string::npos) << fRefusal;
}

TEST_F(MessagePipePosixTest, OwnFiles)
{
	const std::string path = fFolder + "/file";
	ASSERT_TRUE(Dirs::replaceFile(path, "text"));
	EXPECT_TRUE(Platform::isOwnFile(path));
	ASSERT_EQ(::symlink(path.c_str(), (path + "2").c_str()), 0);
	EXPECT_FALSE(Platform::isOwnFile(path + "2"));
	EXPECT_FALSE(Platform::isOwnFile(fFolder));
	EXPECT_FALSE(Platform::isOwnFile(path + "3"));
	if (::geteuid() == 0)
	{
		EXPECT_EQ(::chown(path.c_str(), NOBODY, NOBODY), 0);
		EXPECT_FALSE(Platform::isOwnFile(path));
	}
}

TEST_F(MessagePipePosixTest, AStaleSocketIsReplacedALivingOneIsNot)
{
	const std::string path = rawPath();
	// A process that died while it served.
	EXPECT_EQ(inChild(
	              [&]
	              {
		              std::unique_ptr<Platform::IPipeInstance> instance;
		              if (Platform::messagePipes().createInstance(path, instance) == PipeOutcome::SUCCESS)
		              {
			              ::_exit(7);
		              }
		              return 1;
	              }),
	    7);
	EXPECT_EQ(Platform::fileInfo(path).kind, Platform::FileKind::PIPE);
	std::unique_ptr<Platform::IPipeWriter> writer;
	EXPECT_EQ(Platform::messagePipes().openWriter(path, writer), PipeOutcome::FILE_NOT_FOUND);

	std::unique_ptr<Platform::IPipeInstance> instance;
	ASSERT_EQ(Platform::messagePipes().createInstance(path, instance), PipeOutcome::SUCCESS);
	EXPECT_EQ(instance->connect(), PipeOutcome::IO_PENDING);
	EXPECT_EQ(Platform::messagePipes().openWriter(path, writer), PipeOutcome::SUCCESS);

	// Another process can't take the address over; what it inherits of ours doesn't count.
	const std::string program = Dirs::getAppPath();
	EXPECT_EQ(inChild(
	              [&]
	              {
		              ::execl(program.c_str(), program.c_str(), "--helper", "serve", path.c_str(), nullptr);
		              return 99;
	              }),
	    static_cast<int>(PipeOutcome::PIPE_BUSY));
	writer.reset();
	instance.reset();
	EXPECT_EQ(Platform::fileInfo(path).kind, Platform::FileKind::NONE);
	EXPECT_EQ(Platform::fileInfo(path + ".lock").kind, Platform::FileKind::NONE);
}

TEST_F(MessagePipePosixTest, WhoIsAtTheOtherEnd)
{
	if (::geteuid() != 0)
	{
		GTEST_SKIP() << "only root can become another user";
	}
	const std::string path = rawPath();
	std::unique_ptr<Platform::IPipeInstance> instance;
	ASSERT_EQ(Platform::messagePipes().createInstance(path, instance), PipeOutcome::SUCCESS);
	EXPECT_EQ(instance->connect(), PipeOutcome::IO_PENDING);
	// As if the folders' rights had failed: the other user reaches the socket through a descriptor that was opened before.
	const int folder = ::open(path.substr(0, path.rfind('/')).c_str(), O_PATH);
	::fchmodat(folder, path.substr(path.rfind('/') + 1).c_str(), 0777, 0);
	::chmod(path.substr(0, path.rfind('/')).c_str(), 0755);
	const pid_t child = ::fork();
	if (child == 0)
	{
		::alarm(20);
		const int isOther = ::setresuid(NOBODY, NOBODY, NOBODY);
		const int socket = ::socket(AF_UNIX, SOCK_SEQPACKET, 0);
		sockaddr_un address{};
		address.sun_family = AF_UNIX;
		const std::string byDescriptor = "/proc/self/fd/" + std::to_string(folder) + path.substr(path.rfind('/'));
		byDescriptor.copy(static_cast<char *>(address.sun_path), sizeof address.sun_path - 1);
		const int connected = ::connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address);
		char byte = 0;
		::_exit(isOther == 0 && connected == 0 && ::recv(socket, &byte, 1, 0) == 0 ? 0 : 1);
	}
	::close(folder);
	while (instance->connectResult() == PipeOutcome::IO_INCOMPLETE && ::waitpid(child, nullptr, WNOHANG) == 0)
	{
	}
	EXPECT_EQ(instance->peerProcessId(), static_cast<Platform::ProcessId>(child));
	EXPECT_FALSE(instance->isPeerOfSameUser());
	EXPECT_EQ(instance->disconnect(), PipeOutcome::SUCCESS);
	int status = 0;
	::waitpid(child, &status, 0);
	EXPECT_EQ(status, 0);
	::chmod(path.substr(0, path.rfind('/')).c_str(), 0700);
}

// Neither the sockets nor the lock reach a program that is started.
TEST_F(MessagePipePosixTest, DescriptorsAreCloseOnExec)
{
	const std::string path = rawPath();
	std::unique_ptr<Platform::IPipeInstance> instance;
	std::unique_ptr<Platform::IPipeWriter> writer;
	ASSERT_EQ(Platform::messagePipes().createInstance(path, instance), PipeOutcome::SUCCESS);
	EXPECT_EQ(instance->connect(), PipeOutcome::IO_PENDING);
	ASSERT_EQ(Platform::messagePipes().openWriter(path, writer), PipeOutcome::SUCCESS);
	EXPECT_EQ(instance->connectResult(), PipeOutcome::SUCCESS);
	for (int descriptor = 3; descriptor < 256; ++descriptor)
	{
		struct stat status
		{
		};
		const bool isSocketOrFile = ::fstat(descriptor, &status) == 0 && (S_ISSOCK(status.st_mode) || S_ISREG(status.st_mode));
		EXPECT_TRUE(!isSocketOrFile || (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0) << descriptor;
	}
}
}
}
