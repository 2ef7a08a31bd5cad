#pragma once

#include "MrvPlatform/MrvProcess.h"

#include <string>

// Who may use a pipe: the user that this process runs as, nobody else.
namespace Mrv::Platform::Windows
{
// The user of this process as the text of a security identifier ("S-1-5-21-..."); empty when the system can't tell.
const std::wstring &currentUserSid();

// The same of another process; empty when it has ended or may not be asked.
std::wstring userSidOf(ProcessId processId);

// An access list in the text form of descriptors: protected from what it could inherit, one entry, all rights for this user.
std::wstring descriptorFor(const std::wstring &userSid);

// Whether two identifiers name one user. Nobody is the same user as one that isn't known.
bool isSameUser(const std::wstring &userSid, const std::wstring &otherSid);

// The modes of an instance and of a writer's handle, as the system takes them.
extern const unsigned long kInstanceOpenMode;
extern const unsigned long kInstancePipeMode;
extern const unsigned long kInstanceCount;
extern const unsigned long kInstanceInBufferSize;
extern const unsigned long kWriterFlags;
}
