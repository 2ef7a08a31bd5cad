#pragma once

#include "MrvParser/Node/MrvValue.h"

#include <algorithm>
#include <memory>

namespace Mrv
{
// A short list of values, such as the arguments of a call: up to four of them need no room on the heap. Can be moved, not
// copied.
class ValueList
{
public:
	static constexpr size_t INLINE_CAPACITY = 4;

	ValueList() noexcept = default;
	ValueList(ValueList &&other) noexcept { take(other); }
	ValueList &operator=(ValueList &&other) noexcept
	{
		if (this != &other)
		{
			clear();
			take(other);
		}
		return *this;
	}

	size_t size() const noexcept { return fSize; }
	bool empty() const noexcept { return fSize == 0; }
	Value *begin() noexcept { return fHeap ? fHeap.get() : fInline; }
	Value *end() noexcept { return begin() + fSize; }
	const Value *begin() const noexcept { return fHeap ? fHeap.get() : fInline; }
	const Value *end() const noexcept { return begin() + fSize; }
	Value &operator[](size_t index) noexcept { return begin()[index]; }
	const Value &operator[](size_t index) const noexcept { return begin()[index]; }

	void reserve(size_t capacity)
	{
		if (capacity > fCapacity)
		{
			auto heap = std::make_unique<Value[]>(capacity);
			std::move(begin(), end(), heap.get());
			fHeap = std::move(heap);
			fCapacity = capacity;
		}
	}
	void push_back(Value value)
	{
		if (fSize == fCapacity)
		{
			reserve(fCapacity * 2);
		}
		begin()[fSize++] = std::move(value);
	}
	void clear() noexcept
	{
		for (Value &value : *this)
		{
			value = Value();
		}
		fSize = 0;
	}

private:
	void take(ValueList &other) noexcept
	{
		if (other.fHeap)
		{
			fHeap = std::move(other.fHeap);
			fCapacity = other.fCapacity;
			other.fCapacity = INLINE_CAPACITY;
		}
		else
		{
			fHeap.reset();
			fCapacity = INLINE_CAPACITY;
			for (size_t index = 0; index < other.fSize; ++index)
			{
				fInline[index] = std::move(other.fInline[index]);
			}
		}
		fSize = other.fSize;
		other.fSize = 0;
	}

	size_t fSize = 0;
	size_t fCapacity = INLINE_CAPACITY;
	std::unique_ptr<Value[]> fHeap;
	Value fInline[INLINE_CAPACITY];
};
}
