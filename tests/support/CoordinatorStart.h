#pragma once

#include "MrvCoordinator/MrvInternalCoordinator.h"

#include <string>
#include <vector>

namespace Mrv::Test
{
// Whether a coordinator of a test looks for others, and starts them when they are needed.
enum class OtherCoordinators
{
	NONE,
	REAL,
};

// A coordinator that was started with these switches; ended, released and forgotten with this object.
class CoordinatorStart
{
public:
	explicit CoordinatorStart(std::vector<std::string> switches = {}, OtherCoordinators others = OtherCoordinators::NONE)
	{
		std::string program = "morvane";
		std::vector<char *> argv{program.data()};
		for (std::string &argument : switches)
		{
			argv.push_back(argument.data());
		}
		fIsStarted = InternalCoordinator::init(static_cast<int>(argv.size()), argv.data());
		if (fIsStarted && others == OtherCoordinators::NONE)
		{
			InternalCoordinator::instance()->setSiblingDirectory(nullptr);
		}
	}
	~CoordinatorStart() { release(); }
	CoordinatorStart(const CoordinatorStart &) = delete;
	CoordinatorStart &operator=(const CoordinatorStart &) = delete;

	// Whether `init` succeeded.
	bool isStarted() const { return fIsStarted; }

	static void release()
	{
		InternalCoordinator::release();
		Object::createMaps(); // other tests have objects without a coordinator
	}

private:
	bool fIsStarted = false;
};
}
