// Files: whole ones, and open ones that scripts know by an id. Reading and writing hold up everybody, deliberately.
#include "MrvParser/Builtin/MrvBuiltinArguments.h"
#include "MrvParser/Builtin/MrvBuiltinFunctions.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Builtin/MrvOpenedFile.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Language/MrvScriptEvaluation.h"
#include "MrvParser/Node/MrvNodeWalk.h"
#include "MrvUtils/MrvDirs.h"

#include <algorithm>
#include <optional>

namespace Mrv::Builtins
{
namespace
{
// The first argument as the path of a file, from the script's folder if it is relative; none when there is none.
std::optional<std::string> pathArgument(const BuiltinCall &call)
{
	const TextArgument text(call, 0);
	return text.isOk() ? std::optional(ScriptEvaluation::resolvePath(std::string(text.view()), *call.environment.getScope()))
	                   : std::nullopt;
}

// The open file that the first argument names; null after a log line.
std::shared_ptr<OpenedFile> fileArgument(const BuiltinCall &call)
{
	const int64_t fileId = positionArgument(call, 0);
	if (fileId <= 0)
	{
		LOG_ERROR("fileId <= 0");
		return nullptr;
	}
	auto file = OpenedFile::getFile(fileId);
	if (!file)
	{
		LOG_ERROR("file not open");
	}
	return file;
}

bool readWhole(const std::string &path, std::string &bytes)
{
	const auto file = OpenedFile::open(path, "r");
	if (!file)
	{
		return false;
	}
	// One byte more than a String can hold tells that the file is too large.
	const bool isRead = file->read(bytes, NodeWalk::MAX_TEXT + 1);
	file->close();
	return isRead && bytes.size() <= NodeWalk::MAX_TEXT;
}

// False when anything went wrong on the way to the disk.
bool writeWhole(const std::string &path, std::string_view bytes)
{
	const auto file = OpenedFile::open(path, "w");
	if (!file)
	{
		return false;
	}
	const bool isWritten = file->write(bytes);
	return file->close() && isWritten;
}
}

Value ftn_readFile(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	const auto path = pathArgument(call);
	if (!path)
	{
		return failText(call);
	}
	LOG_TRACE("curScriptFilePath " + call.environment.getScope()->getScriptFilePath());
	LOG_TRACE("reading " + *path);
	std::string bytes;
	const bool isRead = readWhole(*path, bytes);
	call.task.readClockSoon();
	if (!isRead)
	{
		LOG_ERROR("cannot read file: " + *path);
		return Value();
	}
	return makeString(call, std::move(bytes));
}

Value ftn_writeFile(const BuiltinCall &call)
{
	if (!hasArguments(call, 2))
	{
		return Value();
	}
	const auto path = pathArgument(call);
	const TextArgument text(call, 1);
	if (!path || !text.isOk())
	{
		return failText(call);
	}
	const bool isWritten = writeWhole(*path, text.view());
	call.task.readClockSoon();
	if (!isWritten)
	{
		LOG_ERROR("cannot write file: " + *path);
	}
	return Value::boolean(isWritten);
}

Value ftn_fileOpen(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	const auto path = pathArgument(call);
	const TextArgument modeText(call, 1);
	if (!path || !modeText.isOk())
	{
		return failText(call);
	}
	const std::string_view given = isGiven(call, 1) ? modeText.view() : std::string_view("r");
	const std::string mode = given.starts_with('R') || given.starts_with('W') || given.starts_with('A')
	                             ? std::string(1, static_cast<char>(given.front() + ('a' - 'A')))
	                             : std::string(given.substr(0, 1));
	if (mode != "r" && mode != "w" && mode != "a")
	{
		LOG_ERROR("unexpected file mode");
		return Value();
	}
	const auto file = OpenedFile::open(*path, mode);
	if (!file)
	{
		LOG_ERROR("cannot open file: " + *path);
		return Value();
	}
	return Value::integer(file->getFileId());
}

Value ftn_fileClose(const BuiltinCall &call)
{
	const auto file = hasArguments(call, 1) ? fileArgument(call) : nullptr;
	if (!file)
	{
		return Value();
	}
	SANITY_CHECK(file->close(), return Value::boolean(false));
	return Value::boolean(true);
}

Value ftn_fileRead(const BuiltinCall &call)
{
	const auto file = hasArguments(call, 1) ? fileArgument(call) : nullptr;
	if (!file)
	{
		return Value();
	}
	if (file->getMode() != FileMode::READ)
	{
		LOG_ERROR("file not opened for read");
		return Value();
	}
	size_t limit = NodeWalk::MAX_TEXT;
	if (isGiven(call, 1))
	{
		const int64_t wanted = positionArgument(call, 1);
		limit = wanted < 0 ? limit : static_cast<size_t>(std::min<uint64_t>(static_cast<uint64_t>(wanted), limit));
	}
	std::string bytes;
	const bool isRead = file->read(bytes, limit);
	call.task.readClockSoon();
	if (!isRead)
	{
		LOG_ERROR("cannot read file");
		return Value();
	}
	return Value::string(std::move(bytes));
}

Value ftn_fileWrite(const BuiltinCall &call)
{
	const auto file = hasArguments(call, 2) ? fileArgument(call) : nullptr;
	if (!file)
	{
		return Value();
	}
	if (file->getMode() == FileMode::READ)
	{
		LOG_ERROR("file not opened for writing");
		return Value::boolean(false);
	}
	const TextArgument text(call, 1);
	if (!text.isOk())
	{
		return failText(call);
	}
	const bool isWritten = file->write(text.view());
	call.task.readClockSoon();
	if (!isWritten)
	{
		LOG_ERROR("cannot write file");
	}
	return Value::boolean(isWritten);
}

Value ftn_dirExists(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	const auto path = pathArgument(call);
	return path ? Value::boolean(Dirs::dirExists(*path)) : failText(call);
}

Value ftn_fileExists(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	const auto path = pathArgument(call);
	return path ? Value::boolean(Dirs::fileExists(*path)) : failText(call);
}
}
