#include "MrvAddress/MrvInternalAddress.h"
#include "MrvEvent/MrvEvent.h"
#include "MrvService/MrvServiceNull.h"
#include "support/CoordinatorStart.h"
#include "support/MrvTestCoordinator.h"
#include "support/TestLog.h"
#include "support/TestService.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Mrv::Test
{
namespace
{
// An event that is not ready until somebody says so.
class LateEvent final : public Object, public IEvent
{
public:
	static std::shared_ptr<LateEvent> factory()
	{
		auto event = std::make_shared<LateEvent>();
		return event;
	}
	const std::string &getTypeName() const override { return Event::TYPENAME; }
	bool serializeDeserializeContent(SerializeDeserialize, ISerializer &) override { return false; }
	bool isReady() const override { return ready; }
	const std::string &getName() const override { return fName; }
	const std::shared_ptr<IObject> &getPayloadObj() const override { return fPayloadObj; }
	void setPayloadObj(const std::shared_ptr<IObject> &payloadObj) override { fPayloadObj = payloadObj; }
	EventSource *getEventSource() const override { return nullptr; }
	void setEventSource(EventSource *) override {}
	bool wasRootListenerCalled() const override { return true; }
	void setWasRootListenerCalled(bool) override {}
	void reset() override {}

	bool ready = false;

private:
	const std::string fName = "late";
	std::shared_ptr<IObject> fPayloadObj;
};

// In both modes: plain, and with every step suspended.
class ServiceTreeTest : public testing::TestWithParam<bool>
{
protected:
	ServiceTreeTest() { setTestLogLevel(2); }

	static std::shared_ptr<InternalCoordinator> root() { return InternalCoordinator::instance(); }
	static std::vector<std::string> childNames()
	{
		std::vector<std::string> names;
		for (const auto &child : root()->getChildList())
		{
			names.push_back(child->getName());
		}
		return names;
	}

	const AlwaysYield fMode{GetParam()};
	const CoordinatorStart fCoordinator;
};

std::string modeName(const testing::TestParamInfo<bool> &info)
{
	return info.param ? "AlwaysYielding" : "Plain";
}
}

INSTANTIATE_TEST_SUITE_P(Modes, ServiceTreeTest, testing::Bool(), modeName);

TEST_P(ServiceTreeTest, AServiceHasOneParentAndOnePlace)
{
	const std::vector<std::string> builtIn{
	    "net.morvane.service.null", "net.morvane.service.ping", "net.morvane.service.log", "sample.test", "default"};
	EXPECT_EQ(childNames(), builtIn);
	EXPECT_EQ(ServiceNull::factory(), ServiceNull::factory());
	const auto parent = TestService::factory("parent", root());
	const auto child = TestService::factory("child", parent);
	EXPECT_TRUE(child->attachToParent(parent));
	EXPECT_TRUE(parent->attachChildObj(child));
	EXPECT_EQ(parent->getChildList().size(), 1U);
	EXPECT_EQ(child->getParent(), parent);

	EXPECT_FALSE(root()->attachChildObj(child));
	EXPECT_LOG("child of different parent");
	EXPECT_FALSE(root()->ownsChild(child));
	EXPECT_TRUE(parent->ownsChild(child));
	EXPECT_FALSE(root()->detachChildObj(child));
	EXPECT_LOG("ownsChild(childObj)");

	const auto other = TestService::factory("other");
	EXPECT_TRUE(other->attachToParent(nullptr));
	EXPECT_TRUE(other->attachToParent(Message::factory()));
	EXPECT_FALSE(other->getParent());
	EXPECT_FALSE(other->detachFromParent());
	EXPECT_LOG("parent->ownsChild(thisObj)");
	EXPECT_FALSE(other->attachChildObj(root()));
	EXPECT_LOG("cannot attach coordinator");
	EXPECT_FALSE(other->detachChildObj(root()));
	EXPECT_LOG("cannot detach coordinator");
	EXPECT_TRUE(root()->attachToParent(other));
	EXPECT_TRUE(other->getChildList().empty());
	EXPECT_TRUE(child->attachChildObj(other));
	EXPECT_TRUE(parent->detachFromParent());
	EXPECT_FALSE(parent->attachToParent(other)); // which is below it
	EXPECT_LOG("isBelow");
	EXPECT_FALSE(parent->attachToParent(parent));
	EXPECT_LOG("isBelow");
	EXPECT_TRUE(parent->attachToParent(root()));

	EXPECT_TRUE(parent->deregisterObject());
	EXPECT_FALSE(child->getParent());
	EXPECT_TRUE(other->getParent() == child);
}

TEST_P(ServiceTreeTest, IndicesCountNamesakesInTheOrderOfAttaching)
{
	const auto first = TestService::factory("twin", root());
	auto second = TestService::factory("twin", root());
	EXPECT_EQ(first->getIndexInNameMap(), 0);
	EXPECT_EQ(root()->getChildIndexInNameMap(second), 1);
	EXPECT_EQ(root()->getIndexInNameMap(), IService::NO_INDEX);
	EXPECT_EQ(root()->getChildCountByName("twin"), 2U);
	EXPECT_EQ(root()->getChildCountByName("nobody"), 0U);

	// A GUID changes no place, and the tree may be the only one that holds the service.
	const std::weak_ptr<TestService> watched = second;
	second->createGUID();
	second = nullptr;
	EXPECT_TRUE(first->createGUID());
	EXPECT_EQ(root()->getChildByNameIndex("twin", 1), watched.lock());
	EXPECT_EQ(root()->getChildrenByName("twin").front(), first);
	EXPECT_FALSE(root()->getChildByNameIndex("twin", 2));
	EXPECT_FALSE(root()->getChildByNameIndex("twin", UINT64_MAX));

	EXPECT_TRUE(first->detachFromParent());
	EXPECT_EQ(first->getIndexInNameMap(), IService::NO_INDEX);
	EXPECT_EQ(watched.lock()->getIndexInNameMap(), 0);
	EXPECT_TRUE(first->attachToParent(root()));
	EXPECT_EQ(first->getIndexInNameMap(), 1);
	EXPECT_FALSE(root()->resolveAddress(InternalAddress::factoryFromIndices("net.morvane.service.null/1")));
	EXPECT_TRUE(root()->resolveAddress(InternalAddress::factoryFromIndices("net.morvane.service.null/0")));
}

TEST_P(ServiceTreeTest, ANameThatNobodyHasIsThatOfAKind)
{
	const std::string kind = "net.morvane.service.kind";
	const auto sample = TestService::factory("sample", root(), kind);
	const auto standard = TestService::factory("default", root(), kind);
	EXPECT_EQ(root()->getChildByNameIndex("sample", 0), sample);
	EXPECT_EQ(root()->getChildByNameIndex("default", 1), standard); // behind the built-in one
	EXPECT_EQ(root()->getChildByNameIndex(kind, 0), standard);
	EXPECT_EQ(root()->getChildByNameIndex(kind, 1), sample);
	EXPECT_FALSE(root()->getChildByNameIndex(kind, 2));
	const auto itself = TestService::factory(kind, root());
	EXPECT_EQ(root()->getChildByNameIndex(kind, 0), itself);
	EXPECT_FALSE(root()->getChildByNameIndex(kind, 1));
}

TEST_P(ServiceTreeTest, AGUIDNeedsAParent)
{
	const auto service = TestService::factory("service");
	EXPECT_FALSE(service->createGUID());
	EXPECT_LOG("no parent");
	EXPECT_TRUE(service->attachToParent(root()));
	GUIDClass *guid = service->createGUID();
	ASSERT_TRUE(guid);
	EXPECT_EQ(service->createGUID(), guid);
	EXPECT_TRUE(root()->ownsChild(service));
	const auto address = std::dynamic_pointer_cast<const IGUIDAddress>(service->getAddressObj());
	ASSERT_TRUE(address);
	EXPECT_EQ(address->getAddressedGUID(), guid);
	EXPECT_EQ(address->getUpstreamCoordinatorGUID(), root()->getGUID());
	EXPECT_EQ(root()->resolveAddress(service->getAddressObj()), service);
	EXPECT_EQ(service->getAddress(), service->getAddressObj());
	EXPECT_TRUE(service->deregisterObject());
	EXPECT_FALSE(root()->ownsChild(service));
	EXPECT_FALSE(Object::getRegisteredObject(guid));
}

TEST_P(ServiceTreeTest, QueuedEventsAreFiredInTheNextTurn)
{
	const auto service = TestService::factory("service", root());
	EXPECT_FALSE(service->queueEvent(service));
	EXPECT_LOG("IEvent event = eventObj;");
	const auto listener = TestListener::attach(*service, "something");
	listener->onEvent = [&]
	{
		if (listener->payloads.size() == 1)
		{
			service->queueEvent(Event::factoryFromNamePayload("something", service));
		}
	};
	EXPECT_TRUE(root()->isIdle());
	service->queueEvent(Event::factoryFromNamePayload("something", nullptr));
	service->queueEvent(Event::factoryFromNamePayload("nobody listens", nullptr));
	EXPECT_FALSE(root()->isIdle());
	runPasses();
	EXPECT_TRUE(service->isBusy());
	EXPECT_EQ(listener->payloads.size(), 1U);
	EXPECT_FALSE(root()->isIdle());
	runPasses(2);
	EXPECT_EQ(listener->payloads.size(), 2U);
	runPasses();
	EXPECT_TRUE(root()->isIdle());
	EXPECT_FALSE(service->isBusy());

	const auto lateListener = TestListener::attach(*service, "late");
	const auto late = LateEvent::factory();
	service->queueEvent(late);
	runPasses(3);
	EXPECT_TRUE(lateListener->payloads.empty());
	EXPECT_FALSE(root()->isIdle());
	late->ready = true;
	runPasses(2);
	EXPECT_EQ(lateListener->payloads.size(), 1U);
	EXPECT_TRUE(root()->isIdle());
}

TEST_P(ServiceTreeTest, ChildrenHaveTheirTurnsFromTheLastToTheFirst)
{
	std::string order;
	const auto first = TestService::factory("first", root());
	auto second = TestService::factory("second", first);
	const auto third = TestService::factory("third", root());
	std::shared_ptr<TestService> late;
	first->onTurn = [&] { order += '1'; };
	second->onTurn = [&] { order += '2'; };
	third->onTurn = [&] { order += '3'; };
	runPasses();
	EXPECT_EQ(order, "321");

	// One that comes meanwhile waits for the next pass, one that goes meanwhile is passed over.
	order.clear();
	third->onTurn = [&]
	{
		order += '3';
		if (!late)
		{
			late = TestService::factory("late", root());
			late->onTurn = [&] { order += '4'; };
			second->detachFromParent();
			second = nullptr;
		}
	};
	runPasses();
	EXPECT_EQ(order, "31");
	order.clear();
	runPasses();
	EXPECT_EQ(order, "431");

	// One that fails is told of, and holds up nobody.
	third->succeeds = false;
	runPasses();
	EXPECT_LOG("SANITY_CHECK failed: 'success' evaluates to false");
	EXPECT_LOG("EXPECTED failed: 'result' evaluates to false");
	EXPECT_EQ(first->turns, 4);
}

TEST_P(ServiceTreeTest, AServiceThatDiesInTheMiddleOfItsTurnIsPassedOver)
{
	auto dying = TestService::factory("dying", root());
	const auto child = TestService::factory("child", dying);
	const auto listener = TestListener::attach(*child, "event");
	child->queueEvent(Event::factoryFromNamePayload("event", nullptr));
	listener->onEvent = [&]
	{
		// The turn of the parent is unfinished now, and suspended when the handler returns.
		dying->detachFromParent();
		dying = nullptr;
	};
	runPasses();
	EXPECT_EQ(listener->payloads.size(), 1U);
	const int turns = child->turns;
	runPasses(2);
	EXPECT_EQ(child->turns, turns);
	EXPECT_FALSE(InternalCoordinator::isTerminating());
	EXPECT_TRUE(logLines().empty());
}

TEST_P(ServiceTreeTest, TheTreeGoesWithTheCoordinator)
{
	const std::weak_ptr<IObject> null = ServiceNull::factory();
	auto service = TestService::factory("service", root());
	const std::weak_ptr<IObject> grandChild = TestService::factory("grandchild", service);
	CoordinatorStart::release();
	EXPECT_TRUE(null.expired());
	EXPECT_FALSE(ServiceNull::factory());
	EXPECT_LOG("internalCoordinator");
	EXPECT_FALSE(service->getParent());
	EXPECT_FALSE(service->getAddressObj());
	takeLogLines();
	service = nullptr;
	EXPECT_TRUE(grandChild.expired());
}
}
