#include "MrvSerializer/MrvSimpleSerializer.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Mrv::Test
{
namespace
{
std::string write(const std::string &text)
{
	SimpleSerializer serializer;
	std::ostringstream stream;
	EXPECT_TRUE(serializer.startSerialize(&stream));
	EXPECT_TRUE(serializer.putString(text));
	EXPECT_TRUE(serializer.endSerialize());
	return stream.str();
}

std::string read(const std::string &bytes)
{
	SimpleSerializer serializer;
	std::istringstream stream(bytes);
	EXPECT_TRUE(serializer.startDeserialize(&stream));
	std::string text = serializer.getString();
	EXPECT_TRUE(serializer.endDeserialize());
	return text;
}
}

TEST(SimpleSerializerTest, EachByteHasItsFormAndComesBack)
{
	EXPECT_EQ(write("a\"'\\b\n\r\t\x7F\xC3\xA4"), "a\\\"\\'\\\\b\\n\\r\\t\x7F\xC3\xA4\n");
	std::string controls;
	for (int byte = 0; byte < 32; ++byte)
	{
		controls += static_cast<char>(byte);
	}
	EXPECT_EQ(write(controls), "\\z\\S\\s\\e\\E\\T\\A\\b\\<\\t\\n\\V\\f\\r\\O\\I\\L\\1\\2\\3\\4\\K\\Y\\P\\D\\R\\C\\!\\U\\F\\W\\X\n");
	std::string all;
	for (int byte = 0; byte < 256; ++byte)
	{
		all += static_cast<char>(byte);
	}
	EXPECT_EQ(read(write(all)), all);
	EXPECT_EQ(read(write("")), "");
	EXPECT_EQ(read("\\q\\a\\\n"), "qa") << "an unknown escape is the character, a last backslash nothing";
}

TEST(SimpleSerializerTest, ALineIsThereWhenItsEndIs)
{
	SimpleSerializer serializer;
	std::stringstream stream("one\ntw", std::ios::in | std::ios::out | std::ios::ate);
	ASSERT_TRUE(serializer.startDeserialize(&stream));
	EXPECT_FALSE(serializer.atEnd());
	EXPECT_TRUE(serializer.isStringAvailable());
	EXPECT_TRUE(serializer.isStringAvailable()) << "asking again reads nothing";
	EXPECT_EQ(serializer.getString(), "one");
	EXPECT_FALSE(serializer.isStringAvailable());
	EXPECT_EQ(serializer.getString(), "") << "an unterminated line isn't given";
	stream << "o\nrest";
	EXPECT_EQ(serializer.getString(), "two") << "nor is what was read of it lost";
	EXPECT_FALSE(serializer.endDeserialize());
	EXPECT_LOG("not at inputStream.eof()");
	EXPECT_FALSE(serializer.isStringAvailable());
	EXPECT_LOG("SANITY_CHECK failed: 'fpInputStream' evaluates to false");

	std::stringstream line("whole\n");
	ASSERT_TRUE(serializer.startDeserialize(&line));
	EXPECT_TRUE(serializer.isStringAvailable());
	EXPECT_FALSE(serializer.atEnd()) << "a line that was read ahead is still to come";
	EXPECT_EQ(serializer.getString(), "whole");
	EXPECT_TRUE(serializer.endDeserialize());
}

TEST(SimpleSerializerTest, StreamsAndGUIDs)
{
	SimpleSerializer serializer;
	EXPECT_FALSE(serializer.startSerialize(nullptr));
	EXPECT_LOG("SANITY_CHECK failed: 'pOutputStream' evaluates to false");
	EXPECT_FALSE(serializer.putString("x"));
	EXPECT_LOG("SANITY_CHECK failed: 'fpOutputStream' evaluates to false");
	EXPECT_LOG("failed to write str");
	std::stringstream stream;
	EXPECT_TRUE(serializer.startSerialize(&stream));
	EXPECT_FALSE(serializer.startSerialize(&stream));
	EXPECT_LOG("SANITY_CHECK failed: '! fpOutputStream' evaluates to false");
	GUIDClass *guid = GUIDClass::randomFactory();
	EXPECT_TRUE(serializer.putGUID(guid));
	EXPECT_TRUE(serializer.putGUID(nullptr));
	EXPECT_TRUE(serializer.putString("no guid"));
	EXPECT_EQ(stream.str(), guid->toSectionedString() + "\n\nno guid\n");
	EXPECT_TRUE(serializer.startDeserialize(&stream));
	EXPECT_FALSE(serializer.startDeserialize(&stream));
	EXPECT_LOG("SANITY_CHECK failed: '! fpInputStream' evaluates to false");
	EXPECT_EQ(serializer.getGUID(), guid);
	EXPECT_EQ(serializer.getGUID(), nullptr);
	EXPECT_EQ(serializer.getGUID(), nullptr) << "what is no GUID isn't made one";
	EXPECT_TRUE(serializer.endDeserialize());
}
}
