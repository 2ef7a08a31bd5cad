#include "MrvData/MrvData_abstract.h"

#include "MrvData/MrvDataNull.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvCast.h"
#include "MrvSerializer/MrvSerializer_abstract.h"

#include <algorithm>
#include <istream>
#include <ostream>
#include <streambuf>

namespace Mrv
{
namespace
{
// Reads a text where it is.
class TextBuffer final : public std::streambuf
{
public:
	explicit TextBuffer(const std::string &text)
	{
		char *begin = const_cast<char *>(text.data()); // the interface has no other; nothing is written
		setg(begin, begin, begin + text.size());
	}
};

// Writes to a string.
class StringBuffer final : public std::streambuf
{
public:
	std::string text;

protected:
	int_type overflow(int_type character) override
	{
		text += traits_type::to_char_type(character);
		return character;
	}
	std::streamsize xsputn(const char *bytes, std::streamsize size) override
	{
		const auto count = static_cast<std::size_t>(size);
		if (count > text.capacity() - text.size())
		{
			text.reserve(std::max(2 * text.capacity(), text.size() + count + 1)); // the line's end fits as well
		}
		text.append(bytes, count);
		return size;
	}
};

bool isNull(const std::shared_ptr<IObject> &object)
{
	return object && object->getTypeName() == DataNull::TYPENAME;
}
}

bool Data_abstract::serializeDeserializeContent(SerializeDeserialize, ISerializer &)
{
	return true;
}

bool Data_abstract::serialize(ISerializer &serializer) const
{
	SANITY_CHECK_AS(serializer.putString(getTypeName()), "serializer->putString(getTypeName())", return false);
	// Writing changes nothing; the one function serves both directions, so that they can't differ.
	return const_cast<Data_abstract *>(this)->serializeDeserializeContent(SerializeDeserialize::SERIALIZE, serializer);
}

bool Data_abstract::serialize(const std::shared_ptr<const IObject> &object, ISerializer &serializer)
{
	if (const auto *data = castTo<const Data_abstract>(object.get()))
	{
		return data->serialize(serializer);
	}
	return serializer.putString(DataNull::TYPENAME);
}

bool Data_abstract::readTypePrefixed(ISerializer &serializer, std::shared_ptr<IObject> &object)
{
	object = nullptr;
	SANITY_CHECK_AS(!serializer.atEnd(), "! serializer->atEnd()", return false);
	const ISerializer::NestingScope nesting(serializer);
	if (nesting.isTooDeep())
	{
		LOG_ERROR("nesting limit reached: deserialization");
		return false;
	}
	const std::string typeName = serializer.getString();
	if (const DeserializationFactoryWrapperClass factory = getDeserializationFactory(typeName))
	{
		object = factory.call(serializer.getSerializerObj());
		if (isNull(object))
		{
			object = nullptr;
			return true;
		}
		return object != nullptr;
	}
	// A type name of any length may have come.
	LOG_ERROR("wrapped deserialization factory for " + typeName.substr(0, 100) + " is null");
	if (const FactoryWrapperClass factory = getFactoryForForeignText(typeName))
	{
		object = factory.call();
		if (isNull(object))
		{
			object = nullptr;
		}
		return true;
	}
	return false;
}

std::shared_ptr<IObject> Data_abstract::factoryFromTypePrefixedSerialized(const std::shared_ptr<IObject> &serializerObj)
{
	ASSIGN_TYPED(ISerializer, serializer, serializerObj, return nullptr);
	std::shared_ptr<IObject> object;
	return readTypePrefixed(*serializer, object) ? object : nullptr;
}

bool Data_abstract::readContent(IData &data, const std::shared_ptr<IObject> &serializerObj)
{
	ASSIGN_TYPED(ISerializer, serializer, serializerObj, return false);
	if (!data.serializeDeserializeContent(SerializeDeserialize::DESERIALIZE, *serializer))
	{
		LOG_ERROR("cannot deserialize");
		return false;
	}
	return true;
}

std::string Data_abstract::serializeToStr(const std::shared_ptr<const IObject> &object)
{
	const std::shared_ptr<ISerializer> serializer = Serializer_abstract::defaultSerializerFactory();
	StringBuffer buffer;
	std::ostream stream(&buffer);
	SANITY_CHECK_AS(serializer->startSerialize(&stream), "serializer->startSerialize(&outputStream)", return {});
	SANITY_CHECK_AS(serialize(object, *serializer), "serialize(obj, serializerObj)", return {});
	SANITY_CHECK(serializer->endSerialize(), return {});
	return std::move(buffer.text);
}

std::shared_ptr<IObject> Data_abstract::deserializeFromStr(const std::string &text)
{
	const std::shared_ptr<ISerializer> serializer = Serializer_abstract::defaultSerializerFactory();
	TextBuffer buffer(text);
	std::istream stream(&buffer);
	SANITY_CHECK_AS(serializer->startDeserialize(&stream), "serializer->startDeserialize(&inputStream)", return nullptr);
	std::shared_ptr<IObject> object;
	const bool isRead = readTypePrefixed(*serializer, object);
	// What could not be read may have left anything behind; that has been told.
	SANITY_CHECK(serializer->endDeserialize() || !isRead, return nullptr);
	return object;
}
}
