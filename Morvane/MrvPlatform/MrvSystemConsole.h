#pragma once

#include "MrvPlatform/MrvConsole.h"

namespace Mrv::Platform::Detail
{
// The process's standard streams. Lives to the very end of the process, so that destructors of static objects may still use it;
// what it holds back goes out when the process exits.
IConsole &systemConsole();
}
