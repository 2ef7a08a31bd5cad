// The expansion of placeholders. It works on canonical texts: what stands between the outer quotes of a placeholder's canonical text takes
// the reference's place, so that escapes stay right and a list comes in as a list. Each text is gone through once; what was put in is
// expanded before it is put in.
#include "MrvLogger/MrvChecks.h"
#include "MrvUtils/MrvIni.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>

namespace Mrv
{
namespace
{
constexpr std::string_view REFERENCE_BEGIN = "${";
constexpr std::string_view PLACEHOLDERS_SECTION = "placeholders";
// Far beyond what settings need. Placeholders that double each other would otherwise fill the memory.
constexpr std::size_t MAX_NESTING = 64;
constexpr std::size_t MAX_REFERENCES = 100'000;
constexpr std::size_t MAX_EXPANDED_SIZE = std::size_t{1} << 24;
}

// One expansion of one text.
class Ini::Expansion
{
public:
	explicit Expansion(const Ini &ini) : fIni(ini) {}

	std::string run(std::string_view rawText)
	{
		append(rawText);
		return std::move(fResult);
	}

private:
	void append(std::string_view rawText)
	{
		std::size_t pos = 0;
		for (std::size_t end = rawText.find('}'); end != std::string_view::npos; end = rawText.find('}', end + 1))
		{
			// The innermost beginning: a name holds none.
			const std::string_view before = rawText.substr(pos, end - pos);
			const std::size_t begin = before.rfind(REFERENCE_BEGIN);
			fResult.append(before.substr(0, begin));
			if (begin == std::string_view::npos)
			{
				fResult += '}';
			}
			else if (!appendPlaceholder(Utils::decodeString(before.substr(begin + REFERENCE_BEGIN.size()))))
			{
				fResult.append(before.substr(begin)) += '}';
			}
			pos = end + 1;
		}
		fResult.append(rawText.substr(pos));
	}

	// False when the reference is to stay.
	bool appendPlaceholder(const std::string &name)
	{
		if (fIsGivenUp || std::find(fBeingExpanded.begin(), fBeingExpanded.end(), name) != fBeingExpanded.end())
		{
			return false;
		}
		std::string value;
		if (fIni.findProgramPlaceholder(name, value))
		{
			if (mayGrowBy(value.size()))
			{
				fResult += Utils::encodeString(value);
			}
			return !fIsGivenUp;
		}
		const Entry *const entry = fIni.find(std::string(PLACEHOLDERS_SECTION), name);
		if (!entry)
		{
			return false;
		}
		const std::string rawText = toRawText(entry->values);
		if (!mayGrowBy(rawText.size()))
		{
			return false;
		}
		fBeingExpanded.push_back(name);
		append(rawText.empty() ? std::string_view() : std::string_view(rawText).substr(1, rawText.size() - 2));
		fBeingExpanded.pop_back();
		return true;
	}

	bool mayGrowBy(std::size_t size)
	{
		++fReferenceCount;
		if (fBeingExpanded.size() >= MAX_NESTING || fReferenceCount > MAX_REFERENCES || fResult.size() + size > MAX_EXPANDED_SIZE)
		{
			LOG_ERROR("placeholders are nested too deeply or expand to too much");
			fIsGivenUp = true;
		}
		return !fIsGivenUp;
	}

	const Ini &fIni;
	std::string fResult;
	std::vector<std::string> fBeingExpanded; // outermost first
	std::size_t fReferenceCount = 0;
	bool fIsGivenUp = false;
};

bool Ini::findProgramPlaceholder(const std::string &name, std::string &value) const
{
	for (const Ini *ini = this; ini; ini = ini->fParentIni.get())
	{
		const auto found = ini->fPlaceholders.find(name);
		if (found != ini->fPlaceholders.end())
		{
			value = found->second;
			return true;
		}
		if (ini->fPlaceholderSource && ini->fPlaceholderSource(name, value))
		{
			return true;
		}
	}
	return false;
}

std::string Ini::expandRawText(const std::string &rawText) const
{
	return rawText.find(REFERENCE_BEGIN) == std::string::npos ? rawText : Expansion(*this).run(rawText);
}

std::string Ini::getRawResolvedEntry(const std::string &section, const std::string &key) const
{
	return expandRawText(getRawEntry(section, key));
}

Ini::Values Ini::getResolvedEntries(const std::string &section, const std::string &key) const
{
	const Entry *const entry = find(section, key);
	if (!entry)
	{
		return {};
	}
	const bool hasReference = std::any_of(entry->values.begin(), entry->values.end(),
	    [](const std::string &value) { return value.find(REFERENCE_BEGIN) != std::string::npos; });
	return hasReference ? parseValues(expandRawText(toRawText(entry->values))) : entry->values;
}

Ini::Values Ini::getResolvedValues(const std::string &value) const
{
	return parseValues(expandRawText(Utils::enquote(value)));
}

std::string Ini::getResolvedEntry(
    const std::string &section, const std::string &key, std::size_t idx, const std::string &defaultValue) const
{
	const Values values = getResolvedEntries(section, key);
	return idx < values.size() ? values[idx] : defaultValue;
}
}
