// Message pipes on local sockets of the kind SOCK_SEQPACKET, one packet for each message.
//
// A pipe's address is a socket file with one listening socket, shared by the instances of this process. Its backlog is kept as long as
// there are instances listening, so that as many writers can connect between two polls as elsewhere. Whoever serves an address holds a
// lock on a file beside the socket; with it, a socket file that lies there is a dead one's and is replaced.
//
// A packet is received whole, since what isn't taken of it at once would be lost, and handed out in pieces.
#include "MrvPlatform/MrvMessagePipe.h"

#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvLasting.h"
#include "MrvPlatform/MrvPrivateFolder.h"
#include "MrvPlatform/MrvWakeRegistration.h"
#include "MrvPlatform/posix/MrvDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unordered_map>
#include <vector>

namespace Mrv::Platform
{
namespace
{
using Posix::Descriptor;

PipeOutcome outcomeOfErrno(int error)
{
	switch (error)
	{
		case EAGAIN:
		case ENOBUFS:
		case ENOMEM:
			return PipeOutcome::IO_PENDING;
		case ENOENT:
		case ECONNREFUSED:
			return PipeOutcome::FILE_NOT_FOUND;
		case EACCES:
		case EPERM:
			return PipeOutcome::ACCESS_DENIED;
		case EMFILE:
		case ENFILE:
			return PipeOutcome::TOO_MANY_OPEN_FILES;
		case EPIPE:
		case ECONNRESET:
		case ENOTCONN:
			return PipeOutcome::BROKEN_PIPE;
		default:
			return PipeOutcome::GENERAL_FAILURE;
	}
}

bool makeAddress(const std::string &rawPath, sockaddr_un &address)
{
	address = {};
	address.sun_family = AF_UNIX;
	if (!rawPath.starts_with('/') || rawPath.size() >= sizeof address.sun_path || rawPath.find('\0') != std::string::npos)
	{
		return false;
	}
	std::memcpy(static_cast<char *>(address.sun_path), rawPath.data(), rawPath.size());
	return true;
}

const sockaddr *plain(const sockaddr_un &address)
{
	return reinterpret_cast<const sockaddr *>(&address);
}

int makeSocket()
{
	return ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
}

// Who the system says is at the other end: of an accepted socket the process that connected, of a connected one the process that listens.
struct Peer
{
	ProcessId processId = 0;
	bool isSameUser = false;

	static Peer of(const Descriptor &socket)
	{
		ucred credentials{};
		socklen_t size = sizeof credentials;
		if (::getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0 || credentials.pid < 0)
		{
			return {};
		}
		return {static_cast<ProcessId>(credentials.pid), credentials.uid == ::geteuid()};
	}
};

// A file that one process holds a lock on, removed with this object. Not inherited by programs that this one starts.
class LockFile
{
public:
	static LockFile acquire(const std::string &path)
	{
		LockFile lock(path);
		for (int attempt = 0; attempt < 8; ++attempt)
		{
			lock.fFile = Descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
			if (!lock.fFile.isOpen() || ::flock(lock.fFile.get(), LOCK_EX | LOCK_NB) != 0)
			{
				lock.fFile.close();
				return lock;
			}
			if (lock.isThePathsFile())
			{
				return lock;
			}
			// Its owner removed it between our opening and our locking it.
		}
		lock.fFile.close();
		return lock;
	}

	LockFile(LockFile &&) noexcept = default;
	LockFile(const LockFile &) = delete;
	LockFile &operator=(const LockFile &) = delete;
	LockFile &operator=(LockFile &&) = delete;
	~LockFile()
	{
		if (fFile.isOpen())
		{
			::unlink(fPath.c_str());
		}
	}

	bool isHeld() const { return fFile.isOpen(); }

private:
	explicit LockFile(std::string path) : fPath(std::move(path)) {}

	bool isThePathsFile() const
	{
		struct stat locked
		{
		};
		struct stat present
		{
		};
		return ::fstat(fFile.get(), &locked) == 0 && ::lstat(fPath.c_str(), &present) == 0 && locked.st_ino == present.st_ino &&
		       locked.st_dev == present.st_dev;
	}

