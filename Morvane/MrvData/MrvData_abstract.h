#pragma once

#include "MrvData/MrvIData.h"
#include "MrvObject/MrvObject.h"

#include <memory>
#include <string>

namespace Mrv
{
// The base of everything that crosses a process boundary. Its serialized form is the type name and the content, item after item.
//
// DataClass.h has what the concrete classes share.
class Data_abstract : public Object, public virtual IData
{
public:
	bool serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer) override;

	// Writes type name and content.
	bool serialize(ISerializer &serializer) const;
	// The same for what may be null or no data at all: both are written as DataNull, so that an item is always there.
	static bool serialize(const std::shared_ptr<const IObject> &object, ISerializer &serializer);
	// Reads type name and content; of which class is for the text to say. Empty for DataNull, for a type that nobody knows, whose content
	// isn't read, and, with a log line, for content that can't be read.
	static std::shared_ptr<IObject> factoryFromTypePrefixedSerialized(const std::shared_ptr<IObject> &serializerObj);
	// The same where an empty result must be told apart: false when something was there that could not be read.
	static bool readTypePrefixed(ISerializer &serializer, std::shared_ptr<IObject> &object);

	// Through a serializer of the default kind, from and to a text. Empty on failure, also for a text with something left at its end.
	static std::string serializeToStr(const std::shared_ptr<const IObject> &object);
	static std::shared_ptr<IObject> deserializeFromStr(const std::string &text);

protected:
	// Fills an empty instance. False, with a log line, when that failed.
	static bool readContent(IData &data, const std::shared_ptr<IObject> &serializerObj);
};
}
