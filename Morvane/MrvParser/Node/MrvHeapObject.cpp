#include "MrvParser/Node/MrvHeapObject.h"

namespace Mrv
{
HeapObject *HeapObject::sFirstDead = nullptr;
bool HeapObject::sIsDestroying = false;

void HeapObject::destroy(HeapObject *object) noexcept
{
	if (object->fChildren == Children::NONE)
	{
		delete object;
		return;
	}
	if (sIsDestroying)
	{
		object->fNextDead = sFirstDead;
		sFirstDead = object;
		return;
	}
	sIsDestroying = true;
	delete object;
	while (sFirstDead)
	{
		HeapObject *next = sFirstDead;
		sFirstDead = next->fNextDead;
		delete next;
	}
	sIsDestroying = false;
}
}
