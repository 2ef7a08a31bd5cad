#pragma once

// The part of the interrupts that is the same on all systems, for the handlers of the orderly end.
namespace Mrv::Platform::Detail
{
// Notes a Ctrl-C where interrupts are taken; false when it is a request for the end. May be called from a signal handler.
bool acceptInterrupt() noexcept;
}
