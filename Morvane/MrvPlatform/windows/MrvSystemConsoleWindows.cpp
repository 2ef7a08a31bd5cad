// The standard streams as handles. What a handle is decides how it is read without waiting: a file is read, a pipe is asked how much
// it holds, a console gives its events. A console's own line editing would wait, so lines are edited here, from key events.
#include "MrvPlatform/MrvSystemConsole.h"

#include "MrvPlatform/MrvBufferedConsole.h"
#include "MrvPlatform/MrvLasting.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvPlatform/windows/MrvConsoleKeys.h"
#include "MrvPlatform/windows/MrvWide.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <utility>

namespace Mrv::Platform
{
namespace
{
constexpr wchar_t kEndOfInputKey = 26; // Ctrl-Z

// What the console's modes were before Ctrl-C was made a key.
std::atomic<bool> sAreModesChanged{false};
DWORD sInputModes = 0;

HANDLE handleOf(StandardStream stream)
{
	switch (stream)
	{
		case StandardStream::INPUT:
			return ::GetStdHandle(STD_INPUT_HANDLE);
		case StandardStream::OUTPUT:
			return ::GetStdHandle(STD_OUTPUT_HANDLE);
		case StandardStream::ERROR_OUTPUT:
			return ::GetStdHandle(STD_ERROR_HANDLE);
	}
	return INVALID_HANDLE_VALUE;
}

bool isConsole(HANDLE handle)
{
	DWORD mode = 0;
	return ::GetConsoleMode(handle, &mode) != 0;
}

bool isInputPipeReady()
{
	DWORD available = 0;
	return !::PeekNamedPipe(handleOf(StandardStream::INPUT), nullptr, 0, nullptr, &available, nullptr) || available > 0;
}

// How many bytes at the end of `text` are the beginning of a character whose rest hasn't come yet.
std::size_t incompleteTail(std::string_view text)
{
	for (std::size_t back = 1; back <= 3 && back <= text.size(); ++back)
	{
		const auto byte = static_cast<unsigned char>(text[text.size() - back]);
		if ((byte & 0xC0U) != 0x80U)
		{
			const std::size_t length = byte >= 0xF0 ? 4U : byte >= 0xE0 ? 3U : byte >= 0xC0 ? 2U : 1U;
			return length > back ? back : 0;
		}
	}
	return 0;
}

// Like the conversion at the edge, but what isn't valid is shown as U+FFFD instead of being refused.
std::wstring toWideLeniently(std::string_view text)
{
	const int size = static_cast<int>(text.size());
	std::wstring wide(text.size(), L'\0');
	const int wideSize = text.empty() ? 0 : ::MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size);
	wide.resize(static_cast<std::size_t>(std::max(wideSize, 0)));
	return wide;
}

class SystemConsole final : public BufferedConsole
{
public:
	bool isTerminal(StandardStream stream) const override { return isConsole(handleOf(stream)); }

	bool enterKeyMode() override
	{
		fIsInKeyMode = isTerminal(StandardStream::INPUT);
		return fIsInKeyMode;
	}

	// Reading its events gives single keys without an echo in any mode of the console; only what Ctrl-C does is a mode.
	void leaveKeyMode() override
	{
		endEditing();
		fIsInKeyMode = false;
		restoreTerminalNow();
	}

	void setInputWakesSleep(bool wakes) override
	{
		unregisterWakeSource(fWakeSource);
		fWakeSource = 0;
		if (!wakes)
		{
			return;
		}
		const HANDLE handle = handleOf(StandardStream::INPUT);
		fWakeSource = ::GetFileType(handle) == FILE_TYPE_PIPE ? registerPolledWakeSource(isInputPipeReady)
		                                                      : registerWakeSource(reinterpret_cast<NativeHandle>(handle));
	}

protected:
	bool isInKeyMode() const override { return fIsInKeyMode; }

