// Measures INI texts. `write FILE` makes a text of 10 MB; `time FILE ROUNDS` prints lines of an operation and its processor seconds.
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvIniFile.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <random>
#include <stdexcept>
#include <string>

using namespace Mrv;

namespace
{
constexpr std::size_t TEXT_SIZE = 10'000'000;
constexpr int KEYS_PER_SECTION = 100;

double processorSeconds()
{
	return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

template <typename Operation>
void measure(const char *name, Operation operation)
{
	const double begin = processorSeconds();
	const bool isOk = operation();
	std::printf("%s %.6f\n", name, processorSeconds() - begin);
	if (!isOk)
	{
		throw std::runtime_error(std::string(name) + " failed");
	}
}

// Sections of keys with texts and numbers as settings have them, half of them in quotes.
std::string makeText()
{
	std::mt19937_64 random{20240229};
	std::string text;
	for (int section = 0; text.size() < TEXT_SIZE; ++section)
	{
		text += "[section " + std::to_string(section) + "]\n# what it is for\n";
		for (int key = 0; key < KEYS_PER_SECTION; ++key)
		{
			text += "setting" + std::to_string(key) + " = ";
			const std::string word(10 + random() % 20, static_cast<char>('a' + random() % 26));
			text += key % 2 == 0 ? "\"" + word + "\"\n" : word + " " + std::to_string(random() % 1'000'000) + "\n";
		}
	}
	return text;
}

bool lookUpAll(const Ini &ini)
{
	std::size_t size = 0;
	for (const std::string &section : ini.getSections())
	{
		for (const std::string &key : ini.getEntryNames(section))
		{
			size += ini.getEntry(section, key).size();
		}
	}
	return size > TEXT_SIZE / 4;
}

int measureAll(const std::string &path, int rounds)
{
	std::string text;
	if (!Dirs::readFile(path, text, Ini::MAX_TEXT_SIZE))
	{
		return 1;
	}
	for (int round = 0; round < rounds; ++round)
	{
		Ini ini;
		measure("parse", [&] { return !(ini = Ini(text)).getSections().empty(); });
		measure("look-up", [&] { return lookUpAll(ini); });
		measure("text", [&] { return ini.toString().size() > TEXT_SIZE / 2; });
		IniFile file(path);
		IniFile copy(path + ".copy");
		measure("load", [&] { return file.parseFile(); });
		static_cast<Ini &>(copy) = file;
		measure("save", [&] { return copy.save(); });
	}
	return 0;
}
}

int main(int argc, char **argv)
{
	try
	{
		if (argc == 3 && std::strcmp(argv[1], "write") == 0)
		{
			return Dirs::replaceFile(argv[2], makeText()) ? 0 : 1;
		}
		if (argc == 4 && std::strcmp(argv[1], "time") == 0)
		{
			return measureAll(argv[2], std::stoi(argv[3]));
		}
	}
	catch (const std::exception &exception)
	{
		std::fprintf(stderr, "%s\n", exception.what());
		return 1;
	}
	std::fputs("usage: morvane-bench-ini write FILE | time FILE ROUNDS\n", stderr);
	return 2;
}
