// Measures path references, for bench/compare-references:
//   write FILE           writes the tree as JSON, for programs that are processes of their own
//   walk ROUNDS          walks the tree by each reference, so many times, and prints `REFERENCE SECONDS MATCHES` of processor time
//   paths                prints `WHAT SECONDS` of plain paths, and of long names under patterns that others take too long for
// The tree has 1,111,110 nodes below its root: maps of ten, six levels deep, Ints at the end. One key in ten is `x`.

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvParser/Reference/MrvOMAccessor.h"
#include "MrvParser/Task/MrvParseTask.h"
#include "MrvUtils/MrvRegularExpression.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iostream>
#include <string>

using namespace Mrv;

namespace
{
constexpr int LEVELS = 6;
constexpr std::array KEYS{"x", "y", "id", "name", "val1", "val2", "owner", "created", "description", "more"};
constexpr std::array REFERENCES{"count()/*.*/+.+", "count()/*.*/$^x$", "count()/+.+", "count()/*.*/$v.*1", "count()/*.*/$(x|y)$",
    "count()/*.*/<=name", "count()/{6}.", "name()/*.*/$^x$", "count()/*.*/select()/$^x$"};

void appendTree(std::string &text, int levels)
{
	text += '{';
	for (const char *key : KEYS)
	{
		text += text.back() == '{' ? "\"" : ",\"";
		text += key;
		text += "\":";
		if (levels > 1)
		{
			appendTree(text, levels - 1);
		}
		else
		{
			text += '1';
		}
	}
	text += '}';
}

std::string makeTree()
{
	std::string text;
	appendTree(text, LEVELS);
	return text;
}

double seconds(const std::function<void()> &work)
{
	const std::clock_t begin = std::clock();
	work();
	return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

OMAccessor parse(const std::string &text)
{
	auto node = OMStored::undefinedFactory();
	if (!ParseTask::call(node, text))
	{
		std::cerr << "the tree was refused\n";
		std::exit(EXIT_FAILURE);
	}
	return OMAccessor(node);
}

void walk(int rounds)
{
	const OMAccessor tree = parse(makeTree());
	for (const char *reference : REFERENCES)
	{
		for (int round = 0; round < rounds; ++round)
		{
			std::string found;
			const double taken = seconds(
			    [&] {
				    found = tree.getType(reference) == OMType::Int ? tree.getAsString(reference) : std::to_string(tree.getSize(reference));
			    });
			// The type was asked for by a walk of its own.
			std::cout << reference << ' ' << taken / 2 << ' ' << found << '\n';
		}
	}
}

void paths()
{
	const OMAccessor tree = parse(makeTree());
	constexpr int READS = 1'000'000;
	OMAccessor small;
	small.set("main/val1", OMInt{1});
	OMInt sum = 0;
	const auto read = [&sum](const OMAccessor &accessor, const char *path, int count)
	{
		return seconds(
		    [&]
		    {
			    const std::string text = path;
			    for (int index = 0; index < count; ++index)
			    {
				    sum += accessor.getInt(text);
			    }
		    });
	};
	std::cout << "main/val1,_1,000,000_times " << read(small, "main/val1", READS) << '\n';
	std::cout << "six_segments_in_the_tree,_1,000,000_times " << read(tree, "x/y/id/name/val1/val2", READS) << '\n';
	std::cout << "six_segments_in_the_tree,_1,000_times " << read(tree, "x/y/id/name/val1/val2", 1000) << '\n';
	std::cout << "main/count()/$v,_100,000_times " << read(small, "main/count()/$v", 100000) << '\n';
	for (const char *pattern : {"(a|b)*c", "(a+)+b"})
	{
		const std::string name(1 << 20, 'a');
		bool isFound = true;
		const double taken = seconds([&] { isFound = RegularExpression::compile(pattern)->search(name); });
		std::cout << pattern << "_in_1_MB " << taken << '\n';
		sum += isFound ? 1 : 0;
	}
	std::cerr << (sum > 0 ? "" : "nothing was read\n");
}
}

int main(int argc, char **argv)
{
	const std::vector<std::string> arguments(argv + 1, argv + argc);
	if (arguments.size() == 2 && arguments[0] == "write")
	{
		std::ofstream file(arguments[1], std::ios::binary);
		file << makeTree();
		file.close();
		return file ? EXIT_SUCCESS : EXIT_FAILURE;
	}
	if (!InternalCoordinator::init(0, nullptr))
	{
		return EXIT_FAILURE;
	}
	if (arguments.size() == 2 && arguments[0] == "walk")
	{
		walk(std::atoi(arguments[1].c_str()));
	}
	else if (arguments.size() == 1 && arguments[0] == "paths")
	{
		paths();
	}
	else
	{
		std::cerr << "write FILE | walk ROUNDS | paths\n";
		return EXIT_FAILURE;
	}
	InternalCoordinator::release();
	return EXIT_SUCCESS;
}
