#include "JsonParsers.h"

#include <nlohmann/json.hpp>

namespace Mrv::Bench
{

std::shared_ptr<void> parseWithNlohmann(const std::string &text)
{
	nlohmann::json document = nlohmann::json::parse(text, nullptr, false);
	return document.is_discarded() ? nullptr : std::make_shared<nlohmann::json>(std::move(document));
}

} // namespace Mrv::Bench