	std::string fPath;
	Descriptor fFile;
};

// The listening socket of one address, and the instances that wait for a writer, longest waiting first.
class Listener
{
public:
	static PipeOutcome open(const std::string &rawPath, std::shared_ptr<Listener> &listener);

	Listener(std::string rawPath, LockFile lock, Descriptor socket)
	    : fRawPath(std::move(rawPath)),
	      fLock(std::move(lock)),
	      fSocket(std::move(socket))
	{
	}
	Listener(const Listener &) = delete;
	Listener &operator=(const Listener &) = delete;
	~Listener() { ::unlink(fRawPath.c_str()); }

	void addWaiting(const void *instance)
	{
		fWaiting.push_back(instance);
		waitingChanged();
	}

	void removeWaiting(const void *instance)
	{
		std::erase(fWaiting, instance);
		waitingChanged();
	}

	// A connection for the longest waiting instance; the others needn't ask the system.
	PipeOutcome acceptFor(const void *instance, Descriptor &connection)
	{
		if (fWaiting.empty() || fWaiting.front() != instance)
		{
			return PipeOutcome::IO_INCOMPLETE;
		}
		// Accepting makes a socket before it looks whether somebody is there; asking is a tenth of that.
		pollfd polled{fSocket.get(), POLLIN, 0};
		if (::poll(&polled, 1, 0) == 0)
		{
			return PipeOutcome::IO_INCOMPLETE;
		}
		Descriptor accepted(::accept4(fSocket.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
		if (accepted.isOpen())
		{
			connection = std::move(accepted);
			removeWaiting(instance);
			return PipeOutcome::SUCCESS;
		}
		if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED)
		{
			// No descriptor is left, or no memory: the writer stays in the queue, and would end every sleep.
			fWake.clear();
		}
		return PipeOutcome::IO_INCOMPLETE;
	}

	int getSocket() const { return fSocket.get(); }

private:
	void waitingChanged()
	{
		if (fWaiting.empty())
		{
			fWake.clear();
			return;
		}
		::listen(fSocket.get(), static_cast<int>(fWaiting.size()) - 1);
		fWake.setHandle(fSocket.get(), WakeOn::READABLE, WakeRank::ALWAYS);
	}

	std::string fRawPath;
	LockFile fLock;
	Descriptor fSocket;
	std::vector<const void *> fWaiting;
	WakeRegistration fWake;
};

std::unordered_map<std::string, std::weak_ptr<Listener>> &listeners()
{
	static auto &sListeners = makeLasting<std::unordered_map<std::string, std::weak_ptr<Listener>>>();
	return sListeners;
}

PipeOutcome Listener::open(const std::string &rawPath, std::shared_ptr<Listener> &listener)
{
	listener = listeners()[rawPath].lock();
	if (listener)
	{
		return PipeOutcome::SUCCESS;
	}
	sockaddr_un address{};
	if (!makeAddress(rawPath, address))
	{
		return PipeOutcome::FILENAME_TOO_LONG;
	}
	LockFile lock = LockFile::acquire(rawPath + ".lock");
	if (!lock.isHeld())
	{
		return errno == EWOULDBLOCK ? PipeOutcome::PIPE_BUSY : outcomeOfErrno(errno);
	}
	Descriptor socket(makeSocket());
	if (!socket.isOpen())
	{
		return outcomeOfErrno(errno);
	}
	::unlink(rawPath.c_str());
	if (::bind(socket.get(), plain(address), sizeof address) != 0 || ::listen(socket.get(), 0) != 0)
	{
		const PipeOutcome outcome = outcomeOfErrno(errno);
		return outcome == PipeOutcome::IO_PENDING ? PipeOutcome::GENERAL_FAILURE : outcome;
	}
	listener = std::make_shared<Listener>(rawPath, std::move(lock), std::move(socket));
	listeners()[rawPath] = listener;
	return PipeOutcome::SUCCESS;
}

class SocketInstance final : public IPipeInstance
{
public:
	explicit SocketInstance(std::shared_ptr<Listener> listener) : fListener(std::move(listener)) {}
	SocketInstance(const SocketInstance &) = delete;
	SocketInstance &operator=(const SocketInstance &) = delete;
	~SocketInstance() override { fListener->removeWaiting(this); }

