#pragma once

#include "MrvParser/Language/MrvParseContext.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvTask/MrvTask.h"

namespace Mrv
{
// Parses a text into a node.
class ParseTask final : public Task
{
public:
	static std::shared_ptr<ParseTask> factory(const std::shared_ptr<OMStored> &target, std::string text);
	// Runs it to its end. False, with the target Undefined, when the text can't be parsed.
	static bool call(const std::shared_ptr<OMStored> &target, std::string text);

	ParseTask(std::shared_ptr<OMStored> target, std::string text);
	const ParseError &getError() const { return fContext.getError(); }

protected:
	void timeslice() override;

private:
	std::shared_ptr<OMStored> fTarget;
	std::shared_ptr<InputStream> fStream;
	ParseContext fContext;
};
}
