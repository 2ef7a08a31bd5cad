#pragma once

#include <unistd.h>
#include <utility>

namespace Mrv::Platform::Posix
{
// Owns a file descriptor.
class Descriptor
{
public:
	Descriptor() = default;
	explicit Descriptor(int descriptor) : fDescriptor(descriptor) {}
	Descriptor(Descriptor &&other) noexcept : fDescriptor(std::exchange(other.fDescriptor, -1)) {}
	Descriptor(const Descriptor &) = delete;
	Descriptor &operator=(const Descriptor &) = delete;
	Descriptor &operator=(Descriptor &&other) noexcept
	{
		std::swap(fDescriptor, other.fDescriptor);
		return *this;
	}
	~Descriptor() { close(); }

	void close()
	{
		if (fDescriptor >= 0)
		{
			::close(std::exchange(fDescriptor, -1));
		}
	}
	bool isOpen() const { return fDescriptor >= 0; }
	int get() const { return fDescriptor; }

private:
	int fDescriptor = -1;
};
}
