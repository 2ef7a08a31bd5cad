#include "MrvUtils/MrvRegularExpression.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvUtils/MrvRegularExpressionAutomaton.h"

#include <regex>
#include <unordered_map>

namespace Mrv
{
namespace
{
// The standard library's compiler recurses for each character and each group: up to here it stays within 128 KB of stack on all systems.
// Longer patterns are judged by our own reading of the same grammar.
constexpr size_t MAX_LIBRARY_PATTERN = 400;
constexpr size_t MAX_LIBRARY_NESTING = 60;

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
	if (!syntax.isValid() || (syntax.needsBacktracking() && !isForLibrary))
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
		return std::regex_search(text.begin(), text.end(), fBacktracking->expression);
	}
	catch (const std::exception &)
	{
		fMethod = Method::NONE;
		return false;
	}
}
}
