#pragma once

#include "MrvObject/MrvGUIDClass.h"
#include "MrvObject/MrvIObject.h"

#include <iosfwd>
#include <memory>
#include <string>

namespace Mrv
{
enum class SerializeDeserialize
{
	SERIALIZE = 0,
	DESERIALIZE = 1,
};

// Writes and reads the items that data objects are made of, in one order: the order is the whole schema. Streams are borrowed, one in each
// direction at a time. Failures are false or empty, with a log line.
class ISerializer
{
public:
	virtual ~ISerializer() = default;

	// This serializer as what the factories of data objects take.
	virtual std::shared_ptr<IObject> getSerializerObj() = 0;

	virtual bool startSerialize(std::ostream *stream) = 0;
	virtual bool endSerialize() = 0;
	// A null GUID is an item as well.
	virtual bool putGUID(GUIDClass *guid) = 0;
	virtual bool putString(const std::string &text) = 0;

	virtual bool startDeserialize(std::istream *stream) = 0;
	// False, with the stream given up all the same, when something is left unread.
	virtual bool endDeserialize() = 0;
	// Null for a null GUID, and for text that is no GUID.
	virtual GUIDClass *getGUID() = 0;
	// Empty when no whole item is there.
	virtual std::string getString() = 0;
	// Whether a whole item can be read.
	virtual bool isStringAvailable() = 0;
	virtual bool atEnd() = 0;

	// How many objects are being read, one within the other.
	class NestingScope
	{
	public:
		explicit NestingScope(ISerializer &serializer) : fSerializer(serializer) { ++fSerializer.fNesting; }
		~NestingScope() { --fSerializer.fNesting; }
		NestingScope(const NestingScope &) = delete;
		NestingScope &operator=(const NestingScope &) = delete;
		bool isTooDeep() const;

	private:
		ISerializer &fSerializer;
	};

protected:
	ISerializer() = default;
	ISerializer(const ISerializer &) = default;
	ISerializer &operator=(const ISerializer &) = default;

private:
	unsigned fNesting = 0;
};
}
