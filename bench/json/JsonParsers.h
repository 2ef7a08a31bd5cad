#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Mrv::Bench
{

/** A parser to measure. `parse` builds the whole document and gives it, so that its release can stay out of the time; empty when the text
   is refused. */
struct JsonParser
{
	const char *name;
	std::shared_ptr<void> (*parse)(const std::string &text);
};

/** Every parser that takes part, ours first. */
const std::vector<JsonParser> &jsonParsers();

std::shared_ptr<void> parseWithMorvane(const std::string &text);
std::shared_ptr<void> parseWithNlohmann(const std::string &text);

} // namespace Mrv::Bench
