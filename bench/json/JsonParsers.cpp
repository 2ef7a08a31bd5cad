#include "JsonParsers.h"

namespace Mrv::Bench
{

const std::vector<JsonParser> &jsonParsers()
{
	static const std::vector<JsonParser> parsers = {
	    {"morvane", parseWithMorvane},
	    {"nlohmann", parseWithNlohmann},
	};
	return parsers;
}

} // namespace Mrv::Bench
