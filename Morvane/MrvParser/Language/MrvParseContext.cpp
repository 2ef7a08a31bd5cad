#include "MrvParser/Language/MrvParseContext.h"

#include "MrvParser/Language/MrvParser.h"
#include "MrvParser/Language/MrvParserMachine.h"

namespace Mrv
{
namespace
{
std::string formatPlace(const std::string &name, size_t line, size_t column)
{
	return name + ':' + std::to_string(line) + ':' + std::to_string(column) + ": ";
}
}

ParseContext::ParseContext(std::string name, FirstLine firstLine) : fSource(makeRef<SourceText>(std::move(name))), fFirstLine(firstLine) {}

ParseContext::~ParseContext() = default;

void ParseContext::updateSource(InputStream &stream)
{
	const std::vector<uint32_t> &lineStarts = stream.getLineTable()->getLineStarts();
	for (; fSourceLineCount < lineStarts.size(); ++fSourceLineCount)
	{
		fSource->addLineStart(lineStarts[fSourceLineCount]);
	}
}

void ParseContext::addError(const std::string &message, InputStream &stream)
{
	if (message.empty() || fError.messages.size() >= MAX_MESSAGES)
	{
		return;
	}
	if (fError.messages.empty())
	{
		const LineTable::Place place = stream.getLineTable()->locate(stream.getPos());
		fError.offset = static_cast<size_t>(stream.getPos());
		fError.line = place.line;
		fError.column = place.column;
	}
	fError.messages.push_back(message);
	Parser::reportDebugLine(formatPlace(getName(), fError.line, fError.column) + message);
}

void ParseContext::addWarning(const std::string &message, InputStream &stream)
{
	if (fWarnings.size() >= MAX_WARNINGS)
	{
		return;
	}
	const LineTable::Place place = stream.getLineTable()->locate(stream.getPos());
	fWarnings.push_back(formatPlace(getName(), place.line, place.column) + "warning: " + message);
	Parser::reportDebugLine(fWarnings.back());
}

std::string ParseContext::getErrorText() const
{
	std::string text;
	for (const std::string &message : fError.messages)
	{
		text += formatPlace(getName(), fError.line, fError.column) + message + '\n';
	}
	return text;
}
}