	InputState fetchKeys(std::deque<KeyEvent> &keys) override
	{
		forEachEvent([&](const INPUT_RECORD &record) { Windows::appendKeys(record, fKeyPending, keys); });
		return keys.empty() ? InputState::NOTHING_YET : InputState::READY;
	}

	std::size_t columns() const override
	{
		CONSOLE_SCREEN_BUFFER_INFO info{};
		return ::GetConsoleScreenBufferInfo(handleOf(StandardStream::OUTPUT), &info) && info.dwSize.X > 0
		           ? static_cast<std::size_t>(info.dwSize.X)
		           : BufferedConsole::columns();
	}

	void clearScreen() override
	{
		const HANDLE handle = handleOf(StandardStream::OUTPUT);
		CONSOLE_SCREEN_BUFFER_INFO info{};
		if (!::GetConsoleScreenBufferInfo(handle, &info))
		{
			return;
		}
		const DWORD cells = static_cast<DWORD>(info.dwSize.X) * static_cast<DWORD>(info.dwSize.Y);
		DWORD written = 0;
		::FillConsoleOutputCharacterW(handle, L' ', cells, COORD{0, 0}, &written);
		::FillConsoleOutputAttribute(handle, info.wAttributes, cells, COORD{0, 0}, &written);
		::SetConsoleCursorPosition(handle, COORD{0, 0});
	}

	void setInterruptKeyIsInput(bool isInput) override
	{
		const HANDLE handle = handleOf(StandardStream::INPUT);
		if (!isInput)
		{
			restoreTerminalNow();
		}
		else if (!sAreModesChanged.load() && ::GetConsoleMode(handle, &sInputModes))
		{
			sAreModesChanged.store(true);
			::SetConsoleMode(handle, sInputModes & ~static_cast<DWORD>(ENABLE_PROCESSED_INPUT));
		}
	}

	WriteOutcome writeThrough(StandardStream stream, std::string_view text) override
	{
		const HANDLE handle = handleOf(stream);
		if (isConsole(handle))
		{
			return writeToConsole(handle, stream == StandardStream::OUTPUT ? fOutputTail : fErrorTail, text);
		}
		while (!text.empty())
		{
			// A pipe takes no more at once than it can hold.
			const auto size = static_cast<DWORD>(std::min<std::size_t>(text.size(), 65536));
			DWORD written = 0;
			if (!::WriteFile(handle, text.data(), size, &written, nullptr))
			{
				const DWORD error = ::GetLastError();
				return error == ERROR_NO_DATA || error == ERROR_BROKEN_PIPE ? WriteOutcome::CLOSED_PIPE : WriteOutcome::FAILED;
			}
			if (written == 0)
			{
				// A pipe that doesn't wait and is full.
				::Sleep(1);
			}
			text.remove_prefix(written);
		}
		return WriteOutcome::WRITTEN;
	}

	InputState fetchInput(std::string &bytes) override
	{
		const HANDLE handle = handleOf(StandardStream::INPUT);
		if (isConsole(handle))
		{
			return fetchLine(bytes);
		}
		DWORD available = 65536;
		if (::GetFileType(handle) == FILE_TYPE_PIPE)
		{
			if (!::PeekNamedPipe(handle, nullptr, 0, nullptr, &available, nullptr))
			{
				return InputState::END;
			}
			if (available == 0)
			{
				return InputState::NOTHING_YET;
			}
		}
		std::array<char, 65536> buffer;
		DWORD size = 0;
		const DWORD wanted = std::min<DWORD>(available, static_cast<DWORD>(buffer.size()));
		if (!::ReadFile(handle, buffer.data(), wanted, &size, nullptr) || size == 0)
		{
			return InputState::END;
		}
		bytes.append(buffer.data(), size);
		return InputState::READY;
	}

private:
	template <class Function>
	static void forEachEvent(Function function)
	{
		const HANDLE handle = handleOf(StandardStream::INPUT);
		std::array<INPUT_RECORD, 64> records;
		DWORD count = 0;
		while (::GetNumberOfConsoleInputEvents(handle, &count) && count > 0 &&
		       ::ReadConsoleInputW(handle, records.data(), static_cast<DWORD>(records.size()), &count))
		{
			std::for_each(records.begin(), records.begin() + count, function);
		}
	}

