#pragma once

#include <filesystem>

namespace Mrv::Test
{
// Makes the folders of a user's home and points every environment variable that the well-known folders come from at them. Who has asked for
// one of these folders before keeps the old one. False when that can't be.
bool useHome(const std::filesystem::path &home);

// A user's home of its own for one run of the test program, so that runs side by side don't meet and nothing is left behind. Its name
// holds letters outside of ASCII, as users' names do. The constructor makes the folders and points every environment variable that
// the well-known folders come from at them; that must happen before anything asks for one of these folders, since they are cached.
// The destructor removes all of it.
class TestHome
{
public:
	TestHome();
	~TestHome();
	TestHome(const TestHome &) = delete;
	TestHome &operator=(const TestHome &) = delete;

	// False when the folders could not be made; then no test should run.
	bool isReady() const { return fIsReady; }

private:
	std::filesystem::path fTop;
	std::filesystem::path fHome;
	bool fIsReady;
};
}
