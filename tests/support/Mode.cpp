#include "support/Mode.h"

namespace Mrv::Test
{
bool Mode::alwaysYield = false;
}
