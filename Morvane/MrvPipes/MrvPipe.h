#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>

namespace Mrv
{
// One change of state of one of the machines.
struct PipeTransition
{
	const char *machine = nullptr; // the enumeration's name
	int from = 0;
	int to = 0;
	const char *fromName = nullptr;
	const char *toName = nullptr;
	int pipeExternalHandle = 0;
	std::uintptr_t rawHandle = 0;
};

// What the two kinds of pipes share. The rest of the program knows a pipe by the path of its proxy file, whose presence means that the
// pipe exists, and by an external handle, a small number that is unique among all open pipes. Objects of this class are owned by the
// tables of their kind.
class Pipe
{
public:
	Pipe(const Pipe &) = delete;
	Pipe &operator=(const Pipe &) = delete;
	virtual ~Pipe() = default;

	virtual bool open() = 0;
	// One step of everything that can be done without waiting. Whether something got done.
	virtual bool poll() = 0;
	// Undoes one opening; the last one closes.
	virtual bool close() = 0;

	// Made on first use, never 0.
	int getPipeExternalHandle();
	const std::string &getNamedPipePath() const { return fNamedPipePath; }
	// The transport's address; empty as long as it isn't known.
	const std::string &getRawNamedPipePath() const { return fRawNamedPipePath; }

	// Opening twice is tolerated, with a log line.
	void openCountIncrement();
	void openCountDecrement() { --fOpenCount; }
	int getOpenCount() const { return fOpenCount; }

	// Every change of state of every machine passes here: it is logged at trace level and shown to the observer, if there is one. For
	// tests.
	using TransitionObserver = void (*)(const PipeTransition &transition);
	static void setTransitionObserver(TransitionObserver observer);
	static void noteTransition(const PipeTransition &transition);

	// "<coordinator> (<external handle>): ", what many log lines begin with.
	std::string logPrefix();

	// Now plus so many microseconds, as nanoseconds of the steady clock.
	static std::int64_t timeAfter(std::int64_t microseconds);

protected:
	explicit Pipe(std::string namedPipePath) : fNamedPipePath(std::move(namedPipePath)) {}

	std::string fRawNamedPipePath;

private:
	std::string fNamedPipePath;
	int fOpenCount = 0;
	int fPipeExternalHandle = 0;
};

// All pipes of one kind, by external handle and by path.
template <typename PipeType>
class PipeTable
{
public:
	std::shared_ptr<PipeType> find(int pipeExternalHandle) const
	{
		const auto found = fByHandle.find(pipeExternalHandle);
		return found == fByHandle.end() ? nullptr : found->second;
	}
	std::shared_ptr<PipeType> find(const std::string &path) const
	{
		const auto found = fByPath.find(path);
		return found == fByPath.end() ? nullptr : found->second;
	}
	void add(const std::shared_ptr<PipeType> &pipe)
	{
		fByHandle[pipe->getPipeExternalHandle()] = pipe;
		fByPath[pipe->getNamedPipePath()] = pipe;
	}
	// Whether it was in both tables.
	bool remove(PipeType &pipe) { return fByPath.erase(pipe.getNamedPipePath()) + fByHandle.erase(pipe.getPipeExternalHandle()) == 2; }
	const std::map<int, std::shared_ptr<PipeType>> &all() const { return fByHandle; }

private:
	std::map<int, std::shared_ptr<PipeType>> fByHandle;
	std::unordered_map<std::string, std::shared_ptr<PipeType>> fByPath;
};
}
