#pragma once

#include "MrvHostInterface.h"
#include "MrvPlatform/MrvSharedLibrary.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace Mrv::Test
{
// The external object as a host uses it, loaded at run time: verbs over its exports.
class HostLibrary
{
public:
	explicit HostLibrary(const std::string &path) : fLibrary(path) { EXPECT_TRUE(fLibrary.isLoaded()) << path << fLibrary.getRefusal(); }

	using Export = int32_t(TaggedData *argv, int32_t argc, TaggedData *retval);

	static TaggedData textOf(const std::string &text)
	{
		TaggedData value{};
		value.data.string = const_cast<char *>(text.c_str());
		value.type = MRV_HOST_STRING;
		return value;
	}
	// Calls an export with texts; the result is left in fResult.
	int32_t call(const char *name, const std::vector<std::string> &arguments = {})
	{
		auto *function = fLibrary.find<Export>(name);
		if (!function)
		{
			ADD_FAILURE() << "not exported: " << name;
			return -1;
		}
		std::vector<TaggedData> argv;
		argv.reserve(arguments.size());
		for (const std::string &argument : arguments)
		{
			argv.push_back(textOf(argument));
		}
		fResult = TaggedData{};
		return function(argv.data(), static_cast<int32_t>(argv.size()), &fResult);
	}
	// What an export without arguments gives as a text, freed as a host does.
	std::string text(const char *name)
	{
		EXPECT_EQ(call(name), MRV_HOST_OK);
		std::string taken;
		if (fResult.type == MRV_HOST_STRING)
		{
			taken = fResult.data.string;
			fLibrary.find<void(void *)>("ESFreeMem")(fResult.data.string);
		}
		return taken;
	}
	uint32_t count(const char *name)
	{
		EXPECT_EQ(call(name), MRV_HOST_OK);
		return fResult.type == MRV_HOST_UNSIGNED ? fResult.data.uintval : 0;
	}
	// Gives slices until a queue has something.
	bool waitFor(const char *sizeName)
	{
		const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
		while (count(sizeName) == 0 && std::chrono::steady_clock::now() < end)
		{
			call("mrvTimeslice");
		}
		return count(sizeName) > 0;
	}
	// Asks this process's coordinator to run a script, as a script of the host does.
	void ask(const std::string &script)
	{
		call("mrvRelayHostMessage",
		    {"far", "Message\nRemoteResolvedAddress\n00112233-4455-6677-8899-AABBCCDDEEFF\n00112233-4455-6677-8899-AABBCCDDEE00\n\nfar\n"
		            "InternalAddress\nnet.morvane.service.objectmodel/0\n12\n{clientSequenceNr: 1, script: \\\"" +
		                script + "\\\"}"});
	}
	std::string answer()
	{
		if (!waitFor("mrvGetHostMessageQueueSize"))
		{
			return "no answer";
		}
		EXPECT_EQ(text("mrvGetHostMessageTargetHost"), "far");
		std::string message = text("mrvGetHostMessage");
		call("mrvAdvanceHostMessageQueue");
		return message;
	}
	std::string logText()
	{
		std::string lines;
		while (count("mrvGetLogMessageQueueSize") > 0)
		{
			lines += text("mrvGetLogMessage") + "\n";
			call("mrvAdvanceLogMessageQueue");
		}
		return lines;
	}

	Platform::SharedLibrary fLibrary;
	TaggedData fResult{};
};
}
