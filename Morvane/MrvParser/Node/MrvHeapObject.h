#pragma once

#include <cstdint>
#include <utility>

namespace Mrv
{
// What values, containers and expressions share on the heap: an intrusive reference count, not atomic, since the whole
// system is one thread. An object dies with its last `Ref`.
//
// Objects that own others can be nested a million deep, so dying must not recurse: while one such object is being
// deleted, others that lose their last reference wait in a list and are deleted after it, one after the other.
class HeapObject
{
public:
	enum class Children : uint8_t
	{
		NONE, // owns no other object: deleted on the spot
		SOME, // may own others: deleted through the waiting list
	};

	HeapObject(const HeapObject &) = delete;
	HeapObject &operator=(const HeapObject &) = delete;
	virtual ~HeapObject() = default;

	void retain() const noexcept { ++fReferenceCount; }

	void release() const noexcept
	{
		if (--fReferenceCount == 0)
		{
			destroy(const_cast<HeapObject *>(this));
		}
	}

	bool isShared() const noexcept { return fReferenceCount > 1; }

protected:
	explicit HeapObject(Children children) noexcept : fChildren(children) {}

private:
	static void destroy(HeapObject *object) noexcept;

	mutable uint32_t fReferenceCount = 0;
	Children fChildren;
	HeapObject *fNextDead = nullptr; // link of the waiting list, used only after death

	static HeapObject *sFirstDead;
	static bool sIsDestroying;
};

// A counted pointer to a HeapObject.
template <class T>
class Ref
{
public:
	Ref() noexcept = default;
	Ref(std::nullptr_t) noexcept {} // NOLINT(google-explicit-constructor): a pointer like any other
	explicit Ref(T *object) noexcept : fObject(object)
	{
		if (fObject)
		{
			fObject->retain();
		}
	}
	Ref(const Ref &other) noexcept : Ref(other.fObject) {}
	Ref(Ref &&other) noexcept : fObject(std::exchange(other.fObject, nullptr)) {}
	template <class U>
	// NOLINTNEXTLINE(google-explicit-constructor): a pointer to a derived class is one to its base
	Ref(const Ref<U> &other) noexcept : Ref(static_cast<T *>(other.get()))
	{
	}
	~Ref()
	{
		if (fObject)
		{
			fObject->release();
		}
	}

	Ref &operator=(Ref other) noexcept
	{
		std::swap(fObject, other.fObject);
		return *this;
	}

	T *get() const noexcept { return fObject; }
	T *operator->() const noexcept { return fObject; }
	T &operator*() const noexcept { return *fObject; }
	explicit operator bool() const noexcept { return fObject != nullptr; }
	bool operator==(const Ref &other) const noexcept { return fObject == other.fObject; }

private:
	T *fObject = nullptr;
};

template <class T, class... Arguments>
Ref<T> makeRef(Arguments &&...arguments)
{
	return Ref<T>(new T(std::forward<Arguments>(arguments)...));
}
}