	PipeOutcome connect() override
	{
		if (fSocket.isOpen())
		{
			return PipeOutcome::PIPE_CONNECTED;
		}
		fListener->removeWaiting(this);
		fListener->addWaiting(this);
		return PipeOutcome::IO_PENDING;
	}

	PipeOutcome connectResult() override
	{
		const PipeOutcome outcome = fListener->acceptFor(this, fSocket);
		if (outcome == PipeOutcome::SUCCESS)
		{
			fPeer = Peer::of(fSocket);
		}
		return outcome;
	}

	PipeOutcome read(std::size_t size, std::string_view &bytes) override
	{
		fWanted = size;
		const PipeOutcome outcome = readResult(bytes);
		if (outcome == PipeOutcome::IO_INCOMPLETE)
		{
			fWake.setHandle(fSocket.get(), WakeOn::READABLE, WakeRank::WHILE_THERE_IS_ROOM);
			return PipeOutcome::IO_PENDING;
		}
		return outcome;
	}

	PipeOutcome readResult(std::string_view &bytes) override
	{
		if (fRest.empty())
		{
			const PipeOutcome received = receive();
			if (received != PipeOutcome::SUCCESS)
			{
				return received;
			}
		}
		bytes = fRest.substr(0, fWanted);
		fRest.remove_prefix(bytes.size());
		return fRest.empty() && !fIsCutOff ? PipeOutcome::SUCCESS : PipeOutcome::MORE_DATA;
	}

	PipeOutcome disconnect() override
	{
		fWake.clear();
		fSocket.close();
		fRest = {};
		fPeer = {};
		return PipeOutcome::SUCCESS;
	}

	ProcessId peerProcessId() const override { return fPeer.processId; }
	bool isPeerOfSameUser() const override { return fPeer.isSameUser; }
	std::uintptr_t nativeHandle() const override
	{
		return static_cast<std::uintptr_t>(fSocket.isOpen() ? fSocket.get() : fListener->getSocket());
	}

private:
	PipeOutcome receive()
	{
		ssize_t size = 0;
		do
		{
			size = ::recv(fSocket.get(), fPacket.data(), fPacket.size(), MSG_DONTWAIT | MSG_TRUNC);
		} while (size < 0 && errno == EINTR);
		if (size < 0 && errno == EAGAIN)
		{
			return PipeOutcome::IO_INCOMPLETE;
		}
		fWake.clear();
		if (size <= 0)
		{
			// The end, or a packet without bytes, which nobody sends who keeps to the rules.
			return PipeOutcome::BROKEN_PIPE;
		}
		fIsCutOff = static_cast<std::size_t>(size) > fPacket.size();
		fRest = std::string_view(fPacket.data(), std::min(static_cast<std::size_t>(size), fPacket.size()));
		return PipeOutcome::SUCCESS;
	}

	std::shared_ptr<Listener> fListener;
	Descriptor fSocket;
	Peer fPeer;
	WakeRegistration fWake;
	std::size_t fWanted = 0;
	std::string_view fRest; // of the packet, not handed out yet
	bool fIsCutOff = false; // the packet was longer than any message may be
	std::array<char, LARGEST_PIPE_MESSAGE> fPacket{};
};

class SocketWriter final : public IPipeWriter
{
public:
	explicit SocketWriter(Descriptor socket) : fSocket(std::move(socket)), fPeer(Peer::of(fSocket))
	{
		// As much as the system allows, which may be less: each time that the buffer is full costs a change of processes.
		constexpr int SEND_BUFFER_BYTES = 1 << 18;
		::setsockopt(fSocket.get(), SOL_SOCKET, SO_SNDBUF, &SEND_BUFFER_BYTES, sizeof SEND_BUFFER_BYTES);
	}

	PipeOutcome setMessageMode() override { return PipeOutcome::SUCCESS; }

