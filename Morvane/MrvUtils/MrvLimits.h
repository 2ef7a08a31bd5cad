#pragma once

#include <cstddef>
#include <cstdint>

// What messages and their queues may grow to. Whoever hits a limit refuses with a log line and goes on serving.
namespace Mrv::Limits
{
constexpr unsigned DESERIALIZATION_DEPTH = 16;  // objects within objects, in one message
constexpr std::size_t MESSAGE_ALIASES = 10'000; // GUIDs that the log of messages keeps short names for

// What a coordinator learns from messages. Beyond these it forgets what it has not heard of for longest.
constexpr std::size_t ROUTED_COORDINATORS = 4'096;
constexpr std::size_t ROUTED_SENDERS = 1'024; // of one coordinator
constexpr std::size_t HOST_NAMES = 10'000;    // beyond it no more are taken

// Of remote scripts.
constexpr std::size_t SESSIONS = 64;           // that one coordinator may have open in a service; beyond it requests are refused
constexpr std::size_t LEARNT_SESSIONS = 1'024; // targets whose sessions a coordinator keeps in mind; beyond it all are forgotten
constexpr std::size_t SIBLING_QUEUE_BYTES = std::size_t{64} << 20; // waiting to be sent to one coordinator; beyond it no more is taken
constexpr std::int64_t LAUNCH_LOG_BYTES = std::int64_t{1} << 20;   // the log file of a launched process; beyond it the file is begun anew

constexpr std::size_t LOG_STRING = std::size_t{16} << 20; // bytes that a captured log grows to

// --- Pipes
constexpr std::size_t PIPE_STRING_BYTES = std::size_t{64} << 20;         // one string, refused by its sender and by its receiver
constexpr std::size_t PIPE_FINISHED_BYTES = std::size_t{16} << 20;       // received and not taken; beyond it the pipe isn't read
constexpr unsigned PIPE_PACKETS_READ = 64;                               // from one connection in one poll
constexpr unsigned PIPE_PACKETS_WRITTEN = 256;                           // by one pipe in one poll: a megabyte
constexpr std::size_t PIPE_LISTENING_INSTANCES = 5;                      // that many writers can connect between two polls
constexpr std::size_t PIPE_POOL_INSTANCES = 256;                         // listening and connected; the longest silent one goes
constexpr std::size_t PIPE_ASSEMBLIES = 256;                             // strings that arrive at once, one a writing process
constexpr std::int64_t PIPE_ASSEMBLY_ACTIVE_NANOSECONDS = 5'000'000'000; // so long the next packet of a string keeps the loop awake
constexpr std::size_t PIPE_PROXY_FILE_BYTES = 4096;                      // a larger file in the pipe folder is no proxy file

// --- What waits for a host
constexpr std::size_t HOST_QUEUE_ENTRIES = 10'000; // scripts, and messages for other hosts; beyond it none are taken
constexpr std::size_t HOST_LOG_LINES = 10'000;     // beyond it the oldest go
}
