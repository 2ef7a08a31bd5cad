#pragma once

#include "MrvUtils/MrvDirs.h"

#include <filesystem>
#include <fstream>

namespace Mrv::Test
{
// Settings for coordinators in hosts, as long as this object lives: slices of a host are long by default, tests look more often.
class HostSettings
{
public:
	HostSettings()
	{
		std::filesystem::create_directories(fConfig.parent_path());
		std::ofstream(fConfig) << "[config]\neventLoopMicroseconds = 5000\neventLoopSleepMicroseconds = 200\n";
	}
	~HostSettings() { std::filesystem::remove(fConfig); }
	HostSettings(const HostSettings &) = delete;
	HostSettings &operator=(const HostSettings &) = delete;

private:
	const std::filesystem::path fConfig = std::filesystem::path(reinterpret_cast<const char8_t *>(Dirs::getUserDataPath().c_str())) /
	                                      "net.morvane" / "SysConfig" / "config.ini";
};
}
