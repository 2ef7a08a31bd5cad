#include "MrvObject/MrvGUIDClass.h"
#include "MrvObject/MrvObject.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Mrv
{
namespace
{
using Test::logLines;
using Test::setTestLogLevel;
using Test::takeLogLines;

class Sample : public Object
{
public:
	static const std::string TYPENAME;

	static std::shared_ptr<IObject> factory()
	{
		std::shared_ptr<IObject> object(new Sample, deleter);
		object->registerObjectID(object);
		return object;
	}
	static std::shared_ptr<IObject> otherFactory() { return nullptr; }
	static void deleter(Sample *object)
	{
		Object::deleter(object);
		delete object;
	}
	const std::string &getTypeName() const override { return TYPENAME; }
};
const std::string Sample::TYPENAME = "Sample";

// Has no `Object` in it.
class Foreign final : public IObject
{
public:
	GUIDClass *createGUID() override { return nullptr; }
	bool deregisterObject() override { return false; }
	bool deregisterObjectGUID() override { return false; }
	bool deregisterObjectID() override { return false; }
	GUIDClass *getGUID() const override { return nullptr; }
	std::uint64_t getID() const override { return 0; }
	Object *getObject() override { return nullptr; }
	bool isObjectGUIDRegistered() const override { return false; }
	bool isObjectIDRegistered() const override { return false; }
	bool registerObjectGUID() override { return false; }
	bool registerObjectID(const std::shared_ptr<IObject> &) override { return false; }
	std::string toString() const override { return {}; }
	const std::string &getTypeName() const override { return Sample::TYPENAME; }
	bool operator==(const IObject &other) const override { return this == &other; }
	bool operator!=(const IObject &other) const override { return this != &other; }
};

TEST(ObjectTest, AnIdLeadsToTheObjectAsLongAsItLives)
{
	const std::size_t before = Object::getRegisteredObjectCount();
	std::shared_ptr<IObject> first = Sample::factory();
	std::shared_ptr<IObject> second = Sample::factory();
	const std::uint64_t id = first->getID();
	EXPECT_EQ(second->getID(), id + 1);
	EXPECT_EQ(Object::getObjectFromID(id), first);
	EXPECT_EQ(Object::getRegisteredObjectCount(), before + 2);

	EXPECT_FALSE(first->registerObjectID(first));
	EXPECT_LOG("already registered");
	EXPECT_EQ(first->getID(), id);
	EXPECT_TRUE(*first == *first);
	EXPECT_TRUE(*first != *second);
	EXPECT_TRUE(*first != Foreign());
	EXPECT_EQ(first->toString(), "Sample");

	first.reset();
	EXPECT_EQ(Object::getObjectFromID(id), nullptr);
	EXPECT_EQ(Object::getObjectFromID(0), nullptr);
	EXPECT_EQ(Object::getRegisteredObjectCount(), before + 1);
	EXPECT_GT(Sample::factory()->getID(), second->getID());
}

TEST(ObjectTest, WhatIsNoObjectGetsNoId)
{
	const std::shared_ptr<IObject> object = Sample::factory();
	for (const std::shared_ptr<IObject> &foreign : {std::shared_ptr<IObject>(), std::shared_ptr<IObject>(std::make_shared<Foreign>())})
	{
		EXPECT_FALSE(object->registerObjectID(foreign));
		EXPECT_LOG("ASSIGN_TYPED failed: 'Object obj = objPtr;'");
	}
}

TEST(ObjectTest, AGUIDNeedsAnId)
{
	setTestLogLevel(4);
	std::shared_ptr<IObject> object = Sample::factory();
	EXPECT_EQ(object->getGUID(), nullptr);
	GUIDClass *const guid = object->createGUID();
	ASSERT_NE(guid, nullptr);
	EXPECT_LOG("# of registered objects is ");
	EXPECT_EQ(object->createGUID(), guid);
	EXPECT_TRUE(object->isObjectGUIDRegistered());
	EXPECT_EQ(Object::getRegisteredObject(guid), object);
	object.reset();
	EXPECT_EQ(Object::getRegisteredObject(guid), nullptr);
	EXPECT_EQ(Object::getRegisteredObject(nullptr), nullptr);
	EXPECT_LOG("no guid");

	// Failing once must not count as registered for ever.
	const auto withoutId = std::make_shared<Sample>();
	EXPECT_EQ(withoutId->createGUID(), nullptr);
	EXPECT_LOG("failed to register");
	EXPECT_EQ(withoutId->getGUID(), nullptr);
	withoutId->registerObjectID(withoutId);
	EXPECT_NE(withoutId->createGUID(), nullptr);
	EXPECT_TRUE(withoutId->deregisterObject());
}

TEST(ObjectTest, Deregistering)
{
	const std::shared_ptr<IObject> object = Sample::factory();
	GUIDClass *const guid = object->createGUID();
	const std::uint64_t id = object->getID();
	EXPECT_TRUE(object->deregisterObject());
	EXPECT_TRUE(object->deregisterObject());
	EXPECT_EQ(object->getGUID(), nullptr);
	EXPECT_FALSE(object->isObjectIDRegistered());
	EXPECT_EQ(Object::getObjectFromID(id), nullptr);
	EXPECT_EQ(Object::getRegisteredObject(guid), nullptr);
	EXPECT_FALSE(object->deregisterObjectGUID());
	EXPECT_LOG("object not registered");
	EXPECT_FALSE(object->deregisterObjectID());
	EXPECT_LOG("SANITY_CHECK failed: 'iter != fIDToObjectMap->end()' evaluates to false");
	Object::deleter(nullptr);
	EXPECT_LOG("SANITY_CHECK failed: 'object' evaluates to false");
}

TEST(FactoryTest, ANameHasOneFactoryOfAKind)
{
	EXPECT_TRUE(Object::registerFactory("Sample", Sample::factory));
	EXPECT_FALSE(Object::registerFactory("Sample", Sample::otherFactory));
	EXPECT_LOG("duplicate typeName");
	EXPECT_TRUE(Object::registerDeserializationFactory("Sample", [](const std::shared_ptr<IObject> &argument) { return argument; }));
	EXPECT_TRUE(Object::registerByNameFactory(
	    "Sample", [](std::shared_ptr<IObject> parent, const std::string &name) { return name == "ok" ? parent : nullptr; }));

	const std::shared_ptr<IObject> made = Object::getFactory("Sample").call();
	ASSERT_NE(made, nullptr);
	EXPECT_EQ(made->getTypeName(), "Sample");
	EXPECT_EQ(Object::getByNameFactory("Sample").call(made, "ok"), made);
	EXPECT_EQ(Object::getDeserializationFactory("Sample").call(made), made);
	EXPECT_EQ(Object::getDeserializationFactory("Sample").call(nullptr), nullptr);
	EXPECT_LOG("no object");

	EXPECT_TRUE(Object::deregisterFactory("Sample"));
	EXPECT_FALSE(Object::deregisterFactory("Sample"));
	EXPECT_LOG("unregistered typeName");
	const auto isListed = []
	{
		const std::vector<std::string> names = Object::getRegisteredTypeNames();
		return std::count(names.begin(), names.end(), "Sample");
	};
	EXPECT_EQ(isListed(), 1);
	EXPECT_TRUE(Object::deregisterByNameFactory("Sample"));
	EXPECT_TRUE(Object::deregisterDeserializationFactory("Sample"));
	EXPECT_EQ(isListed(), 0);

	EXPECT_FALSE(Object::getFactory("Sample"));
	EXPECT_EQ(Object::getFactory("Sample").call(), nullptr);
	EXPECT_EQ(Object::getByNameFactory("Sample").call(nullptr, ""), nullptr);
	EXPECT_EQ(Object::getDeserializationFactory("Sample").call(made), nullptr);
	EXPECT_EQ(logLines().size(), 3U);
	takeLogLines();
}

TEST(FactoryTest, WithoutTheRegistriesThingsFailQuietlyEnough)
{
	std::shared_ptr<IObject> survivor = Sample::factory();
	survivor->createGUID();
	const std::shared_ptr<IObject> other = Sample::factory();
	Object::deleteMaps();
	EXPECT_TRUE(Object::deregisterFactory("Sample"));
	EXPECT_TRUE(Object::deregisterByNameFactory("Sample"));
	EXPECT_TRUE(Object::deregisterDeserializationFactory("Sample"));
	survivor.reset();
	EXPECT_TRUE(logLines().empty());

	EXPECT_FALSE(Object::registerFactory("Sample", Sample::factory));
	EXPECT_LOG("no fFactoryMap");
	EXPECT_EQ(Object::getObjectFromID(1), nullptr);
	EXPECT_LOG("no fIDToObjectMap");
	EXPECT_FALSE(other->registerObjectGUID());
	EXPECT_LOG("SANITY_CHECK failed: 'fObjectMap' evaluates to false");
	EXPECT_TRUE(Object::getRegisteredTypeNames().empty());
	EXPECT_LOG("no fPrototypeMap");
	EXPECT_FALSE(other->deregisterObject());
	EXPECT_LOG("SANITY_CHECK failed: 'deregisterObjectID()' evaluates to false");
	EXPECT_LOG("no fIDToObjectMap");

	Object::createMaps();
	EXPECT_GT(Sample::factory()->getID(), other->getID());
	EXPECT_EQ(Object::getRegisteredObjectCount(), 0U);
}

TEST(GUIDTest, EqualGUIDsAreOneInstance)
{
	GUIDClass *const guid = GUIDClass::factory("A0000000-0000-0000-0123-456789ABCDEF");
	EXPECT_EQ(GUIDClass::factory("A0000000000000000123456789abcdef"), guid);
	EXPECT_EQ(GUIDClass::factory("{a0000000 zz 000000000123456789ABCDEF"), guid);
	EXPECT_EQ(GUIDClass::factory("FFA0000000000000000123456789ABCDEF"), guid);
	EXPECT_EQ(guid->toSectionedString(), "A0000000-0000-0000-0123-456789ABCDEF");
	EXPECT_EQ(&guid->toSectionedString(), &guid->toSectionedString());
	EXPECT_TRUE(*GUIDClass::factory("B0000000-0000-0000-0123-456789ABCDEF") > *guid);

	GUIDClass *const null = GUIDClass::factory(GUIDValue{});
	ASSERT_NE(null, nullptr);
	EXPECT_EQ(GUIDClass::factory(""), null);
	EXPECT_EQ(GUIDClass::factory("xyz-0000"), null);
	EXPECT_EQ(null->toCompactString(), std::string(22, 'A'));

	GUIDClass *const random = GUIDClass::randomFactory();
	EXPECT_NE(random, GUIDClass::randomFactory());
	EXPECT_EQ(GUIDClass::factory(random->toSectionedString()), random);
}

TEST(GUIDTest, CompactFormStartsWithTheLowestBits)
{
	EXPECT_EQ(GUIDClass::factory(GUIDValue{0, 0xF41})->toCompactString(), "B9" + std::string(20, 'A'));
	// Bits 60 to 65 come from both halves; the last character holds two bits.
	EXPECT_EQ(GUIDClass::factory(GUIDValue{0xC000000000000003, 0xF000000000000000})->toCompactString(),
	    std::string(10, 'A') + "/" + std::string(10, 'A') + "D");
	EXPECT_EQ(&GUIDClass::factory("1")->toCompactString(), &GUIDClass::factory("1")->toCompactString());
}

TEST(GUIDTest, IsValid)
{
	const std::string digits = "0123456789abcdefABCDEF0123456789";
	for (const std::string &valid :
	    {digits, "{" + digits + "}", "(" + digits + ")", "[" + digits + "]", std::string("01234567_89ab-cdef-ABCD-EF0123456789")})
	{
		EXPECT_TRUE(GUIDClass::isValid(valid)) << valid;
	}
	for (const std::string &invalid :
	    {std::string(), digits.substr(1), digits + "0", digits.substr(1) + "g", digits + " ", digits.substr(1) + "`", std::string("{}")})
	{
		EXPECT_FALSE(GUIDClass::isValid(invalid)) << invalid;
	}
}

TEST(HashTest, KnownValues)
{
	static_assert(fnvHash("") == 0xcbf29ce484222325);
	static_assert(fnvHash("a") == 0xaf63dc4c8601ec8c);
	static_assert(fnvHash("foobar") == 0x85944171f73967e8);
	EXPECT_EQ(fnvHash("bar", fnvHash("foo")), fnvHash("foobar"));
	EXPECT_EQ(fnvHash(std::uint64_t{0x0807060504030201}), fnvHash("\x01\x02\x03\x04\x05\x06\x07\x08"));
	EXPECT_EQ(fnvHash("\xFF"), (kFnvOffsetBasis ^ 0xFF) * kFnvPrime);
}
}
}
