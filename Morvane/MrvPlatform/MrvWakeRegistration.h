#pragma once

#include "MrvPlatform/MrvSleep.h"

namespace Mrv::Platform
{
// One registration with the sleep that is taken back with this object at the latest.
class WakeRegistration
{
public:
	WakeRegistration() = default;
	WakeRegistration(const WakeRegistration &) = delete;
	WakeRegistration &operator=(const WakeRegistration &) = delete;
	~WakeRegistration() { clear(); }

	// A registration that stands stays as it is.
	void setHandle(NativeHandle handle, WakeOn on, WakeRank rank)
	{
		if (fId == 0)
		{
			fId = registerWakeSource(handle, on, rank);
		}
	}

	// Takes the place of an earlier one.
	void setTime(std::int64_t time)
	{
		clear();
		fId = registerWakeTime(time);
	}

	void clear()
	{
		if (fId != 0)
		{
			unregisterWakeSource(fId);
			fId = 0;
		}
	}

private:
	WakeSourceId fId = 0;
};
}
