#pragma once

#include "MrvUtils/MrvIIni.h"
#include "MrvUtils/MrvNamedList.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Mrv
{
// INI text in memory. It goes beyond the usual:
//
//   [section]            a repeated name continues the section; what stands before the first section is ignored
//   # comment            only at the beginning of a line; `;` begins no comment
//   key = to the line's end, commas and "quotes" included: one value
//   list = "a", "b" "c"  values in quotes, with the escapes of `Utils::encodeString`; separated by commas, blanks or nothing
//   key.windows = C:\x   for one system (.windows, .linux, .mac); goes before a plain `key` there, and is no entry elsewhere
//   path = ${HOME}/x     ${NAME} stands for the entry NAME of the section [placeholders]
//   none =               an entry without values: its default is used
//
// Of lines with the same key in a section the last one holds, at the place of the first. A line of any other form is ignored, a byte order
// mark in front of the text too. A quote that isn't closed is closed by the line's end. Comments aren't kept.
//
// What is asked for and isn't here is looked for in the parent, and so on. An entry without values is here.
class Ini : public IIni
{
public:
	// Gives the value of a placeholder that the program knows; false when it knows none of that name.
	using PlaceholderSource = bool (*)(const std::string &name, std::string &value);

	static constexpr std::size_t MAX_TEXT_SIZE = std::size_t{1} << 29;

	Ini() = default;
	// Empty, after a log line, for a text of more than MAX_TEXT_SIZE bytes.
	explicit Ini(const std::string &iniStr);

	std::vector<std::string> getSections() const override;
	std::vector<std::string> getEntryNames(const std::string &section) const override;
	std::size_t getEntryCount(const std::string &section, const std::string &key) const override;
	using IIni::getEntry;
	std::string getEntry(
	    const std::string &section, const std::string &key, std::size_t idx, const std::string &defaultValue) const override;
	std::string getRawEntry(const std::string &section, const std::string &key) const override;

	// Placeholders: first those of the program (`setPlaceholder`, then the source), here and in the parents; then the section
	// [placeholders], here and in the parents, by the rule of systems. Placeholders in placeholders are expanded. One that isn't known, or
	// is being expanded already, stays as it is; so does, with a log line, what would be nested deeper, or grow larger, than any sensible
	// text.
	using IIni::getResolvedEntry;
	std::string getResolvedEntry(
	    const std::string &section, const std::string &key, std::size_t idx, const std::string &defaultValue) const override;
	std::string getRawResolvedEntry(const std::string &section, const std::string &key) const override;
	// All values of an entry, and those that one value gives when its placeholders are expanded: a reference to a list gives several.
	Values getResolvedEntries(const std::string &section, const std::string &key) const;
	Values getResolvedValues(const std::string &value) const;

	// A key with a system's suffix means that very line, on any system.
	using IIni::setEntry;
	bool setEntry(const std::string &section, const std::string &key, const Values &values) override;
	bool setEntry(const std::string &section, const std::string &key, std::size_t idx, const std::string &value) override;

	// Can be set once, to an Ini that doesn't lead back to this one; otherwise false, after a log line.
	bool setParent(const std::shared_ptr<Ini> &parentIni);
	// The value stands for itself: it is no text with escapes, and placeholders in it aren't expanded.
	void setPlaceholder(const std::string &name, const std::string &value) { fPlaceholders[name] = value; }
	// Asked when no value was set; for values that are costly to know. Null for none.
	void setPlaceholderSource(PlaceholderSource source) { fPlaceholderSource = source; }

	// The line of the text that an entry was read from, counted from 1; 0 when it isn't in this text or was set by the program.
	std::size_t getEntryLine(const std::string &section, const std::string &key) const;

	// Each section as `[name]`, then its entries as `key=raw entry`, those for other systems included.
	std::string toString() const override;

	// Over sections, keys and values as they are written, in whatever order; parents and placeholders of the program don't count.
	std::uint64_t hash() const;
	bool operator==(const Ini &other) const;

protected:
	// Replaces all sections by those of a text. False, with nothing changed, when it is too long.
	bool parse(std::string_view text);

private:
	struct Entry
	{
		explicit Entry(std::string entryName) : name(std::move(entryName)) {}

		std::string name;
		Values values;
		std::size_t line = 0;
	};
	struct Section
	{
		explicit Section(std::string sectionName) : name(std::move(sectionName)) {}

		std::string name;
		NamedList<Entry> entries;
		bool hasSystemKeys = false; // or had some
	};
	class Expansion;

	// The values of a text behind `=`, and their canonical text.
	static Values parseValues(std::string_view text);
	static std::string toRawText(const Values &values);
	static void parseLine(std::string_view line, std::size_t lineNumber, NamedList<Section> &sections, Section *&section);
	static const Entry *findIn(const Section &section, const std::string &key);
	const Entry *findHere(const std::string &section, const std::string &key) const;
	const Entry *find(const std::string &section, const std::string &key) const;
	bool findProgramPlaceholder(const std::string &name, std::string &value) const;
	std::string expandRawText(const std::string &rawText) const;

	NamedList<Section> fSections;
	std::shared_ptr<Ini> fParentIni;
	std::unordered_map<std::string, std::string, StringHash> fPlaceholders;
	PlaceholderSource fPlaceholderSource = nullptr;
};
}
