// One test for each script below this folder, each example, and each piece of code in the documents.
#include "support/ScriptRun.h"
#include "support/SmallStack.h"

#include "MrvPlatform/MrvFileSystem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Mrv::Test
{
namespace
{
class ScriptTest : public testing::Test
{
public:
	ScriptTest(std::string name, std::string script, std::string path)
	    : fName(std::move(name)),
	      fScript(std::move(script)),
	      fPath(std::move(path))
	{
	}
	void TestBody() override { run(); }
	void run() const { runAndCheckScript(fName, fScript, fPath); }

private:
	std::string fName;
	std::string fScript;
	std::string fPath;
};

// The same on the stack that a host may give.
class SmallStackScriptTest : public ScriptTest
{
public:
	using ScriptTest::ScriptTest;
	void TestBody() override
	{
		runOnSmallStack([](const void *test) { static_cast<const SmallStackScriptTest *>(test)->run(); }, this);
	}
};

template <class Test = ScriptTest>
void add(const std::string &suite, const std::string &name, const std::string &script, const std::string &path)
{
	testing::RegisterTest(suite.c_str(), name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
	    [=]() -> testing::Test * { return new Test(suite + "/" + name, script, path); });
}

std::string identifier(std::string text)
{
	std::replace_if(
	    text.begin(), text.end(), [](char c) { return !((c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')); },
	    '_');
	return text;
}

std::vector<std::string> namesIn(const std::string &folder)
{
	std::vector<std::string> names;
	Platform::listDirectory(folder, names);
	std::sort(names.begin(), names.end());
	return names;
}

bool endsWith(const std::string &text, const std::string &end)
{
	return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

template <class Test = ScriptTest>
void addScripts(const std::string &suite, const std::string &folder)
{
	for (const std::string &name : namesIn(folder))
	{
		// A script whose name begins with `_` is a helper of others.
		if (endsWith(name, ".msl") && name[0] != '_')
		{
			const std::string path = std::string(folder).append("/").append(name);
			add<Test>(suite, identifier(name.substr(0, name.size() - 4)), readWholeFile(path), path);
		}
	}
}

// The pieces of a document fenced as ```msl; each is a script of its own.
void addDocument(const std::string &name, const std::string &path)
{
	const std::string text = readWholeFile(path);
	const std::string begin = "```msl\n";
	int count = 0;
	for (size_t at = text.find(begin); at != std::string::npos; at = text.find(begin, at))
	{
		at += begin.size();
		const size_t end = std::min(text.find("```", at), text.size());
		const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n') + 1;
		add("Document_" + identifier(name), "Piece" + std::to_string(++count) + "_line" + std::to_string(line), text.substr(at, end - at),
		    {});
		at = end;
	}
}

const bool isRegistered = []
{
	for (const std::string &area : namesIn(MORVANE_SCRIPT_TESTS))
	{
		if (area.find('.') == std::string::npos)
		{
			addScripts("Script_" + identifier(area), std::string(MORVANE_SCRIPT_TESTS) + "/" + area);
		}
	}
	addScripts<SmallStackScriptTest>("SmallStack_limits", std::string(MORVANE_SCRIPT_TESTS) + "/limits");
	addScripts("Example", MORVANE_EXAMPLES);
	for (const std::string &name : namesIn(MORVANE_DOCS))
	{
		if (endsWith(name, ".md"))
		{
			addDocument(name.substr(0, name.size() - 3), std::string(MORVANE_DOCS).append("/").append(name));
		}
	}
	addDocument("front_page", std::string(MORVANE_DOCS) + "/../README.md");
	return true;
}();
}
}