	// Moves the characters of waiting key events to `fKeys`; other events are dropped, so that they don't end sleeps.
	void fetchCharacters()
	{
		forEachEvent(
		    [this](const INPUT_RECORD &record)
		    {
			    const KEY_EVENT_RECORD &key = record.Event.KeyEvent;
			    if (record.EventType == KEY_EVENT && key.bKeyDown && key.uChar.UnicodeChar != 0)
			    {
				    fKeys.append(std::max<WORD>(key.wRepeatCount, 1), key.uChar.UnicodeChar);
			    }
		    });
	}

	// One line of a console outside the key mode, echoed while it is struck. Ctrl-Z ends the input.
	InputState fetchLine(std::string &bytes)
	{
		fetchCharacters();
		while (!fKeys.empty())
		{
			const wchar_t key = fKeys.front();
			fKeys.erase(0, 1);
			if (key == kEndOfInputKey)
			{
				bytes += Windows::toUtf8(fLine);
				fLine.clear();
				return bytes.empty() ? InputState::END : InputState::READY;
			}
			if (key == L'\b')
			{
				if (!fLine.empty())
				{
					fLine.pop_back();
					writeThrough(StandardStream::OUTPUT, "\b \b");
				}
				continue;
			}
			fLine += key == L'\r' ? L'\n' : key;
			writeThrough(StandardStream::OUTPUT, key == L'\r' ? "\r\n" : Windows::toUtf8({&key, 1}));
			if (key == L'\r')
			{
				bytes += Windows::toUtf8(fLine);
				fLine.clear();
				return InputState::READY;
			}
		}
		return InputState::NOTHING_YET;
	}

	// `tail` keeps the beginning of a character whose rest comes with the next write.
	static WriteOutcome writeToConsole(HANDLE handle, std::string &tail, std::string_view text)
	{
		std::string bytes = std::exchange(tail, {}).append(text);
		const std::size_t incomplete = incompleteTail(bytes);
		tail = bytes.substr(bytes.size() - incomplete);
		bytes.resize(bytes.size() - incomplete);
		const std::wstring wide = toWideLeniently(bytes);
		std::wstring_view rest = wide;
		while (!rest.empty())
		{
			// The console refuses a very long text.
			const auto size = static_cast<DWORD>(std::min<std::size_t>(rest.size(), 8192));
			DWORD written = 0;
			if (!::WriteConsoleW(handle, rest.data(), size, &written, nullptr) || written == 0)
			{
				return WriteOutcome::FAILED;
			}
			rest.remove_prefix(written);
		}
		return WriteOutcome::WRITTEN;
	}

	bool fIsInKeyMode = false;
	WakeSourceId fWakeSource = 0;
	std::wstring fKeyPending;
	std::wstring fKeys; // outside the key mode
	std::wstring fLine;
	std::string fOutputTail;
	std::string fErrorTail;
};
}

IConsole &Detail::systemConsole()
{
	static SystemConsole &sConsole = []() -> SystemConsole &
	{
		auto &console = makeLasting<SystemConsole>();
		std::atexit(
		    []
		    {
			    systemConsole().flush();
			    restoreTerminalNow();
		    });
		return console;
	}();
	return sConsole;
}

void prepareStandardStreams()
{
	for (std::FILE *const stream : {stdin, stdout, stderr})
	{
		::_setmode(::_fileno(stream), _O_BINARY);
	}
}

void restoreTerminalNow() noexcept
{
	if (sAreModesChanged.exchange(false))
	{
		::SetConsoleMode(::GetStdHandle(STD_INPUT_HANDLE), sInputModes);
	}
}
}
