// INI texts. An input is a section, a key and a value to set, each with a NUL behind it, and a text. What was read, changed or not, is the
// same when it is written and read again; every entry can be expanded.
#include "FuzzEnvironment.h"
#include "MrvUtils/MrvIni.h"

#include <cstdlib>

namespace
{
void require(bool condition)
{
	if (!condition)
	{
		std::abort();
	}
}

void requireRoundTrip(const Mrv::Ini &ini)
{
	const std::string text = ini.toString();
	const Mrv::Ini again(text);
	require(again == ini && again.hash() == ini.hash() && again.toString() == text);
}
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
	Mrv::Fuzz::prepare();
	return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	Mrv::Fuzz::Input input(data, size);
	const std::string changedSection = input.takeText();
	const std::string changedKey = input.takeText();
	const std::string value = input.takeText();
	Mrv::Ini ini{std::string(input.rest())};
	requireRoundTrip(ini);
	for (const std::string &section : ini.getSections())
	{
		for (const std::string &key : ini.getEntryNames(section))
		{
			const std::size_t count = ini.getEntryCount(section, key);
			require(ini.getEntry(section, key, count, "beyond") == "beyond" && ini.getEntryLine(section, key) > 0);
			const std::string raw = ini.getRawEntry(section, key);
			const bool hasReference = raw.find("${") != std::string::npos;
			require(hasReference || (ini.getRawResolvedEntry(section, key) == raw && ini.getResolvedEntries(section, key).size() == count));
		}
	}
	const Mrv::Ini before = ini;
	const bool isSet = ini.setEntry(changedSection, changedKey, 1, value);
	require(isSet || ini == before);
	requireRoundTrip(ini);
	static_cast<void>(ini.getResolvedValues(value));
	require(!isSet || ini.setEntry(changedSection, changedKey, Mrv::Ini::Values{}));
	requireRoundTrip(ini);
	return 0;
}
