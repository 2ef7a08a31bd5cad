#include "JsonDocuments.h"

#include <cstdint>
#include <random>

namespace Mrv::Bench
{

namespace
{

/** Random texts and numbers. The generator is fixed by the library's standard; its distributions are not, so none is used. */
class Source
{
public:
	std::uint64_t below(std::uint64_t limit) { return fGenerator() % limit; }

	std::string word(std::size_t shortest, std::size_t longest)
	{
		std::string text;
		for (std::size_t length = shortest + below(longest - shortest + 1); text.size() < length;)
		{
			text += static_cast<char>('a' + below(26));
		}
		// A few strings need decoding.
		if (below(16) == 0)
		{
			text += below(2) == 0 ? "\\n" : "\\u2192";
		}
		return text;
	}

private:
	std::mt19937_64 fGenerator{20240229};
};

} // namespace

std::string makeRecords(std::size_t bytes)
{
	Source source;
	std::string text = "[";
	text.reserve(bytes + 1024);
	while (text.size() < bytes)
	{
		text += text.size() > 1 ? ",\n{" : "{";
		text += "\"name\": \"" + source.word(5, 12) + "\", \"city\": \"" + source.word(4, 10) + "\", \"note\": \"" + source.word(8, 20);
		text += "\", \"id\": " + std::to_string(source.below(10000000)) + ", \"count\": " + std::to_string(source.below(1000));
		text += ", \"price\": " + std::to_string(source.below(1000)) + "." + std::to_string(source.below(99) + 1);
		text += source.below(2) == 0 ? ", \"on\": true" : ", \"on\": false";
		text += ", \"tags\": [";
		for (int i = 0; i < 4; i++)
		{
			text += (i > 0 ? ", " : "") + std::to_string(source.below(10));
		}
		text += "]}";
	}
	return text + "]\n";
}

std::string makeDigits(std::size_t bytes)
{
	Source source;
	std::string text = "[";
	text.reserve(bytes + 16);
	while (text.size() < bytes)
	{
		text += static_cast<char>('0' + source.below(10));
		text += ',';
	}
	text.back() = ']';
	return text + "\n";
}

} // namespace Mrv::Bench
