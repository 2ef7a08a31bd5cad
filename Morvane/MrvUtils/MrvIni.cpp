// Entries are kept as their lines say, those for other systems too, so that nothing is lost when the text is written again; which of them
// counts here is decided at each look-up.
#include "MrvUtils/MrvIni.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvEnvironment.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>
#include <unordered_set>

namespace Mrv
{
namespace
{
constexpr std::string_view BLANKS = " \t\r\n";
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
constexpr std::string_view SYSTEM_SUFFIXES[] = {".windows", ".linux", ".mac"};
constexpr std::size_t SHORTEST_SECTION_LINE = 3; // a name of one character in brackets

std::string_view trimmed(std::string_view text)
{
	const std::size_t first = text.find_first_not_of(BLANKS);
	return first == std::string_view::npos ? std::string_view() : text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

const std::string &ownSuffix()
{
	static const std::string sSuffix = "." + Platform::systemName();
	return sSuffix;
}

// The suffix that makes a key one of a system; empty for other keys.
std::string_view systemSuffixOf(std::string_view key)
{
	for (const std::string_view suffix : SYSTEM_SUFFIXES)
	{
		if (key.size() > suffix.size() && key.ends_with(suffix))
		{
			return suffix;
		}
	}
	return {};
}

// The end of a quoted value that begins behind `pos`: the place of its closing quote, or the text's end.
std::size_t endOfQuoted(std::string_view text, std::size_t pos)
{
	for (pos = text.find_first_of("\\\"", pos); pos != std::string_view::npos && text[pos] == '\\';)
	{
		// Whatever the escaped character is, it closes nothing.
		pos = text.find_first_of("\\\"", std::min(pos + 2, text.size()));
	}
	return std::min(pos, text.size());
}

bool isWritableSection(const std::string &name)
{
	return !name.empty() && name.find('\n') == std::string::npos;
}

bool isWritableKey(const std::string &key)
{
	return !key.starts_with('#') && key.find_first_of("=\n") == std::string::npos && trimmed(key).size() == key.size();
}

std::uint64_t hashOf(const std::string &key, const IIni::Values &values)
{
	std::uint64_t hash = fnvHash(key);
	for (const std::string &value : values)
	{
		hash = fnvCombine(hash, fnvHash(value));
	}
	return hash;
}
}

// --- Parser

Ini::Ini(const std::string &iniStr)
{
	SANITY_CHECK(parse(iniStr), return );
}

bool Ini::parse(std::string_view text)
{
	if (text.size() > MAX_TEXT_SIZE)
	{
		return false;
	}
	if (text.starts_with(BYTE_ORDER_MARK))
	{
		text.remove_prefix(BYTE_ORDER_MARK.size());
	}
	NamedList<Section> sections;
	Section *section = nullptr;
	for (std::size_t lineNumber = 1; !text.empty(); ++lineNumber)
	{
		const std::size_t lineEnd = std::min(text.find('\n'), text.size());
		parseLine(trimmed(text.substr(0, lineEnd)), lineNumber, sections, section);
		text.remove_prefix(std::min(lineEnd + 1, text.size()));
	}
	fSections = std::move(sections);
	return true;
}

void Ini::parseLine(std::string_view line, std::size_t lineNumber, NamedList<Section> &sections, Section *&section)
{
	if (line.empty() || line.front() == '#')
	{
		return;
	}
	if (line.size() >= SHORTEST_SECTION_LINE && line.front() == '[' && line.back() == ']')
	{
		section = &sections.findOrAdd(line.substr(1, line.size() - 2));
		return;
	}
	const std::size_t equals = line.find('=');
	if (equals == std::string_view::npos || !section)
	{
		return;
	}
	Entry &entry = section->entries.findOrAdd(trimmed(line.substr(0, equals)));
	entry.values = parseValues(trimmed(line.substr(equals + 1)));
	entry.line = lineNumber;
	section->hasSystemKeys = section->hasSystemKeys || !systemSuffixOf(entry.name).empty();
}

Ini::Values Ini::parseValues(std::string_view text)
{
	constexpr std::string_view SEPARATORS = " \t,";
	Values values;
	for (std::size_t pos = text.find_first_not_of(SEPARATORS); pos < text.size(); pos = text.find_first_not_of(SEPARATORS, pos))
	{
		if (text[pos] != '"')
		{
			// Without a quote in front it is one value to the end.
			const std::size_t last = text.find_last_not_of(" \t");
			values.emplace_back(text.substr(pos, last - pos + 1));
			break;
		}
		const std::size_t end = endOfQuoted(text, pos + 1);
		values.push_back(Utils::decodeString(text.substr(pos + 1, end - pos - 1)));
		pos = std::min(end + 1, text.size());
	}
	return values;
}

std::string Ini::toRawText(const Values &values)
{
	std::string text;
	for (const std::string &value : values)
	{
		text += text.empty() ? "" : ",";
		text += Utils::enquote(value);
	}
	return text;
}

// --- Look-up

const Ini::Entry *Ini::findIn(const Section &section, const std::string &key)
{
	if (!section.hasSystemKeys)
	{
		return section.entries.find(key);
	}
	const Entry *const ofThisSystem = section.entries.find(key + ownSuffix());
	return ofThisSystem || !systemSuffixOf(key).empty() ? ofThisSystem : section.entries.find(key);
}

const Ini::Entry *Ini::findHere(const std::string &section, const std::string &key) const
{
	const Section *const found = fSections.find(section);
	return found ? findIn(*found, key) : nullptr;
}

const Ini::Entry *Ini::find(const std::string &section, const std::string &key) const
{
	for (const Ini *ini = this; ini; ini = ini->fParentIni.get())
	{
		if (const Entry *const entry = ini->findHere(section, key))
		{
			return entry;
		}
	}
	return nullptr;
}

std::vector<std::string> Ini::getSections() const
{
	std::vector<std::string> names;
	names.reserve(fSections.size());
	for (const Section &section : fSections)
	{
		names.push_back(section.name);
	}
	return names;
}

std::vector<std::string> Ini::getEntryNames(const std::string &section) const
{
	std::vector<std::string> names;
	const Section *const found = fSections.find(section);
	if (!found)
	{
		return names;
	}
	std::unordered_set<std::string_view, StringHash> listed;
	for (const Entry &entry : found->entries)
	{
		std::string_view name = entry.name;
		const std::string_view suffix = systemSuffixOf(name);
		name.remove_suffix(suffix.size());
		if ((suffix.empty() || suffix == ownSuffix()) && listed.insert(name).second)
		{
			names.emplace_back(name);
		}
	}
	return names;
}

std::size_t Ini::getEntryCount(const std::string &section, const std::string &key) const
{
	const Entry *const entry = find(section, key);
	return entry ? entry->values.size() : 0;
}

std::string Ini::getEntry(const std::string &section, const std::string &key, std::size_t idx, const std::string &defaultValue) const
{
	const Entry *const entry = find(section, key);
	return entry && idx < entry->values.size() ? entry->values[idx] : defaultValue;
}

std::string Ini::getRawEntry(const std::string &section, const std::string &key) const
{
	const Entry *const entry = find(section, key);
	return entry ? toRawText(entry->values) : std::string();
}

std::size_t Ini::getEntryLine(const std::string &section, const std::string &key) const
{
	const Entry *const entry = findHere(section, key);
	return entry ? entry->line : 0;
}

// --- Change

bool Ini::setEntry(const std::string &section, const std::string &key, const Values &values)
{
	if (!isWritableSection(section) || !isWritableKey(key))
	{
		LOG_ERROR("no such INI entry can be written: [" + section + "] " + key);
		return false;
	}
	Section *const known = fSections.find(section);
	const Entry *const winner = known ? findIn(*known, key) : nullptr;
	const std::string written = winner ? winner->name : key;
	if (values.empty())
	{
		if (known)
		{
			known->entries.erase(written);
		}
		return true;
	}
	Section &changed = fSections.findOrAdd(section);
	Entry &entry = changed.entries.findOrAdd(written);
	entry.values = values;
	entry.line = 0;
	changed.hasSystemKeys = changed.hasSystemKeys || !systemSuffixOf(written).empty();
	return true;
}

bool Ini::setEntry(const std::string &section, const std::string &key, std::size_t idx, const std::string &value)
{
	const Section *const known = fSections.find(section);
	const Entry *entry = known ? findIn(*known, key) : nullptr;
	if (known && !entry)
	{
		entry = known->entries.find(key); // a line for a system, named in full
	}
	Values values = entry ? entry->values : Values();
	if (idx < values.size())
	{
		values[idx] = value;
	}
	else
	{
		values.push_back(value);
	}
	return setEntry(section, key, values);
}

bool Ini::setParent(const std::shared_ptr<Ini> &parentIni)
{
	SANITY_CHECK(parentIni, return false);
	SANITY_CHECK_AS(!fParentIni, "! fParentIni", return false);
	for (const Ini *ancestor = parentIni.get(); ancestor; ancestor = ancestor->fParentIni.get())
	{
		SANITY_CHECK(ancestor != this, return false);
	}
	fParentIni = parentIni;
	return true;
}

// --- The whole

std::string Ini::toString() const
{
	std::string text;
	for (const Section &section : fSections)
	{
		text.append("[").append(section.name).append("]\n");
		for (const Entry &entry : section.entries)
		{
			text.append(entry.name).append("=").append(toRawText(entry.values)).append("\n");
		}
	}
	return text;
}

// Sums, since the order doesn't matter.
std::uint64_t Ini::hash() const
{
	std::uint64_t sum = 0;
	for (const Section &section : fSections)
	{
		std::uint64_t sumOfEntries = 0;
		for (const Entry &entry : section.entries)
		{
			sumOfEntries += hashOf(entry.name, entry.values);
		}
		sum += fnvCombine(fnvHash(section.name), sumOfEntries);
	}
	return sum;
}

bool Ini::operator==(const Ini &other) const
{
	const auto areEqual = [](const Section &section, const Section *otherSection)
	{
		return otherSection && section.entries.size() == otherSection->entries.size() &&
		       std::all_of(section.entries.begin(), section.entries.end(),
		           [&](const Entry &entry)
		           {
			           const Entry *const otherEntry = otherSection->entries.find(entry.name);
			           return otherEntry && entry.values == otherEntry->values;
		           });
	};
	return fSections.size() == other.fSections.size() &&
	       std::all_of(fSections.begin(), fSections.end(),
	           [&](const Section &section) { return areEqual(section, other.fSections.find(section.name)); });
}
}
