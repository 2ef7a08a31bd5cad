#include "MrvPlatform/MrvCast.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <utility>
#include <vector>

namespace Mrv::Test
{
namespace
{
class IName
{
public:
	virtual ~IName() = default;
	int name = 1;
};
class INumber
{
public:
	virtual ~INumber() = default;
	int number = 2;
};
class Root
{
public:
	virtual ~Root() = default;
	int root = 3;
};
// More kinds than are remembered in one place, half of them with a number, and at different distances.
template <int KIND>
class Thing final : public virtual Root, public IName, public INumber
{
public:
	std::array<char, 16U + KIND> room{};
};
template <int KIND>
class NumberFirst final : public INumber, public virtual Root
{
};
template <int KIND>
class Nameless final : public virtual Root
{
};

template <int... KINDS>
std::vector<std::shared_ptr<Root>> makeAll(std::integer_sequence<int, KINDS...>)
{
	std::vector<std::shared_ptr<Root>> all;
	(all.insert(all.end(), {std::make_shared<Thing<KINDS>>(), std::make_shared<NumberFirst<KINDS>>(), std::make_shared<Nameless<KINDS>>()}),
	    ...);
	return all;
}

TEST(CastTest, FindsWhatTheLanguageFinds)
{
	const std::vector<std::shared_ptr<Root>> all = makeAll(std::make_integer_sequence<int, 40>());
	for (int round = 0; round < 3; ++round)
	{
		for (const std::shared_ptr<Root> &object : all)
		{
			const Root *const constant = object.get();
			EXPECT_EQ(castTo<INumber>(object.get()), dynamic_cast<INumber *>(object.get()));
			EXPECT_EQ(castTo<const IName>(constant), dynamic_cast<const IName *>(constant));
			const std::shared_ptr<IName> shared = sharedCastTo<IName>(object);
			EXPECT_EQ(shared.get(), dynamic_cast<IName *>(object.get()));
			EXPECT_EQ(object.use_count(), shared ? 2 : 1);
			EXPECT_EQ(castTo<Root>(shared.get()), shared ? object.get() : nullptr);
		}
	}
	EXPECT_EQ(castTo<IName>(static_cast<Root *>(nullptr)), nullptr);
	EXPECT_FALSE(sharedCastTo<IName>(std::shared_ptr<Root>()));
}
}
}
