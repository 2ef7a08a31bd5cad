#pragma once

#include <bitset>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Mrv
{
// The parsed form of a regular expression: a tree whose nodes lie in one list and name their children by position.
class RegularExpressionSyntax
{
public:
	static constexpr size_t MAX_PATTERN = size_t{1} << 16;
	// Groups in groups. The parser recurses on them.
	static constexpr size_t MAX_NESTING = 200;
	// Quantifiers behind one atom.
	static constexpr size_t MAX_QUANTIFIERS = 400;
	static constexpr uint64_t MAX_REPETITIONS = 100000;
	static constexpr uint64_t UNLIMITED = ~uint64_t{0};
	static constexpr uint64_t MAX_WRITTEN_OUT_SIZE = uint64_t{1} << 40; // larger ones aren't told apart

	using ByteSet = std::bitset<256>;

	enum class Type : uint8_t
	{
		EMPTY,
		BYTES,        // one byte of a set
		SEQUENCE,     // children one after the other
		ALTERNATIVES, // one of the children
		REPETITION,   // the one child, `minimum` to `maximum` times; which of the ways is preferred doesn't matter here
		BEGIN,        // what follows takes no byte
		END,
		WORD_BOUNDARY,
		NO_WORD_BOUNDARY,
	};
	struct Node
	{
		Type type = Type::EMPTY;
		size_t set = 0; // of BYTES
		uint64_t minimum = 0;
		uint64_t maximum = 0;
		std::vector<size_t> children;
	};

	// A pattern that is a plain text.
	struct Literal
	{
		std::string text;
		bool isAtBegin = false;
		bool isAtEnd = false;
	};

	explicit RegularExpressionSyntax(std::string_view pattern);

	// False for what isn't in the grammar or goes beyond a limit.
	bool isValid() const { return fIsValid; }
	// It holds a back-reference or a look-ahead; those are left out of the tree.
	bool needsBacktracking() const { return fNeedsBacktracking; }
	size_t getNesting() const { return fDeepest; }
	// About how many terms there are when repetitions with counts are written out, those in look-aheads included.
	uint64_t getWrittenOutSize() const { return fWrittenOutSize; }
	size_t getRoot() const { return fRoot; }
	const Node &getNode(size_t position) const { return fNodes[position]; }
	const std::vector<ByteSet> &getSets() const { return fSets; }
	std::optional<Literal> getLiteral() const;

	static bool isWordByte(uint8_t byte);

private:
	// The pattern's characters, taken from the front.
	bool isAtEnd() const { return fRest.empty(); }
	char peek() const { return fRest.empty() ? '\0' : fRest.front(); }
	bool take(std::string_view text);
	char takeByte();
	size_t fail();

	size_t parseAlternatives();
	size_t parseSequence();
	// Gives NOTHING where no term begins.
	size_t parseTerm();
	size_t parseAtom();
	size_t parseGroup();
	size_t parseLookAhead();
	size_t parseEscape();
	// `sizeBefore`: the size written out of all that stands before the atom.
	size_t parseQuantifiers(size_t atom, uint64_t sizeBefore);
	bool parseBraces(uint64_t &minimum, uint64_t &maximum);
	bool takeNumber(uint64_t &number);
	bool takeHex(size_t digits, char &byte);
	size_t parseBracket();
	// What stands in brackets at one place: a byte, or a class that has gone into the set.
	enum class Element : uint8_t
	{
		NONE, // the end, or a failure
		BYTE,
		CLASS,
		DASH,
	};
	Element takeElement(ByteSet &set, char &byte);
	Element takeNamedElement(ByteSet &set, char &byte);
	bool takeSimpleEscape(char &byte, bool isInBrackets);

	size_t addNode(Node node);
	size_t addNode(Type type) { return addNode(Node{type, 0, 0, 0, {}}); }
	size_t addSet(const ByteSet &set);

	static constexpr size_t NOTHING = ~size_t{0};

	std::string_view fRest;
	std::vector<Node> fNodes;
	std::vector<ByteSet> fSets;
	size_t fRoot = 0;
	size_t fNesting = 0;
	size_t fDeepest = 0;
	uint64_t fWrittenOutSize = 0;
	size_t fGroupCount = 0;
	std::vector<size_t> fOpenGroups;
	bool fNeedsBacktracking = false;
	bool fIsValid = true;
};
}
