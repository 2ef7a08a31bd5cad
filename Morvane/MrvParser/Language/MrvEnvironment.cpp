#include "MrvParser/Language/MrvEnvironment.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvPlatform/MrvLasting.h"

#include <algorithm>
#include <array>
#include <new>

namespace Mrv
{
uint32_t Environment::sNameEpoch = 0;

namespace
{
// Environments of calls come and go with every call: rooms that were given back wait here.
constinit std::array<void *, 256> sFreeRooms{};
constinit size_t sFreeRoomCount = 0;
constinit size_t sMaxFreeRoomCount = 0; // none after the module's end

const bool sAreRoomsReady = []
{
	sMaxFreeRoomCount = sFreeRooms.size();
	Platform::callAtUnload(
	    [](void *)
	    {
		    sMaxFreeRoomCount = 0;
		    while (sFreeRoomCount > 0)
		    {
			    ::operator delete(sFreeRooms[--sFreeRoomCount]);
		    }
	    },
	    nullptr);
	return true;
}();
}

void *Environment::operator new(size_t size)
{
	if (sFreeRoomCount > 0 && size == sizeof(Environment))
	{
		return sFreeRooms[--sFreeRoomCount];
	}
	return ::operator new(size);
}

void Environment::operator delete(void *room, size_t size) noexcept
{
	if (size == sizeof(Environment) && sFreeRoomCount < sMaxFreeRoomCount)
	{
		sFreeRooms[sFreeRoomCount++] = room;
		return;
	}
	::operator delete(room);
}

Environment::Environment(OMScope &scope, Environment *parent)
    : HeapObject(Children::SOME),
      fParent(parent),
      fBase(this),
      fEpoch(sNameEpoch),
      fScope(&scope)
{
}

Environment::Environment(Environment &caller, const FunctionObject &function, Value thisValue, ValueList &&arguments)
    : HeapObject(Children::SOME),
      fParent(&caller),
      fBase(caller.fBase),
      fBloom(caller.isCall() ? caller.fBloom : 0),
      fLayoutId(function.fSignature->getLayoutId()),
      fEpoch(caller.isCall() ? caller.fEpoch : sNameEpoch),
      fSignature(function.fSignature.get()),
      fArguments(std::move(arguments))
{
	const FunctionSignature &signature = *fSignature;
	const size_t count = signature.getSlotCount();
	if (count <= INLINE_SLOTS)
	{
		fSlots = fInlineSlots;
	}
	else
	{
		fHeapSlots = std::make_unique<Value[]>(count);
		fSlots = fHeapSlots.get();
	}
	if (!signature.isLocalVariableSlot(FunctionSignature::THIS_SLOT)) // `var this` leaves it Undefined
	{
		fSlots[FunctionSignature::THIS_SLOT] = std::move(thisValue);
	}
	fSlots[FunctionSignature::ARGUMENTS_SLOT] = Value::lazy();
	const size_t parameterCount = signature.getParameterCount();
	const size_t boundCount = std::min(parameterCount, fArguments.size());
	for (size_t index = 0; index < boundCount; ++index)
	{
		fSlots[FunctionSignature::FIRST_PARAMETER_SLOT + index] = fArguments[index];
	}
	for (size_t slot = FunctionSignature::FIRST_PARAMETER_SLOT + parameterCount; slot < count; ++slot)
	{
		if (!signature.isLocalVariableSlot(slot))
		{
			fSlots[slot] = Value::absent();
		}
	}
	fBloom |= signature.getBloom();
}

Environment::~Environment() = default;

MapContainer *Environment::getMap() const
{
	if (fMap)
	{
		return fMap.get();
	}
	if (!fScope || isCall())
	{
		return nullptr;
	}
	if (!fScope->getValue().isMap())
	{
		fScope->setEmptyMap();
	}
	return fScope->getValue().map();
}

Value Environment::wakeValue(size_t slot)
{
	if (slot == FunctionSignature::THIS_SLOT)
	{
		return Value::nodeItself(fParent->getScope());
	}
	Value arguments = Value::emptyArray();
	arguments.array()->fItems.assign(fArguments.begin(), fArguments.end());
	return arguments;
}

Value *Environment::wakeSlot(size_t slot)
{
	Value value = wakeValue(slot);
	if (!fSlots)
	{
		// Making the caller's scope node has turned this call into a map too: it is the same one.
		return fMap->get(fSignature->getSlotName(slot));
	}
	fSlots[slot] = std::move(value);
	return &fSlots[slot];
}

Value *Environment::findOwn(const Name &name)
{
	if (MapContainer *map = getMap())
	{
		return map->get(name);
	}
	const size_t slot = fSignature->findSlot(name);
	return slot == FunctionSignature::NO_SLOT ? nullptr : findSlot(fLayoutId, slot);
}

Environment::Variable Environment::find(const Name &name, uint32_t &guess)
{
	const uint64_t bit = bloomBit(name);
	for (Environment *environment = this; environment; environment = environment->fParent.get())
	{
		if (environment->isCall())
		{
			if ((environment->fBloom & bit) == 0 && environment->fEpoch == sNameEpoch)
			{
				environment = environment->fBase; // nobody up to there has the name
			}
			else
			{
				if (Value *place = environment->findOwn(name))
				{
					return {Found::YES, place, environment};
				}
				continue;
			}
		}
		if (environment->fScope && environment->fScope->isOpaque())
		{
			return {Found::OPAQUE, nullptr, environment};
		}
		MapContainer *map = environment->getMap();
		const size_t position = map ? map->find(name, guess) : MapContainer::NOT_FOUND;
		if (position != MapContainer::NOT_FOUND)
		{
			return {Found::YES, &map->entries()[position].value, environment};
		}
	}
	return {};
}

Value &Environment::create(const Name &name)
{
	if (isCall())
	{
		if (!fMap)
		{
			const size_t slot = fSignature->findSlot(name);
			if (slot != FunctionSignature::NO_SLOT)
			{
				Value &place = fSlots[slot];
				if (place.isAbsent())
				{
					place = Value();
				}
				return place.kind() == Value::Kind::LAZY ? *wakeSlot(slot) : place;
			}
			moveToMap();
		}
		addToBloom(bloomBit(name));
		return fMap->getOrCreate(name);
	}
	return getMap()->getOrCreate(name);
}

void Environment::addToBloom(uint64_t bits)
{
	if ((fBloom & bits) != bits)
	{
		fBloom |= bits;
		const bool isTrusted = fEpoch == sNameEpoch;
		++sNameEpoch;                             // callees that run now don't know of the names
		fEpoch = isTrusted ? sNameEpoch : fEpoch; // a word that misses names of callers stays untrusted
	}
}

bool Environment::store(const Variable &variable, const Name &name, Value value)
{
	value.settleForStore();
	Environment &owner = variable.found == Found::YES ? *variable.owner : *this;
	MapContainer *map = owner.getMap();
	if (map && (map->fPermissions || map->fDataStructureOwner))
	{
		return OMStored::storeIn(Value::map(Ref<MapContainer>(map)), name, std::move(value));
	}
	(variable.place ? *variable.place : create(name)) = std::move(value);
	return true;
}

// The variables of a call become a map, for good: slots are found by name from then on.
void Environment::moveToMap()
{
	auto map = makeRef<MapContainer>();
	const size_t count = fSignature->getSlotCount();
	for (size_t slot = 0; slot < count; ++slot)
	{
		if (fSlots[slot].kind() == Value::Kind::LAZY && slot != FunctionSignature::THIS_SLOT)
		{
			fSlots[slot] = wakeValue(slot);
		}
		if (!fSlots[slot].isAbsent() && fSignature->findSlot(fSignature->getSlotName(slot)) == slot)
		{
			map->set(fSignature->getSlotName(slot), std::move(fSlots[slot]));
		}
		fSlots[slot] = Value();
	}
	fMap = map;
	fSlots = nullptr;
	fHeapSlots.reset();
	fLayoutId = NO_LAYOUT;
	Value *thisPlace = fMap->get("this");
	if (thisPlace->kind() == Value::Kind::LAZY)
	{
		Value caller = wakeValue(FunctionSignature::THIS_SLOT);
		*fMap->get("this") = std::move(caller);
	}
}

std::shared_ptr<OMScope> Environment::getScope()
{
	if (!fScope)
	{
		if (!fMap)
		{
			moveToMap();
		}
		if (isCall())
		{
			addToBloom(ALL_NAMES); // whoever has the node, or a Map that shares its variables, can add names at any time
		}
		auto scope = std::shared_ptr<OMScope>(new OMScope(*this));
		fScope = scope.get();
		return scope;
	}
	return std::static_pointer_cast<OMScope>(fScope->shared_from_this());
}
}
