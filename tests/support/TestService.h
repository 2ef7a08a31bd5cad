#pragma once

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvEvent/MrvEventListener.h"
#include "MrvEvent/MrvIEvent.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvService/MrvService_abstract.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Mrv::Test
{
// A service of any name. Counts its turns and keeps the messages it gets; what it does in a turn can be set.
class TestService final : public Service_abstract
{
public:
	static inline const std::string TYPENAME = "TestService";

	static std::shared_ptr<TestService> factory(
	    const std::string &name, const std::shared_ptr<IObject> &parent = nullptr, const std::string &serviceName = {})
	{
		std::shared_ptr<TestService> service(new TestService(name, serviceName.empty() ? name : serviceName),
		    [](TestService *object)
		    {
			    Object::deleter(object);
			    delete object;
		    });
		service->registerObjectID(service);
		service->attachToParent(parent);
		return service;
	}

	const std::string &getTypeName() const override { return TYPENAME; }
	const std::string &getName() const override { return fName; }
	const std::string &getServiceName() const override { return fServiceName; }
	bool receiveMessage(const std::shared_ptr<IObject> &messageObj) override
	{
		received.push_back(std::dynamic_pointer_cast<IMessage>(messageObj));
		return Service_abstract::receiveMessage(messageObj) && accepts;
	}
	void timeslice_yielding(const std::shared_ptr<Task> &task, bool &success) override
	{
		Service_abstract::timeslice_yielding(task, success);
		if (!task->isSuspended())
		{
			++turns;
			success = success && succeeds;
			if (onTurn)
			{
				onTurn();
			}
		}
	}

	std::vector<std::shared_ptr<IMessage>> received;
	bool accepts = true;
	bool succeeds = true;
	int turns = 0;
	std::function<void()> onTurn;

private:
	TestService(std::string name, std::string serviceName) : fName(std::move(name)), fServiceName(std::move(serviceName)) {}

	const std::string fName;
	const std::string fServiceName;
};

// Keeps the payloads of the events it hears; attached to a source for as long as it lives.
class TestListener final : public EventListener
{
public:
	static std::shared_ptr<TestListener> attach(EventSource &source, const std::string &eventName)
	{
		auto listener = std::make_shared<TestListener>();
		source.attachDetachEventHandler(AttachDetach::ATTACH, eventName, "1_test", listener);
		return listener;
	}
	bool handleEvent(const std::string &eventName, const std::shared_ptr<IObject> &eventObj) override
	{
		payloads.push_back(std::dynamic_pointer_cast<IEvent>(eventObj)->getPayloadObj());
		if (onEvent)
		{
			onEvent();
		}
		return EventListener::handleEvent(eventName, eventObj);
	}

	std::vector<std::shared_ptr<IObject>> payloads;
	std::function<void()> onEvent;
};

// So many passes of the event loop.
inline void runPasses(int count = 1)
{
	int passes = 0;
	InternalCoordinator::instance()->runEventLoop(-1, [&] { return passes++ == count; });
}
}
