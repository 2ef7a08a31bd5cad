#pragma once

#include "MrvParser/Node/MrvOMType.h"

#include <optional>

namespace Mrv
{
class GUIDClass;

// What tells one request from another, on both sides: an answer repeats what the request said. GUIDs aren't owned; null where none was
// given.
struct RemoteExchange
{
	GUIDClass *clientSession = nullptr;  // chosen by the client, one for each run of it
	GUIDClass *serviceSession = nullptr; // chosen by the service when the session was opened
	bool isServiceSessionGiven = false;  // also when what was given is no GUID
	std::optional<OMInt> clientNumber;
	std::optional<OMInt> serviceNumber; // never 0
};
}
