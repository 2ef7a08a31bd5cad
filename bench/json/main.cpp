// Measures JSON parsers, for bench/compare-json:
//   write DOCUMENT FILE      writes the text to a file, for parsers that are processes of their own
//   time DOCUMENT ROUNDS     parses with each parser in turn, so many times, and prints `NAME SECONDS` of processor time
//   memory DOCUMENT PARSER   parses once and prints by how many bytes the resident memory grew at its peak
// DOCUMENT is records or digits, 10 MB each; sizes in bytes.

#include "JsonDocuments.h"
#include "JsonParsers.h"

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iostream>

using namespace Mrv::Bench;

namespace
{

constexpr std::size_t DOCUMENT_BYTES = 10'000'000;

std::string makeDocument(const std::string &name)
{
	return name == "records" ? makeRecords(DOCUMENT_BYTES) : makeDigits(DOCUMENT_BYTES);
}

int writeDocument(const std::string &document, const std::string &path)
{
	std::ofstream file(path, std::ios::binary);
	file << makeDocument(document);
	file.close();
	return file ? EXIT_SUCCESS : EXIT_FAILURE;
}

int timeParsers(const std::string &document, int rounds)
{
	const std::string text = makeDocument(document);
	for (int round = 0; round < rounds; round++)
	{
		for (const JsonParser &parser : jsonParsers())
		{
			const std::clock_t begin = std::clock();
			const std::shared_ptr<void> parsed = parser.parse(text);
			const std::clock_t taken = std::clock() - begin;
			if (!parsed)
			{
				std::cerr << parser.name << " refuses the document\n";
				return EXIT_FAILURE;
			}
			std::cout << parser.name << ' ' << static_cast<double>(taken) / CLOCKS_PER_SEC << '\n';
		}
	}
	return EXIT_SUCCESS;
}

/** A figure of this process from the system, in bytes. */
long long memoryOf(const std::string &field)
{
	std::ifstream status("/proc/self/status");
	for (std::string line; std::getline(status, line);)
	{
		if (line.rfind(field + ":", 0) == 0)
		{
			return std::atoll(line.c_str() + field.size() + 1) * 1024;
		}
	}
	return 0;
}

int measureMemory(const std::string &document, const std::string &name)
{
	const std::string text = makeDocument(document);
	for (const JsonParser &parser : jsonParsers())
	{
		if (parser.name != name)
		{
			continue;
		}
		// Making the text has peaked as well: the system is asked to count the peak anew.
		std::ofstream("/proc/self/clear_refs") << 5;
		const long long before = memoryOf("VmRSS");
		const std::shared_ptr<void> parsed = parser.parse(text);
		std::cout << memoryOf("VmHWM") - before << '\n';
		return parsed ? EXIT_SUCCESS : EXIT_FAILURE;
	}
	return EXIT_FAILURE;
}

} // namespace

int main(int argc, char **argv)
{
	const std::vector<std::string> arguments(argv + 1, argv + argc);
	if (arguments.size() == 3 && arguments[0] == "write")
	{
		return writeDocument(arguments[1], arguments[2]);
	}
	if (arguments.size() == 3 && arguments[0] == "time")
	{
		return timeParsers(arguments[1], std::atoi(arguments[2].c_str()));
	}
	if (arguments.size() == 3 && arguments[0] == "memory")
	{
		return measureMemory(arguments[1], arguments[2]);
	}
	std::cerr << "write DOCUMENT FILE | time DOCUMENT ROUNDS | memory DOCUMENT PARSER\n";
	return EXIT_FAILURE;
}
