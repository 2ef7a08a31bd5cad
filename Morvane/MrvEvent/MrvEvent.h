#pragma once

#include "MrvData/MrvDataClass.h"
#include "MrvEvent/MrvIEvent.h"

#include <memory>
#include <string>

namespace Mrv
{
// A name and a payload. Its serialized form is these two.
class Event final : public DataClass<Event>, public IEvent
{
public:
	static const std::string TYPENAME;
	// Empty, with a log line, for an empty name.
	static std::shared_ptr<IObject> factoryFromNamePayload(const std::string &name, const std::shared_ptr<IObject> &payloadObj);

	bool isReady() const override { return true; }
	const std::string &getName() const override { return fName; }
	const std::shared_ptr<IObject> &getPayloadObj() const override { return fPayloadObj; }
	void setPayloadObj(const std::shared_ptr<IObject> &payloadObj) override { fPayloadObj = payloadObj; }
	EventSource *getEventSource() const override { return fEventSource; }
	void setEventSource(EventSource *eventSource) override { fEventSource = eventSource; }
	bool wasRootListenerCalled() const override { return fWasRootListenerCalled; }
	void setWasRootListenerCalled(bool wasCalled) override { fWasRootListenerCalled = wasCalled; }
	void reset() override;

	bool serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer) override;
	// By name and payload.
	bool operator==(const IObject &other) const override;

private:
	friend class DataClass<Event>;
	Event() = default;
	Event(const std::string &name, const std::shared_ptr<IObject> &payloadObj) : fName(name), fPayloadObj(payloadObj) {}

	std::string fName;
	std::shared_ptr<IObject> fPayloadObj;
	EventSource *fEventSource = nullptr;
	bool fWasRootListenerCalled = false;
};
}
