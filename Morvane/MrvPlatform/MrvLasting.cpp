#include "MrvPlatform/MrvLasting.h"

namespace Mrv::Platform
{
namespace
{
struct Entry
{
	void (*end)(void *subject);
	void *subject;
	std::unique_ptr<Entry> previous;
};

class Entries
{
public:
	constexpr Entries() = default;
	~Entries()
	{
		while (fLast)
		{
			const std::unique_ptr<Entry> entry = std::exchange(fLast, std::move(fLast->previous));
			entry->end(entry->subject);
		}
	}
	Entries(const Entries &) = delete;
	Entries &operator=(const Entries &) = delete;

	void add(void (*end)(void *subject), void *subject) { fLast = std::make_unique<Entry>(Entry{end, subject, std::move(fLast)}); }

private:
	std::unique_ptr<Entry> fLast;
};

// The lowest number for programs: its destructor is entered before that of any other static object and so runs last.
[[gnu::init_priority(101)]] constinit Entries sEntries;
}

void callAtUnload(void (*end)(void *subject), void *subject)
{
	sEntries.add(end, subject);
}
}
