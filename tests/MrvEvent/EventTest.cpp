#include "MrvEvent/MrvEventSource.h"
#include "support/RoutingCoordinator.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <functional>

namespace Mrv::Test
{
namespace
{
class Listener final : public EventListener
{
public:
	bool handleEvent(const std::string &eventName, const std::shared_ptr<IObject> &eventObj) override
	{
		++calls;
		lastSource = std::dynamic_pointer_cast<IEvent>(eventObj)->getEventSource();
		if (onCall)
		{
			onCall();
		}
		return (!callsRoot || EventListener::handleEvent(eventName, eventObj)) && result;
	}

	int calls = 0;
	bool callsRoot = true;
	bool result = true;
	EventSource *lastSource = nullptr;
	std::function<void()> onCall;
};

class EventTest : public testing::Test
{
protected:
	bool attach(const std::string &name, const std::string &id, const std::shared_ptr<Listener> &listener)
	{
		return fSource.attachDetachEventHandler(AttachDetach::ATTACH, name, id, listener);
	}
	bool detach(const std::string &name, const std::string &id)
	{
		return fSource.attachDetachEventHandler(AttachDetach::DETACH, name, id, nullptr);
	}
	bool fire(const std::string &name) { return fSource.fireEvent(Event::factoryFromNamePayload(name, nullptr)); }

	RoutingCoordinator fCoordinator;
	EventSource fSource;
	std::shared_ptr<Listener> fFirst = std::make_shared<Listener>();
	std::shared_ptr<Listener> fSecond = std::make_shared<Listener>();
};
}

TEST_F(EventTest, ListenersOfTheNameAreTold)
{
	EXPECT_TRUE(fire("nobody listens"));
	EXPECT_TRUE(attach("a", "1_x", fFirst));
	EXPECT_TRUE(attach("b", "1_x", fSecond));
	EXPECT_FALSE(attach("a", "1_x", fSecond));
	EXPECT_LOG("SANITY_CHECK failed: 'eventListenerIter == eventListenerMap->end()' evaluates to false");
	EXPECT_TRUE(fire("a"));
	EXPECT_EQ(fFirst->calls, 1);
	EXPECT_EQ(fSecond->calls, 0);
	EXPECT_EQ(fFirst->lastSource, &fSource);
	EXPECT_FALSE(fSource.fireEvent(DataString::factory()));
	EXPECT_LOG("ASSIGN_TYPED failed");
}

TEST_F(EventTest, OneThatFailsOrDiesKeepsNobodyFromHearing)
{
	const auto third = std::make_shared<Listener>();
	attach("a", "1", fFirst);
	attach("a", "2", fSecond);
	attach("a", "3", third);
	fFirst->result = false;
	third->callsRoot = false;
	EXPECT_FALSE(fire("a"));
	EXPECT_LOG("handleEvent failed");
	EXPECT_LOG("EXPECTED failed: 'event->wasRootListenerCalled()' evaluates to false");
	EXPECT_EQ(fFirst->calls + fSecond->calls + third->calls, 3);
	fFirst = nullptr;
	third->callsRoot = true;
	EXPECT_TRUE(fire("a"));
	EXPECT_TRUE(detach("a", "1")) << "a dead one stays entered";
	fSecond->onCall = [&]
	{
		detach("a", "2");
		detach("a", "3");
	};
	third->onCall = fSecond->onCall;
	EXPECT_TRUE(fire("a"));
	EXPECT_EQ(fSecond->calls + third->calls, 6) << "who is detached meanwhile is still told";
	takeLogLines();
}

TEST_F(EventTest, WhatIsNotAttachedCannotBeDetached)
{
	EXPECT_FALSE(detach("a", "1"));
	EXPECT_LOG("SANITY_CHECK failed: 'fEventNameMap' evaluates to false");
	attach("a", "1", fFirst);
	attach("b", "1", fFirst);
	EXPECT_FALSE(detach("a", "2"));
	EXPECT_LOG("SANITY_CHECK failed: 'eventHandlerEntryIter != eventListenerMap->end()' evaluates to false");
	EXPECT_TRUE(detach("a", "1"));
	EXPECT_FALSE(detach("a", "1"));
	EXPECT_LOG("SANITY_CHECK failed: 'eventNameIter != fEventNameMap->end()' evaluates to false");
}

TEST_F(EventTest, EventsAreData)
{
	const auto event = Event::factoryFromNamePayload("name", DataString::factoryFromString("p"));
	EXPECT_EQ(Data_abstract::serializeToStr(event), "Event\nname\nDataString\np\n");
	EXPECT_EQ(*Data_abstract::deserializeFromStr("Event\nname\nDataString\np\n"), *event);
	EXPECT_FALSE(Event::factoryFromNamePayload("", nullptr));
	EXPECT_LOG("SANITY_CHECK failed: '! fName.empty()' evaluates to false");
	EXPECT_FALSE(Data_abstract::deserializeFromStr("Event\n\nDataNull\n"));
	EXPECT_LOG("SANITY_CHECK failed: '! fName.empty()' evaluates to false");
	takeLogLines();
}
}
