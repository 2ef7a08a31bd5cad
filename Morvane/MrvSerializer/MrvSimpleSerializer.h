#pragma once

#include "MrvSerializer/MrvSerializer_abstract.h"

#include <memory>
#include <string>

namespace Mrv
{
class WireEscape;

// One line for each item: the text with control bytes, quotes and backslashes escaped, and a line feed. A GUID is its sectioned text, a
// null GUID an empty line.
class SimpleSerializer final : public Serializer_abstract
{
public:
	static const std::string TYPENAME;
	static std::shared_ptr<IObject> factory();
	static void deleter(SimpleSerializer *serializer);
	static bool registerDeregisterClass(RegisterDeregister registerDeregister);
	const std::string &getTypeName() const override { return TYPENAME; }

	bool startSerialize(std::ostream *stream) override;
	bool endSerialize() override;
	bool putGUID(GUIDClass *guid) override;
	bool putString(const std::string &text) override;
	// The text as it is, and a line feed.
	bool putRawString(const std::string &text);

	bool startDeserialize(std::istream *stream) override;
	bool endDeserialize() override;
	using Object::getGUID;
	GUIDClass *getGUID() override;
	std::string getString() override;
	// The next line without its line feed, as it is.
	std::string getRawString();
	bool isStringAvailable() override;
	bool atEnd() override;

private:
	// Null: as it is.
	bool putLine(const std::string &text, const WireEscape *escape);

	std::ostream *fpOutputStream = nullptr;
	std::istream *fpInputStream = nullptr;
	// Read ahead: a whole line, or the begin of one whose end hasn't come yet.
	std::string fLookAhead;
	bool fIsLineComplete = false;
};
}
