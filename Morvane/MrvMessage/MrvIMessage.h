#pragma once

#include "MrvData/MrvIData.h"
#include "MrvObject/MrvOpCode.h"
#include "MrvParser/Node/MrvOMStored.h"

#include <memory>
#include <string>

namespace Mrv
{
// The one unit that services and coordinators exchange. Nothing of it changes but the receiver, which the router may replace by a more
// exact address.
class IMessage : public virtual IData
{
public:
	// The payload as a node; null, with a log line, when it is empty or can't be parsed.
	virtual std::shared_ptr<OMStored> getAsOMNode() const = 0;
	virtual OpCode getOpCode() const = 0;
	virtual const std::string &getPayload() const = 0;
	// IAddress objects; null when there is none.
	virtual const std::shared_ptr<const IObject> &getReceiverAddressObj() const = 0;
	virtual const std::shared_ptr<const IObject> &getSenderAddressObj() const = 0;
	// False, with a log line and nothing changed, for null.
	virtual bool setReceiverAddressObj(const std::shared_ptr<const IObject> &addressObj) = 0;
};
}
