// Messages as people read them, and their log.
#include "MrvMessage/MrvMessage.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvLimits.h"
#include "MrvUtils/MrvUtils.h"

#include <cstdio>
#include <string_view>
#include <unordered_map>

namespace Mrv
{
constinit bool Message::sIsIPCLogged = false;

namespace
{
constexpr std::string_view GUID_FORM = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";

bool isGUIDAt(std::string_view text, std::size_t at)
{
	if (text.size() - at < GUID_FORM.size())
	{
		return false;
	}
	for (std::size_t index = 0; index < GUID_FORM.size(); ++index)
	{
		const char character = text[at + index];
		const bool isDigit = (character >= '0' && character <= '9') || (character >= 'A' && character <= 'F');
		if (GUID_FORM[index] == '-' ? character != '-' : !isDigit)
		{
			return false;
		}
	}
	return true;
}

// The text with each GUID replaced by a short name. Those that have none yet get one, which is explained on a line of its own. When there
// are too many, all are forgotten and it begins anew.
std::string replaceGUIDs(const std::string &text, std::string &explanations)
{
	static std::unordered_map<std::string, std::string> aliases;
	std::string result;
	for (std::size_t at = 0; at < text.size();)
	{
		if (!isGUIDAt(text, at))
		{
			result += text[at++];
			continue;
		}
		if (aliases.size() >= Limits::MESSAGE_ALIASES)
		{
			aliases.clear();
		}
		const auto [alias, isNew] = aliases.try_emplace(text.substr(at, GUID_FORM.size()), "guid" + std::to_string(aliases.size() + 1));
		if (isNew)
		{
			explanations += "    " + alias->second + " = " + alias->first + "\n";
		}
		result += alias->second;
		at += GUID_FORM.size();
	}
	return result;
}

std::string &filePathOfLog()
{
	static std::string filePath;
	return filePath;
}
}

void Message::setIPCLogFilePath(const std::string &filePath)
{
	filePathOfLog() = filePath;
}

const std::string &Message::getIPCLogFilePath()
{
	return filePathOfLog();
}

void Message::logIPCMessage(const std::shared_ptr<const IObject> &messageObj)
{
	ASSIGN_CONST_TYPED(IMessage, message, messageObj, return );
	if (!sIsIPCLogged)
	{
		return;
	}
	const std::string text = message->toString() + "\n";
	if (getIPCLogFilePath().empty())
	{
		Platform::console().write(Platform::StandardStream::ERROR_OUTPUT, text);
	}
	else if (std::FILE *file = Platform::openFile(getIPCLogFilePath(), Platform::OpenMode::APPEND))
	{
		std::fwrite(text.data(), 1, text.size(), file);
		std::fclose(file);
	}
}

std::string Message::toString() const
{
	std::string explanations;
	const auto textOf = [&](const std::shared_ptr<const IObject> &addressObj)
	{ return addressObj ? replaceGUIDs(addressObj->toString(), explanations) : std::string(); };
	const std::string sender = textOf(fSenderAddressObj);
	const std::string receiver = textOf(fReceiverAddressObj);
	constexpr double NANOSECONDS_PER_SECOND = 1e9;
	const std::string seconds = Utils::doubleToString(static_cast<double>(Platform::steadyNanoseconds()) / NANOSECONDS_PER_SECOND);
	return seconds + ":\n" + explanations + "  opcode = " + opCodeToString(fOpCode) + "(" +
	       std::to_string(static_cast<std::uint32_t>(fOpCode)) + ")\n  sender = " + sender + "\n  receiver = " + receiver +
	       "\n  payload = \"" + fPayload + "\"\n\n";
}
}
