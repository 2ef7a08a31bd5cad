#pragma once

#include "MrvUtils/MrvRegularExpressionSyntax.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace Mrv
{
class RegularExpressionAutomaton;

// A regular expression in the grammar of ECMAScript, as the standard library reads it: on bytes, case-sensitive, in the "C" locale. It
// answers one question, whether it is found anywhere in a text, and takes time in proportion to the text's length: it runs all ways to
// match side by side, never one after the other.
//
// What needs to remember what it has matched, back-references and look-ahead, can't be run so. It goes to the standard library, whose time
// may grow without bound, and is therefore tried on short texts only (MAX_BACKTRACKING_TEXT).
class RegularExpression
{
public:
	static constexpr size_t MAX_BACKTRACKING_TEXT = 24;

	// Never null. Patterns that were compiled lately are kept, up to MAX_KEPT of them.
	static std::shared_ptr<const RegularExpression> compile(const std::string &pattern);
	explicit RegularExpression(const std::string &pattern);
	RegularExpression(const RegularExpression &) = delete;
	RegularExpression &operator=(const RegularExpression &) = delete;
	~RegularExpression();

	// False for a pattern that is none, that is too large (RegularExpressionSyntax::MAX_PATTERN,
	// RegularExpressionAutomaton::MAX_INSTRUCTIONS), or with which the standard library has failed in a search. Nothing is found with such
	// a one.
	bool isValid() const { return fMethod != Method::NONE; }
	// Whether the pattern is found in the text. One that goes to the standard library is never found in a longer text; the first
	// time that happens, a line is logged.
	bool search(std::string_view text) const;

private:
	static constexpr size_t MAX_KEPT = 32;
	static constexpr size_t MAX_KEPT_PATTERN = 256;

	enum class Method : uint8_t
	{
		NONE,
		LITERAL, // a text, possibly at the beginning or the end
		AUTOMATON,
		BACKTRACKING, // the standard library's
	};
	struct Backtracking;

	void prepare(const std::string &pattern);
	bool findLiteral(std::string_view text) const;
	bool searchByBacktracking(std::string_view text) const;

	mutable Method fMethod = Method::NONE;
	RegularExpressionSyntax::Literal fLiteral;
	std::unique_ptr<RegularExpressionAutomaton> fAutomaton;
	std::unique_ptr<Backtracking> fBacktracking;
};
}
