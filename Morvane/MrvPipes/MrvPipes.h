#pragma once

#include "MrvUtils/MrvDirs.h"

#include <cstdint>
#include <string>

// The pipes as the coordinator sees them: strings go in at one end and come out at the other, nothing ever waits. A pipe is named by the
// path of its proxy file, and while it is open by a handle, a small number; 0 is no handle.
namespace Mrv::Pipes
{
// The proxy file is an INI file with these two entries: where the pipe is served, and by which process.
inline const std::string PROXY_SECTION = "NamedPipe";
inline const std::string PROXY_PATH_KEY = "namedPipeProxyPath";
inline const std::string PROXY_PROCESS_KEY = "processId";

// Opens a pipe for reading: makes it if need be, and its proxy file. 0, after a log line that tells why, on failure.
int openReadNamedPipe(const std::string &namedPipePath, TrailingPathCharHandling trailing = TrailingPathCharHandling::Ignore);

// Opens a pipe for writing. 0 when there is no proxy file; whether somebody serves the pipe shows later.
int openWriteNamedPipe(const std::string &namedPipePath, TrailingPathCharHandling trailing = TrailingPathCharHandling::Ignore);

// Closes the pipe under the handle once it was closed as often as opened. What waits to be written still goes out; what waits to be read is
// lost. False, after a log line, for an unknown handle.
bool closeNamedPipe(int pipeExternalHandle);

// Closes a pipe for writing at once and loses what waits, so that none of it reaches a later process of the same name. An unknown handle
// is ignored.
void closeWriteNamedPipeForced(int pipeExternalHandle);

// Queues a string, and sends what can be sent at once. False when it wasn't queued.
bool writeToNamedPipe(int pipeExternalHandle, std::string text);

// What became of the strings that were written.
enum class WriteProgress
{
	DONE,        // the system has taken all of them
	IN_PROGRESS, // some wait: for the reader to read, or for somebody to serve the pipe
	FAILED,      // a write failed and lost what waited, since `lossCount` was last asked for; or the handle is unknown
};
WriteProgress getWriteProgress(int pipeExternalHandle, std::uint64_t lossCount);
// How often strings were lost on this pipe: to be asked for before writing.
std::uint64_t getLossCount(int pipeExternalHandle);
// For how many microseconds nobody could be reached; 0 while the pipe is connected, merely busy, or unknown.
std::int64_t getUnreachableMicroseconds(int pipeExternalHandle);

// Takes text up to the next `endChar`, or the whole of a string that has none left. Whether there is text; a false result with
// `readComplete` is an empty line.
bool readFromNamedPipe(std::string &inString, int pipeExternalHandle, bool &readComplete, char endChar);

// Whether the proxy file is there. Two names, since they tell the caller different things: that a pipe can be opened, and that its process
// has come up.
bool namedPipeExists(const std::string &namedPipePath, TrailingPathCharHandling trailing = TrailingPathCharHandling::Ignore);
bool namedPipeIsActive(const std::string &namedPipePath, TrailingPathCharHandling trailing = TrailingPathCharHandling::Ignore);

// Removes a proxy file that was left behind. True, and nothing done, while this process has the pipe open, and when there is none.
bool deleteNamedPipe(const std::string &namedPipePath, TrailingPathCharHandling trailing = TrailingPathCharHandling::Ignore);
}
