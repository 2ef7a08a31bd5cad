#pragma once

namespace Mrv::Test
{
// How this run of the test program was asked to run its scripts. Set by main before the first test, then constant.
struct Mode
{
	// Every `mustYield` answers true once its own work is done (`--always-yield`): each step of a script is suspended and resumed.
	static bool alwaysYield;
};
}
