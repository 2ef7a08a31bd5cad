#pragma once

#include "MrvAddress/MrvIAddress.h"
#include "MrvEvent/MrvEventSource.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Mrv
{
class Task;

// What messages can be delivered to.
class IReceiver
{
public:
	// Takes a message (an IMessage object). False, with a log line, when it could not be dealt with.
	virtual bool receiveMessage(const std::shared_ptr<IObject> &messageObj) = 0;

protected:
	~IReceiver() = default;
};

// What has a turn in each pass of the coordinator.
class ITimeConsumer
{
public:
	// Does what there is to do. May suspend. `success`: whether all of it went well.
	virtual void timeslice_yielding(const std::shared_ptr<Task> &task, bool &success) = 0;

protected:
	~ITimeConsumer() = default;
};

// A node of the tree of services. A parent owns its children.
class IService : public virtual IObject, public IAddressable, public IReceiver, public ITimeConsumer, public virtual IEventSource
{
public:
	static constexpr int32_t NO_INDEX = -1;

	// The kind of service, such as "net.morvane.service.log".
	virtual const std::string &getServiceName() const = 0;
	// The name among the children of the parent; that of the kind where there is but one of it.
	virtual const std::string &getName() const = 0;

	// In the order in which they were attached.
	virtual std::vector<std::shared_ptr<IService>> getChildList() const = 0;
	// Empty for the root, and for a service that is in no tree.
	virtual std::shared_ptr<IService> getParent() const = 0;

	// Joins a parent. True when it is there already, and, with nothing done, for a coordinator and for a parent that is no service.
	// False, with a log line and nothing changed, when it has another parent.
	virtual bool attachToParent(const std::shared_ptr<IObject> &parentObj) = 0;
	// Leaves the parent, which may be the end of this object: the caller holds it.
	virtual bool detachFromParent() = 0;
	// The same, asked of the parent. A coordinator is nobody's child: false.
	virtual bool attachChildObj(const std::shared_ptr<IObject> &childObj) = 0;
	virtual bool detachChildObj(const std::shared_ptr<IObject> &childObj) = 0;
	virtual bool ownsChild(const std::shared_ptr<const IObject> &childObj) const = 0;

	// The place among the children of the same name, counted from 0 in the order of attaching. It changes when an earlier one goes: what
	// is to be found again has a GUID. NO_INDEX for what is no child.
	virtual int32_t getIndexInNameMap() const = 0;
	virtual int32_t getChildIndexInNameMap(const std::shared_ptr<const IObject> &childObj) const = 0;
	virtual std::size_t getChildCountByName(std::string_view name) const = 0;
	virtual std::vector<std::shared_ptr<IService>> getChildrenByName(std::string_view name) const = 0;
	// A child by name and index, empty when there is none. Where no child has the name, it is that of a kind: the one called "default" is
	// its first.
	virtual std::shared_ptr<IService> getChildByNameIndex(std::string_view name, std::uint64_t index) const = 0;

	// Puts an event (an IEvent object) in the queue, to be fired in the service's next turn.
	virtual bool queueEvent(const std::shared_ptr<IObject> &eventObj) = 0;
	// Whether neither it nor any service below has events waiting or other work.
	virtual bool isIdle() const = 0;
};
}
