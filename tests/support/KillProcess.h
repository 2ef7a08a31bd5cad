#pragma once

namespace Mrv::Test
{
// Ends a process without asking it, and waits until it is gone.
void killProcess(unsigned processId);
}
