#include "MrvEvent/MrvEvent.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvCast.h"

namespace Mrv
{
const std::string Event::TYPENAME = "Event";

std::shared_ptr<IObject> Event::factoryFromNamePayload(const std::string &name, const std::shared_ptr<IObject> &payloadObj)
{
	SANITY_CHECK_AS(!name.empty(), "! fName.empty()", return nullptr);
	return make(name, payloadObj);
}

void Event::reset()
{
	fEventSource = nullptr;
	fWasRootListenerCalled = false;
}

bool Event::serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer)
{
	SANITY_CHECK_AS(Data_abstract::serializeDeserializeContent(mode, serializer),
	    "Data_abstract::serializeDeserializeContent(serializeDeserialize, serializerObj)", return false);
	switch (mode)
	{
		case SerializeDeserialize::SERIALIZE:
			SANITY_CHECK_AS(!fName.empty(), "! fName.empty()", return false);
			return serializer.putString(fName) && Data_abstract::serialize(fPayloadObj, serializer);
		case SerializeDeserialize::DESERIALIZE:
			SANITY_CHECK_AS(!serializer.atEnd(), "! serializer->atEnd()", return false);
			fName = serializer.getString();
			SANITY_CHECK_AS(!fName.empty(), "! fName.empty()", return false);
			return readTypePrefixed(serializer, fPayloadObj);
	}
	LOG_ERROR("no serializeDeserialize");
	return false;
}

bool Event::operator==(const IObject &other) const
{
	const auto *event = castTo<const Event>(&other);
	return event && fName == event->fName &&
	       (fPayloadObj && event->fPayloadObj ? *fPayloadObj == *event->fPayloadObj : fPayloadObj == event->fPayloadObj);
}
}