	PipeOutcome write(std::string_view message) override
	{
		const PipeOutcome outcome = send(message);
		if (outcome == PipeOutcome::IO_PENDING)
		{
			fPendingSize = std::min(message.size(), fPending.size());
			std::memcpy(fPending.data(), message.data(), fPendingSize);
			fWake.setHandle(fSocket.get(), WakeOn::WRITABLE, WakeRank::ALWAYS);
		}
		return outcome;
	}

	PipeOutcome writeResult() override
	{
		const PipeOutcome outcome = send({fPending.data(), fPendingSize});
		if (outcome == PipeOutcome::IO_PENDING)
		{
			return PipeOutcome::IO_INCOMPLETE;
		}
		fWake.clear();
		return outcome;
	}

	ProcessId peerProcessId() const override { return fPeer.processId; }
	bool isPeerOfSameUser() const override { return fPeer.isSameUser; }
	std::uintptr_t nativeHandle() const override { return static_cast<std::uintptr_t>(fSocket.get()); }

private:
	PipeOutcome send(std::string_view message) const
	{
		for (;;)
		{
			const ssize_t size = ::send(fSocket.get(), message.data(), message.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
			if (size >= 0)
			{
				return PipeOutcome::SUCCESS;
			}
			if (errno != EINTR)
			{
				return outcomeOfErrno(errno);
			}
		}
	}

	Descriptor fSocket;
	Peer fPeer;
	WakeRegistration fWake;
	std::array<char, LARGEST_PIPE_MESSAGE> fPending{};
	std::size_t fPendingSize = 0;
};

class SocketPipes final : public IMessagePipes
{
public:
	std::string rawPath(const std::string &proxyPath, std::string &refusal) override
	{
		const std::size_t nameStart = proxyPath.rfind('/');
		refusal = nameStart == std::string::npos ? "the path must be an absolute one: " + proxyPath
		                                         : privateFolderRefusal(proxyPath.substr(0, std::max<std::size_t>(nameStart, 1)));
		if (!refusal.empty())
		{
			return {};
		}
		std::string folder = runtimeFolder(refusal);
		if (folder.empty())
		{
			return {};
		}
		folder += "/net.morvane";
		makeDirectory(folder);
		refusal = privateFolderRefusal(folder);
		if (!refusal.empty())
		{
			return {};
		}
		// A name of its own length, since an address must be short.
		std::array<char, 20> name{};
		std::snprintf(name.data(), name.size(), "/%016llx", static_cast<unsigned long long>(hash(proxyPath)));
		std::string path = folder + name.data();
		sockaddr_un address{};
		if (!makeAddress(path, address))
		{
			refusal = "the folder's path is too long for the address of a socket: " + folder;
			return {};
		}
		return path;
	}

	PipeOutcome createInstance(const std::string &rawPath, std::unique_ptr<IPipeInstance> &instance) override
	{
		std::shared_ptr<Listener> listener;
		const PipeOutcome outcome = Listener::open(rawPath, listener);
		if (outcome == PipeOutcome::SUCCESS)
		{
			instance = std::make_unique<SocketInstance>(std::move(listener));
		}
		return outcome;
	}

	PipeOutcome openWriter(const std::string &rawPath, std::unique_ptr<IPipeWriter> &writer) override
	{
		sockaddr_un address{};
		if (!makeAddress(rawPath, address))
		{
			return PipeOutcome::INVALID_PARAMETER;
		}
		Descriptor socket(makeSocket());
		if (!socket.isOpen() || ::connect(socket.get(), plain(address), sizeof address) != 0)
		{
			return errno == EAGAIN || errno == EINTR ? PipeOutcome::PIPE_BUSY : outcomeOfErrno(errno);
		}
		writer = std::make_unique<SocketWriter>(std::move(socket));
		return PipeOutcome::SUCCESS;
	}

private:
	// 64-bit FNV-1a.
	static std::uint64_t hash(std::string_view text)
	{
		std::uint64_t hash = 0xcbf29ce484222325;
		for (const char byte : text)
		{
			hash = (hash ^ static_cast<std::uint8_t>(byte)) * 0x100000001b3;
		}
		return hash;
	}
};
}

IMessagePipes &Detail::systemMessagePipes()
{
	static SocketPipes sPipes;
	return sPipes;
}
}
