// URLs become addresses in two steps: one pass of a state machine over the bytes, which knows nothing but the form, and then the
// choice of a class by what the coordinator knows.
#include "MrvAddress/MrvAddress_abstract.h"
#include "MrvAddress/MrvIRoutingCoordinator.h"
#include "MrvAddress/MrvInternalAddress.h"
#include "MrvAddress/MrvLocalResolvedAddress.h"
#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvAddress/MrvRemoteResolvedAddress.h"
#include "MrvAddress/MrvRemoteUnresolvedAddress.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvObject/MrvGUIDClass.h"
#include "MrvPlatform/MrvCast.h"

#include <string_view>

namespace Mrv
{
namespace
{
class URLParser
{
public:
	explicit URLParser(std::string &tail) : fTail(tail) {}

	void parse(std::string_view url)
	{
		for (const char byte : url)
		{
			step(byte);
		}
		endIndex();
	}

	std::string fScheme;
	std::string fHost;
	std::string fGUID1; // the coordinator's, when the host was one
	std::string fGUID2;
	std::string fCoordinatorName;
	std::string fIndices;

private:
	enum class State
	{
		START,             // 0: blanks in front
		SCHEME,            // 1: up to the colon
		AFTER_COLON,       // 2
		AFTER_FIRST_SLASH, // 3
		HOST,              // 4: or the GUID of a coordinator
		COORDINATOR_NAME,  // 5
		INDICES,           // 6: one element of the path
		SECOND_GUID,       // 7: the target's
		TAIL,              // 8: free text
	};

	void step(char byte)
	{
		const bool isSlash = byte == '/';
		switch (fState)
		{
			case State::START:
				start(byte);
				break;
			case State::SCHEME:
				if (byte == ':')
				{
					fState = State::AFTER_COLON;
				}
				else
				{
					fScheme += byte;
				}
				break;
			case State::AFTER_COLON:
				fState = isSlash ? State::AFTER_FIRST_SLASH : State::HOST;
				append(fHost, byte);
				break;
			case State::AFTER_FIRST_SLASH:
				fState = State::HOST;
				append(fHost, byte);
				break;
			case State::HOST:
				if (isSlash)
				{
					endHost();
				}
				append(fHost, byte);
				break;
			case State::COORDINATOR_NAME:
				fState = isSlash ? State::INDICES : fState;
				append(fCoordinatorName, byte);
				break;
			case State::INDICES:
				if (isSlash && fIndex.empty())
				{
					fState = State::TAIL;
				}
				else if (isSlash)
				{
					endIndex();
				}
				append(fIndex, byte);
				break;
			case State::SECOND_GUID:
				fState = isSlash ? State::TAIL : fState;
				append(fGUID2, byte);
				break;
			case State::TAIL:
				tail(byte);
				break;
		}
	}

	// Slashes separate.
	static void append(std::string &field, char byte)
	{
		if (byte != '/')
		{
			field += byte;
		}
	}

	void start(char byte)
	{
		if (byte == '/')
		{
			fState = State::HOST;
		}
		else if (byte != '\t' && byte != '\n' && byte != '\r' && byte != ' ')
		{
			fScheme += byte;
			fState = State::SCHEME;
		}
	}

	void endHost()
	{
		if (GUIDClass::isValid(fHost))
		{
			fGUID1.swap(fHost);
			fState = State::SECOND_GUID;
		}
		else
		{
			fState = State::COORDINATOR_NAME;
		}
	}

	void endIndex()
	{
		if (!fIndex.empty())
		{
			fIndices += fIndices.empty() ? "" : "/";
			fIndices += fIndex;
			fIndex.clear();
		}
	}

	void tail(char byte)
	{
		if (byte == '/')
		{
			fIsSlashPending = true;
			return;
		}
		if (fIsSlashPending && !fTail.empty())
		{
			fTail += '/';
		}
		fIsSlashPending = false;
		fTail += byte;
	}

	State fState = State::START;
	std::string fIndex;
	bool fIsSlashPending = false;
	std::string &fTail;
};

std::shared_ptr<IObject> makeNamedAddress(const IRoutingCoordinator &coordinator, const URLParser &url)
{
	const bool isOwnName = url.fCoordinatorName.empty() || coordinator.isOwnCoordinatorName(url.fCoordinatorName);
	if (!url.fHost.empty() && !coordinator.isLocalHost(url.fHost))
	{
		const std::string &name = url.fCoordinatorName.empty() ? coordinator.getOwnCoordinatorName() : url.fCoordinatorName;
		return RemoteUnresolvedAddress::factoryFromCoordinatorNameIndicesHostName(name, url.fIndices, url.fHost);
	}
	return isOwnName ? InternalAddress::factoryFromIndices(url.fIndices)
	                 : LocalUnresolvedAddress::factoryFromCoordinatorNameIndices(url.fCoordinatorName, url.fIndices);
}

std::shared_ptr<IObject> makeGUIDAddress(IRoutingCoordinator &coordinator, const URLParser &url)
{
	GUIDClass *guid = GUIDClass::factoryIfValid(url.fGUID2);
	SANITY_CHECK(guid, return nullptr);
	GUIDClass *upstreamCoordinatorGUID = GUIDClass::factory(url.fGUID1);
	SANITY_CHECK(upstreamCoordinatorGUID, return nullptr);
	const std::string &hostName = coordinator.getHostName(upstreamCoordinatorGUID);
	return !hostName.empty() && !coordinator.isLocalHost(hostName) ? RemoteResolvedAddress::factoryFromGUIDs(guid, upstreamCoordinatorGUID)
	                                                               : LocalResolvedAddress::factoryFromGUIDs(guid, upstreamCoordinatorGUID);
}
}

std::shared_ptr<IObject> Address_abstract::factoryFromURL(const std::string &url, std::string &tail)
{
	tail.clear();
	URLParser parsed(tail);
	parsed.parse(url);
	if (parsed.fScheme != "mrv")
	{
		return nullptr;
	}
	IRoutingCoordinator *internalCoordinator = nullptr;
	ASSIGN_AS(internalCoordinator, IRoutingCoordinator::current(),
	    "internalCoordinator = std::dynamic_pointer_cast<Mrv::InternalCoordinator>(Mrv::InternalCoordinator::factory());", return nullptr);
	std::shared_ptr<IObject> retVal =
	    parsed.fGUID1.empty() ? makeNamedAddress(*internalCoordinator, parsed) : makeGUIDAddress(*internalCoordinator, parsed);
	// What a GUID address lacks has been told.
	SANITY_CHECK(retVal || !parsed.fGUID1.empty(), return nullptr);
	return retVal;
}
}
