#pragma once

#include "MrvPlatform/MrvKeyEvent.h"
#include "MrvPlatform/windows/MrvWide.h"

#include <deque>
#include <string>

namespace Mrv::Platform::Windows
{
// Appends what an event of the console's input means to somebody who edits a line, as often as the key repeats: nothing for a key that goes
// up and for events of other kinds. `pending` keeps the first half of a character that comes in two events.
void appendKeys(const INPUT_RECORD &record, std::wstring &pending, std::deque<KeyEvent> &keys);
}
