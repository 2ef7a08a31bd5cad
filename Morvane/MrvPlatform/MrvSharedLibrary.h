#pragma once

#include <string>

namespace Mrv::Platform
{
// A library loaded at run time, unloaded with this object: what it gave is gone then.
class SharedLibrary
{
public:
	// The path should be absolute, since the system looks in places of its own for others.
	explicit SharedLibrary(const std::string &path);
	~SharedLibrary();
	SharedLibrary(const SharedLibrary &) = delete;
	SharedLibrary &operator=(const SharedLibrary &) = delete;

	bool isLoaded() const { return fHandle != nullptr; }
	// Why it could not be loaded, in the system's words; empty when it was.
	const std::string &getRefusal() const { return fRefusal; }
	// Null when the library doesn't export it.
	template <class Function>
	Function *find(const char *name) const
	{
		return reinterpret_cast<Function *>(findSymbol(name));
	}
	// Whether the process has a library of that path, without loading it.
	static bool isInMemory(const std::string &path);

private:
	void *findSymbol(const char *name) const;

	void *fHandle = nullptr;
	std::string fRefusal;
};
}
