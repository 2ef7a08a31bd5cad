#pragma once

#include "MrvPlatform/MrvClock.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

namespace Mrv::Bench
{
inline double secondsOf(const std::function<void()> &work)
{
	const std::int64_t start = Platform::steadyNanoseconds();
	work();
	return static_cast<double>(Platform::steadyNanoseconds() - start) / 1e9;
}

// The value that `part` (0 to 1) of them are below. There must be one.
inline double quantile(std::vector<double> values, double part)
{
	std::sort(values.begin(), values.end());
	return values[std::min(values.size() - 1, static_cast<std::size_t>(static_cast<double>(values.size()) * part))];
}
}
