#pragma once

#include "MrvObject/MrvHash.h"
#include "MrvObject/MrvObject.h"
#include "MrvService/MrvIService.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Mrv
{
// The base of all services: a place in the tree, an address, a queue of events, a turn in each pass.
class Service_abstract : public Object, public IService, public EventSource
{
public:
	const std::string &getServiceName() const override { return getName(); }

	std::vector<std::shared_ptr<IService>> getChildList() const override;
	std::shared_ptr<IService> getParent() const override { return fParent.lock(); }
	bool attachToParent(const std::shared_ptr<IObject> &parentObj) override;
	bool detachFromParent() override;
	bool attachChildObj(const std::shared_ptr<IObject> &childObj) override;
	bool detachChildObj(const std::shared_ptr<IObject> &childObj) override;
	bool ownsChild(const std::shared_ptr<const IObject> &childObj) const override;
	int32_t getIndexInNameMap() const override;
	int32_t getChildIndexInNameMap(const std::shared_ptr<const IObject> &childObj) const override;
	std::size_t getChildCountByName(std::string_view name) const override;
	std::vector<std::shared_ptr<IService>> getChildrenByName(std::string_view name) const override;
	std::shared_ptr<IService> getChildByNameIndex(std::string_view name, std::uint64_t index) const override;

	// The coordinator's GUID and its own, which is made on first use. Empty, with a log line, without a coordinator or a parent.
	std::shared_ptr<const IObject> getAddressObj() override;
	// A service needs a parent to get one, since it could not be reached otherwise. Its place in the tree stays.
	GUIDClass *createGUID() override;
	// Leaves the parent, lets the children go, takes back GUID and id.
	bool deregisterObject() override;

	bool queueEvent(const std::shared_ptr<IObject> &eventObj) override;
	// Fires the event "messageReceived" with the message as its payload. Overrides call it first.
	bool receiveMessage(const std::shared_ptr<IObject> &messageObj) override;
	bool isIdle() const override;

	// Fires the events that wait, then gives the children their turns, the last one first. Those that were attached meanwhile wait for the
	// next pass. Overrides call it first.
	void timeslice_yielding(const std::shared_ptr<Task> &task, bool &success) override;
	// Whether the last turn did any work.
	bool isBusy() const { return fIsBusy; }

protected:
	Service_abstract() = default;

	// Whether it is the coordinator itself, which has no parent.
	virtual bool isCoordinator() const { return false; }
	void setBusy() { fIsBusy = true; }

private:
	using Child = std::shared_ptr<Service_abstract>;
	using Snapshot = std::vector<std::weak_ptr<Service_abstract>>;
	using NameMap = std::unordered_map<std::string, std::vector<Service_abstract *>, StringHash, std::equal_to<>>;

	bool insertChild(const Child &child);
	bool removeChild(Service_abstract &child);
	bool isChild(const Service_abstract &service) const;
	void tablesChanged();
	void refreshChildIndexLookupTables() const;
	const std::vector<Service_abstract *> *findByName(std::string_view name) const;
	std::shared_ptr<const Snapshot> getSnapshot() const;
	void collectEvents();
	bool hasWorkingEvent() const { return fNextWorkingEvent < fWorkingQueue.size(); }
	bool fireNextEvent();

	std::weak_ptr<Service_abstract> fParent;
	// In the order of attaching, by a number that only grows.
	std::map<std::uint64_t, Child> fChildren;
	std::uint64_t fLastAttachNumber = 0;
	std::uint64_t fAttachNumber = 0; // its own among its parent's

	// Made when they are asked for, from the children that there are.
	mutable bool fAreLookupTablesStale = false;
	mutable NameMap fChildrenByName;
	mutable NameMap fChildrenByServiceName;     // of those whose names are others
	mutable int32_t fIndexInNameMap = NO_INDEX; // its own in its parent's table
	mutable std::shared_ptr<const Snapshot> fSnapshot;

	std::vector<std::shared_ptr<IObject>> fEventQueue;
	std::vector<std::shared_ptr<IObject>> fWorkingQueue; // of this turn
	std::size_t fNextWorkingEvent = 0;
	bool fIsBusy = false;
	std::shared_ptr<const IObject> fAddressObj;
};
}
