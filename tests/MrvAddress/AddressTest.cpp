#include "MrvAddress/MrvInternalAddress.h"
#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvAddress/MrvRemoteResolvedAddress.h"
#include "MrvAddress/MrvRemoteUnresolvedAddress.h"
#include "support/RoutingCoordinator.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
namespace
{
const std::string OWN = "net.morvane.coordinator.main";
const std::string NULL_SERVICE = "net.morvane.service.null/0";

std::shared_ptr<Address_abstract> asAddress(const std::shared_ptr<const IObject> &object)
{
	return std::const_pointer_cast<Address_abstract>(std::dynamic_pointer_cast<const Address_abstract>(object));
}

class AddressTest : public testing::Test
{
protected:
	// Reads a URL; the tail is left in fTail.
	std::shared_ptr<Address_abstract> parse(const std::string &url) { return asAddress(Address_abstract::factoryFromURL(url, fTail)); }
	std::string guidText(const std::shared_ptr<Target> &target) { return target->createGUID()->toSectionedString(); }

	RoutingCoordinator fCoordinator;
	std::string fTail;
};
}

TEST_F(AddressTest, URLsBecomeTheClassThatFits)
{
	const std::string own = fCoordinator.guid->toSectionedString();
	const std::string service = guidText(fCoordinator.services[NULL_SERVICE]);
	const struct
	{
		std::string url;
		std::string typeName; // empty: no address
		std::string written;
		std::string tail;
	} rows[] = {
	    {"mrv:////", "InternalAddress", "mrv:////", ""},
	    {"mrv://///tail", "InternalAddress", "mrv:////", "tail"},
	    {"mrv:", "InternalAddress", "mrv:////", ""},
	    {"mrv", "InternalAddress", "mrv:////", ""},
	    {" \t\r\nmrv:////x/3", "InternalAddress", "mrv:////x/3", ""},
	    {"mrv:////net.morvane.service.null//tail", "InternalAddress", "mrv:////net.morvane.service.null/0", "tail"},
	    {"mrv:////net.morvane.service.null/1//tail4/tail5", "InternalAddress", "mrv:////net.morvane.service.null/1", "tail4/tail5"},
	    {"mrv:////a//"
	     "//b///c//",
	        "InternalAddress", "mrv:////a/0", "b/c"},
	    {"mrv:///" + OWN + "/a/0", "InternalAddress", "mrv:////a/0", ""},
	    {"mrv:///main/a/0", "InternalAddress", "mrv:////a/0", ""},
	    {"mrv://localhost/" + OWN + "//tail121/", "InternalAddress", "mrv:////", "tail121"},
	    {"mrv://127.0.0.1/" + OWN + "/" + NULL_SERVICE, "InternalAddress", "mrv:////" + NULL_SERVICE, ""},
	    {"mrv:///SomeCoordinator/a/0//tail111/", "LocalUnresolvedAddress", "mrv:///SomeCoordinator/a/0", "tail111"},
	    {"mrv://localhost/SomeCoordinator/a//ta1i91/", "LocalUnresolvedAddress", "mrv:///SomeCoordinator/a/0", "ta1i91"},
	    {"mrv://somehost.local/" + OWN + "//xtx/", "RemoteUnresolvedAddress", "mrv://somehost.local/" + OWN + "/", "xtx"},
	    {"mrv://somehost.local", "RemoteUnresolvedAddress", "mrv://somehost.local/" + OWN + "/", ""},
	    {"mrv://" + own + "/" + service + "/tail2/tail3", "LocalResolvedAddress", "mrv://" + own + "/" + service, "tail2/tail3"},
	    {"mrv://" + own + "/" + own, "LocalResolvedAddress", "mrv:////", ""},
	    {"http:////x", "", "", ""},
	    {"/mrv:////x", "", "", "x"},
	    {"", "", "", ""},
	    {"MRV:////", "", "", ""},
	};
	for (const auto &row : rows)
	{
		SCOPED_TRACE(row.url);
		const auto address = parse(row.url);
		EXPECT_EQ(address ? address->getTypeName() : "", row.typeName);
		EXPECT_EQ(fTail, row.tail);
		if (address)
		{
			EXPECT_EQ(address->getURL(), row.written);
			EXPECT_EQ(parse(address->getURL())->getURL(), row.written) << "its own URL leads to it";
		}
	}
	EXPECT_EQ(parse("mrv://" + own)->getTypeName(), "RemoteUnresolvedAddress") << "a GUID is one only in front of a slash";
	EXPECT_FALSE(parse("mrv://" + own + "/nonsense"));
	EXPECT_LOG("SANITY_CHECK failed: 'guid' evaluates to false");
	GUIDClass *far = GUIDClass::randomFactory();
	fCoordinator.hosts[far] = "farhost";
	EXPECT_EQ(parse("mrv://" + far->toSectionedString() + "/" + own)->getTypeName(), "RemoteResolvedAddress");
	EXPECT_TRUE(parse("mrv://" + far->toSectionedString() + "/" + own)->isInternalCoordinatorAddress()) << "the addressed object decides";
}

