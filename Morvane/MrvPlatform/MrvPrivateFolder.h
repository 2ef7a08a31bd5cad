#pragma once

#include <string>

// What must be the user's own, since messages and the addresses of pipes pass through it.
namespace Mrv::Platform
{
// Why a folder can't be trusted: it must be a real folder, no link, of this user, without any rights for others. Empty when it is one.
// The text names the folder. On Windows a user's profile is kept from others by the access lists it hands down, and only the kind
// is looked at.
std::string privateFolderRefusal(const std::string &path);

// Whether a regular file, no link, belongs to this user. On Windows the folder's access list answers for that, as above.
bool isOwnFile(const std::string &path);

// A folder of this user alone for what ends with the session: where it is by the system's conventions, else below the temporary folder;
// made when it is missing. Without a separator at its end. Empty when it can't be made or trusted; then `refusal` tells why.
std::string runtimeFolder(std::string &refusal);
}
