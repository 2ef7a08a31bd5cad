#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Mrv
{
// Settings in sections: each section has entries, an entry has a key and a list of values. Nothing fails on what isn't there: a getter
// then gives the default that it was told, or an empty text. Names are compared byte for byte.
class IIni
{
public:
	using Values = std::vector<std::string>;

	IIni() = default;
	virtual ~IIni() = default;

	// The names of all sections, in the order in which they first appeared.
	virtual std::vector<std::string> getSections() const = 0;
	// The keys of a section that count on this system, each once, in the order in which they first appeared.
	virtual std::vector<std::string> getEntryNames(const std::string &section) const = 0;
	virtual std::size_t getEntryCount(const std::string &section, const std::string &key) const = 0;

	// One value as it was written, its placeholders unexpanded.
	virtual std::string getEntry(
	    const std::string &section, const std::string &key, std::size_t idx, const std::string &defaultValue) const = 0;
	std::string getEntry(const std::string &section, const std::string &key, std::size_t idx = 0) const
	{
		return getEntry(section, key, idx, std::string());
	}
	std::string getEntry(const std::string &section, const std::string &key, const std::string &defaultValue) const
	{
		return getEntry(section, key, 0, defaultValue);
	}

	// The canonical text of all values: each in double quotes with escapes, joined by commas.
	virtual std::string getRawEntry(const std::string &section, const std::string &key) const = 0;

	// The same with placeholders expanded. The count of values may differ from that of the unexpanded ones.
	virtual std::string getResolvedEntry(
	    const std::string &section, const std::string &key, std::size_t idx, const std::string &defaultValue) const = 0;
	std::string getResolvedEntry(const std::string &section, const std::string &key, std::size_t idx = 0) const
	{
		return getResolvedEntry(section, key, idx, std::string());
	}
	std::string getResolvedEntry(const std::string &section, const std::string &key, const std::string &defaultValue) const
	{
		return getResolvedEntry(section, key, 0, defaultValue);
	}
	virtual std::string getRawResolvedEntry(const std::string &section, const std::string &key) const = 0;

	// Sets all values of an entry, which is made when it is missing; no values at all remove it. On a key that has an entry of its own for
	// this system that one is changed. False, with a log line and nothing changed, for a section or key that can't be written.
	virtual bool setEntry(const std::string &section, const std::string &key, const Values &values) = 0;
	bool setEntry(const std::string &section, const std::string &key, const std::string &value)
	{
		return setEntry(section, key, Values{value});
	}
	// Replaces one value; an index beyond the end appends one.
	virtual bool setEntry(const std::string &section, const std::string &key, std::size_t idx, const std::string &value) = 0;

	// The whole text; what is read from it is equal to this.
	virtual std::string toString() const = 0;

protected:
	IIni(const IIni &) = default;
	IIni(IIni &&) = default;
	IIni &operator=(const IIni &) = default;
	IIni &operator=(IIni &&) = default;
};
}
