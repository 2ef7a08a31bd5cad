#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>
#include <termios.h>
#include <vector>

namespace Mrv::Test
{
// `morvane` as a process of its own on a pseudo-terminal, and the person in front of it. It is killed when this object goes.
class TerminalProcess
{
public:
	explicit TerminalProcess(std::vector<std::string> arguments = {});
	TerminalProcess(const TerminalProcess &) = delete;
	TerminalProcess &operator=(const TerminalProcess &) = delete;
	~TerminalProcess();

	void type(std::string_view keys) const;
	void sendSignal(int number) const;
	// Waits until the terminal shows this text behind what was waited for before; false after a minute, or when the process has ended.
	bool waitFor(const std::string &text);
	// Waits until Ctrl-C raises a signal (a script runs), or is a key (a line is edited).
	bool waitForInterruptKey(bool raisesSignal);
	// Waits for the end: the exit status, 1000 + n for an end by signal n, -1 after a minute.
	int waitForEnd();
	// Everything that the terminal has shown.
	const std::string &shown() const { return fShown; }

	// What keys do now, and what they did when the process was started.
	bool hasFirstModes() const;

private:
	bool readSome(int milliseconds);
	termios modes() const;

	int fMaster = -1;
	int fSlave = -1; // held open, so that the terminal outlives the process
	termios fFirstModes{};
	pid_t fProcess = -1;
	std::string fShown;
	size_t fWaitedFor = 0;
};
}
