#pragma once

namespace Mrv
{
// The text of HostObjects.jsx, which the build puts into the program.
extern const char *const HOST_OBJECTS;
}
