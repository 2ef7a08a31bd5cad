#include "MrvUtils/MrvRegularExpression.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvPlatform/MrvStack.h"
#include "MrvUtils/MrvRegularExpressionAutomaton.h"

#include <iterator>
#include <regex>
#include <stdexcept>
#include <unordered_map>

namespace Mrv
{
namespace
{
// The standard library's compiler recurses for each character and each group: up to here it stays within 128 KB of stack on all systems.
// Longer patterns are judged by our own reading of the same grammar.
constexpr size_t MAX_LIBRARY_PATTERN = 400;
constexpr size_t MAX_LIBRARY_NESTING = 60;
// The library's matcher recurses for each state, and tries all ways: `(a|a)*(?=b)c` takes 2^24 times as long on 24 bytes as on none. So
// the states are few, and each look at the text counts and is refused when the stack runs low.
constexpr uint64_t MAX_BACKTRACKING_SIZE = 400;
constexpr uint64_t MAX_BACKTRACKING_STEPS = uint64_t{1} << 18;
constexpr size_t BACKTRACKING_STACK_RESERVE = size_t{256} * 1024;

// A place in a text that counts how often any such place is looked at, and throws when that was too often.
class CountedPosition
{
public:
	using iterator_category = std::bidirectional_iterator_tag;
	using value_type = char;
	using difference_type = std::ptrdiff_t;
	using pointer = const char *;
	using reference = const char &;

	CountedPosition() = default;
	CountedPosition(const char *position, uint64_t &stepsLeft) : fPosition(position), fStepsLeft(&stepsLeft) {}

	reference operator*() const
	{
		count();
		return *fPosition;
	}
	CountedPosition &operator++()
	{
		++fPosition;
		return *this;
	}
	CountedPosition operator++(int)
	{
		const CountedPosition before = *this;
		++fPosition;
		return before;
	}
	CountedPosition &operator--()
	{
		--fPosition;
		return *this;
	}
	CountedPosition operator--(int)
	{
		const CountedPosition before = *this;
		--fPosition;
		return before;
	}
	bool operator==(const CountedPosition &other) const
	{
		count();
		return fPosition == other.fPosition;
	}

private:
	void count() const
	{
		if (fStepsLeft && ((*fStepsLeft)-- == 0 || Platform::stackBytesLeft() - 1 < BACKTRACKING_STACK_RESERVE))
		{
			throw std::runtime_error("a regular expression takes too long or too much stack");
		}
	}

	const char *fPosition = nullptr;
	uint64_t *fStepsLeft = nullptr;
};

// Letters, digits, dots and what can't be misread: valid at first sight.
bool isPlain(const std::string &pattern)
{
	return pattern.find_first_of("\\[](){}|") == std::string::npos && pattern.find_first_of("*+?") == std::string::npos;
}
}

struct RegularExpression::Backtracking
{
	std::regex expression;
	bool isLengthLogged = false;
};

RegularExpression::RegularExpression(const std::string &pattern)
{
	try
	{
		prepare(pattern);
	}
	catch (const std::exception &) // the library's refusals, and memory
	{
		fMethod = Method::NONE;
	}
}

RegularExpression::~RegularExpression() = default;

std::shared_ptr<const RegularExpression> RegularExpression::compile(const std::string &pattern)
{
	static std::unordered_map<std::string, std::shared_ptr<const RegularExpression>> sKept;
	if (pattern.size() > MAX_KEPT_PATTERN)
	{
		return std::make_shared<RegularExpression>(pattern);
	}
	const auto found = sKept.find(pattern);
	if (found != sKept.end() && found->second->isValid())
	{
		return found->second;
	}
	if (sKept.size() >= MAX_KEPT)
	{
		sKept.clear();
	}
	return sKept[pattern] = std::make_shared<RegularExpression>(pattern);
}

void RegularExpression::prepare(const std::string &pattern)
{
	const RegularExpressionSyntax syntax(pattern);
	const bool isForLibrary = pattern.size() <= MAX_LIBRARY_PATTERN && syntax.getNesting() <= MAX_LIBRARY_NESTING;
	const bool mayBacktrack = isForLibrary && syntax.getWrittenOutSize() <= MAX_BACKTRACKING_SIZE;
	if (!syntax.isValid() || (syntax.needsBacktracking() && !mayBacktrack))
	{
		return;
	}
	if (syntax.needsBacktracking())
	{
		fBacktracking = std::make_unique<Backtracking>();
		fBacktracking->expression = std::regex(pattern);
		fMethod = Method::BACKTRACKING;
		return;
	}
	if (isForLibrary && !isPlain(pattern))
	{
		const std::regex judge(pattern); // throws for what is none
	}
	if (const auto literal = syntax.getLiteral())
	{
		fLiteral = *literal;
		fMethod = Method::LITERAL;
		return;
	}
	fAutomaton = std::make_unique<RegularExpressionAutomaton>(syntax);
	fMethod = fAutomaton->isMade() ? Method::AUTOMATON : Method::NONE;
}

bool RegularExpression::search(std::string_view text) const
{
	switch (fMethod)
	{
		case Method::NONE:
			return false;
		case Method::LITERAL:
			return findLiteral(text);
		case Method::AUTOMATON:
			return fAutomaton->search(text);
		case Method::BACKTRACKING:
			return searchByBacktracking(text);
	}
	return false;
}

bool RegularExpression::findLiteral(std::string_view text) const
{
	if (fLiteral.isAtBegin)
	{
		return fLiteral.isAtEnd ? text == fLiteral.text : text.starts_with(fLiteral.text);
	}
	return fLiteral.isAtEnd ? text.ends_with(fLiteral.text) : text.find(fLiteral.text) != std::string_view::npos;
}

bool RegularExpression::searchByBacktracking(std::string_view text) const
{
	if (text.size() > MAX_BACKTRACKING_TEXT)
	{
		if (!fBacktracking->isLengthLogged)
		{
			LOG_WARNING("regular expression with back-references or look-ahead: not tried on a longer text");
			fBacktracking->isLengthLogged = true;
		}
		return false;
	}
	try
	{
		uint64_t stepsLeft = MAX_BACKTRACKING_STEPS;
		return std::regex_search(
		    CountedPosition(text.data(), stepsLeft), CountedPosition(text.data() + text.size(), stepsLeft), fBacktracking->expression);
	}
	catch (const std::exception &)
	{
		LOG_WARNING("regular expression with back-references or look-ahead: given up, it takes too long");
		fMethod = Method::NONE;
		return false;
	}
}
}