TEST_F(AddressTest, BadPiecesAreLoggedAndKept)
{
	EXPECT_EQ(parse("mrv:///9bad/a/0")->getURL(), "mrv:///9bad/a/0");
	EXPECT_LOG("invalid coordinator name");
	EXPECT_EQ(parse("mrv:////a/x")->getURL(), "mrv:////a/x");
	EXPECT_LOG("invalid index number");
	EXPECT_EQ(parse("mrv:////a/0/b.c/1")->getURL(), "mrv:////a/0/b.c/1");
	EXPECT_LOG("invalid index name");
	const auto path = std::dynamic_pointer_cast<InternalAddress>(InternalAddress::factoryFromIndices("SomeService/0/SomeClass"));
	EXPECT_EQ(path->getIndexVector(), (std::vector<std::string>{"SomeService", "0", "SomeClass", "0"}));
	EXPECT_EQ(path->getIndices(), "SomeService/0/SomeClass/0");
	const std::string digits(40, '9');
	EXPECT_EQ(parse("mrv:////a/" + digits)->resolved(), nullptr);
}

TEST_F(AddressTest, ResolvingFindsWhatIsInThisProcessAndLeavesTheRest)
{
	const auto service = asAddress(fCoordinator.services[NULL_SERVICE]->getAddressObj());
	const std::string ownURL = "mrv:///" + OWN + "/";
	const std::string hostURL = "mrv://localhost/" + OWN;
	for (const std::string &url :
	    {"mrv:////" + NULL_SERVICE, ownURL + NULL_SERVICE, hostURL + "/net.morvane.service.null", service->getURL()})
	{
		SCOPED_TRACE(url);
		const auto resolved = asAddress(parse(url)->resolved());
		ASSERT_TRUE(resolved);
		EXPECT_EQ(resolved->getTypeName(), "LocalResolvedAddress");
		EXPECT_EQ(resolved->getURL(), service->getURL());
		EXPECT_EQ(parse(url)->getAddressedGUID(), service->getAddressedGUID());
		EXPECT_EQ(parse(url)->getUpstreamCoordinatorGUID(), fCoordinator.guid);
	}
	EXPECT_FALSE(parse("mrv:////net.morvane.service.null/1")->resolved());
	for (const std::string &url : {"mrv:///SomeCoordinator/" + NULL_SERVICE, std::string("mrv://somehost.local/") + OWN + "/"})
	{
		const auto address = parse(url);
		EXPECT_EQ(address->resolved(), address) << url;
	}
	const auto remoteButLocal = RemoteUnresolvedAddress::factoryFromCoordinatorNameIndicesHostName("Some", "a/0", "127.0.0.1");
	EXPECT_EQ(asAddress(asAddress(remoteButLocal)->resolved())->getTypeName(), "LocalUnresolvedAddress");
}

TEST_F(AddressTest, GUIDAddressesGoByWhatIsKnownOfTheirCoordinator)
{
	GUIDClass *const random = GUIDClass::randomFactory();
	GUIDClass *const upstream = GUIDClass::randomFactory();
	EXPECT_FALSE(asAddress(LocalResolvedAddress::factoryFromGUIDs(random, fCoordinator.guid))->resolved()) << "no such object here";
	EXPECT_FALSE(asAddress(LocalResolvedAddress::factoryFromGUIDs(random, upstream))->resolved());
	EXPECT_FALSE(asAddress(RemoteResolvedAddress::factoryFromGUIDs(random, upstream))->resolved());
	const auto travelled = asAddress(LocalResolvedAddress::factoryFromGUIDsName(random, upstream, "Other"));
	EXPECT_EQ(travelled->resolved(), travelled) << "the name that came along is better than none";
	EXPECT_EQ(travelled->getCoordinatorName(), "Other");
	fCoordinator.names[upstream] = "Known";
	EXPECT_EQ(travelled->getCoordinatorName(), "Known");
	fCoordinator.hosts[upstream] = "farhost";
	const auto remote = asAddress(RemoteResolvedAddress::factoryFromGUIDs(random, upstream));
	ASSERT_TRUE(remote->resolved());
	EXPECT_EQ(remote->resolved()->getTypeName(), "RemoteResolvedAddress");
	fCoordinator.hosts[upstream] = "localhost";
	EXPECT_EQ(remote->resolved()->getTypeName(), "LocalResolvedAddress");
}

TEST_F(AddressTest, AddressesOfOneTargetAreEqual)
{
	const auto internal = InternalAddress::factoryFromIndices(NULL_SERVICE);
	EXPECT_EQ(*internal, *parse("mrv://localhost/" + OWN + "/" + NULL_SERVICE));
	EXPECT_EQ(*internal, *asAddress(LocalUnresolvedAddress::factoryFromCoordinatorNameIndices(OWN, NULL_SERVICE)));
	EXPECT_EQ(*internal, *fCoordinator.services[NULL_SERVICE]->getAddressObj());
	EXPECT_NE(*internal, *parse("mrv:////"));
	EXPECT_EQ(*parse("mrv:////nobody/0"), *parse("mrv:///" + OWN + "/nobody/0")) << "also when there is no target";
	EXPECT_NE(*parse("mrv:////nobody/0"), *parse("mrv:////nobody/1"));
	EXPECT_EQ(*parse("mrv:///Some/a/0"), *parse("mrv://127.0.0.1/Some/a"));
	EXPECT_NE(*parse("mrv:///Some/a/0"), *parse("mrv://farhost/Some/a"));
	EXPECT_NE(*internal, *DataString::factoryFromString("x"));
}

TEST_F(AddressTest, EachClassIsWrittenAndReadItemByItem)
{
	GUIDClass *const one = GUIDClass::factory("00112233-4455-6677-8899-AABBCCDDEEFF");
	GUIDClass *const two = GUIDClass::factory("FFFFFFFF-0000-0000-0000-000000000001");
	fCoordinator.names[two] = "net.morvane.coordinator.b";
	fCoordinator.hosts[two] = "farhost";
	const struct
	{
		std::shared_ptr<IObject> address;
		std::string text;
	} rows[] = {
	    {InternalAddress::factoryFromIndices(NULL_SERVICE), "InternalAddress\nnet.morvane.service.null/0\n"},
	    {LocalUnresolvedAddress::factoryFromCoordinatorNameIndices("B", "x"), "LocalUnresolvedAddress\nB\nx/0\n"},
	    {RemoteUnresolvedAddress::factoryFromCoordinatorNameIndicesHostName("B", "x/1", "h"), "RemoteUnresolvedAddress\nB\nx/1\nh\n"},
	    {LocalResolvedAddress::factoryFromGUIDs(one, two), "LocalResolvedAddress\n00112233-4455-6677-8899-AABBCCDDEEFF\n"
	                                                       "FFFFFFFF-0000-0000-0000-000000000001\nnet.morvane.coordinator.b\n"},
	    {RemoteResolvedAddress::factoryFromGUIDs(one, two), "RemoteResolvedAddress\n00112233-4455-6677-8899-AABBCCDDEEFF\n"
	                                                        "FFFFFFFF-0000-0000-0000-000000000001\nnet.morvane.coordinator.b\nfarhost\n"},
	};
	for (const auto &row : rows)
	{
		SCOPED_TRACE(row.text);
		EXPECT_EQ(Data_abstract::serializeToStr(row.address), row.text);
		const auto read = Data_abstract::deserializeFromStr(row.text);
		ASSERT_TRUE(read);
		EXPECT_EQ(*read, *row.address);
		EXPECT_EQ(Data_abstract::serializeToStr(read), row.text);
	}
	EXPECT_FALSE(Data_abstract::deserializeFromStr("LocalUnresolvedAddress\n../x\na/0\n"));
	EXPECT_LOG("SANITY_CHECK failed: 'Utils::isIdentifierName(fCoordinatorName)' evaluates to false");
	takeLogLines();
	EXPECT_FALSE(Data_abstract::deserializeFromStr("LocalResolvedAddress\n\n\n"));
	EXPECT_LOG("serializer at end");
	takeLogLines();
	EXPECT_TRUE(Data_abstract::deserializeFromStr("LocalResolvedAddress\n\n\n\n")) << "nobody need be named";
}
}
