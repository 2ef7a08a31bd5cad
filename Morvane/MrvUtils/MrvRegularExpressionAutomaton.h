#pragma once

#include "MrvUtils/MrvRegularExpressionSyntax.h"

#include <array>
#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

namespace Mrv
{
// Finds a regular expression in a text by Thompson's construction: a non-deterministic automaton, run as the set of states that it can be
// in. The sets met on the way are kept as states of a deterministic automaton, made when they are needed, so that most bytes cost one
// look-up. What is kept is bounded; beyond that it is forgotten and made anew.
class RegularExpressionAutomaton
{
public:
	// Beyond that the automaton isn't made: a set of states costs as much for each byte.
	static constexpr size_t MAX_INSTRUCTIONS = 5000;

	explicit RegularExpressionAutomaton(const RegularExpressionSyntax &syntax);

	bool isMade() const { return fIsMade; }
	bool search(std::string_view text);

private:
	enum class Operation : uint8_t
	{
		BYTES,  // takes a byte of a set, goes to `next`
		SPLIT,  // goes to `next` and to `other`
		ASSERT, // goes to `next` where the condition holds
		MATCH,
	};
	struct Instruction
	{
		Operation operation = Operation::MATCH;
		RegularExpressionSyntax::Type condition = RegularExpressionSyntax::Type::EMPTY;
		size_t set = 0;
		uint32_t next = 0;
		uint32_t other = 0;
	};
	// What stands before the next byte.
	enum class Before : uint8_t
	{
		BEGIN,
		OTHER_BYTE,
		WORD_BYTE,
	};
	// A set of instructions to go on from; what leads on without a byte has not been followed yet, since that may ask for the next byte.
	struct State
	{
		std::vector<uint32_t> instructions;
		Before before = Before::BEGIN;
		auto operator<=>(const State &) const = default;
	};

	static constexpr uint32_t UNKNOWN = UINT32_MAX;
	static constexpr uint32_t FOUND = UINT32_MAX - 1;
	static constexpr uint32_t NOT_FOUND = UINT32_MAX - 2;
	static constexpr size_t MAX_KEPT_WORDS = size_t{1} << 16; // of 4 bytes, in transitions and states

	uint32_t add(const Instruction &instruction);
	uint32_t emit(const RegularExpressionSyntax &syntax, size_t position, uint32_t next);
	uint32_t emitRepetition(const RegularExpressionSyntax &syntax, const RegularExpressionSyntax::Node &node, uint32_t next);
	void makeByteClasses(const RegularExpressionSyntax &syntax);
	uint32_t computeNext(uint32_t state, size_t byteClass);
	// Follows what leads on without a byte. True when a match is reached.
	bool follow(const State &state, size_t byteClass);
	bool holds(RegularExpressionSyntax::Type condition, Before before, size_t byteClass) const;
	uint32_t intern(State &&state);
	void forget();

	bool fIsMade = true;
	bool fHasWordConditions = false;
	std::vector<Instruction> fProgram;
	uint32_t fStart = 0;
	// Bytes that no set tells apart are one class; one more class is the end of the text.
	std::array<uint8_t, 256> fClassOf{};
	std::vector<uint8_t> fExampleOf;
	size_t fEndClass = 0;
	std::vector<std::vector<bool>> fSetHasClass; // by set, then by class

	std::map<State, uint32_t> fNumbers;
	std::vector<const State *> fStates;
	std::vector<uint32_t> fTransitions; // by state, then by class
	size_t fKeptWords = 0;
	uint32_t fFirstState = 0;

	// Of `follow`, kept for the room.
	std::vector<uint32_t> fWaiting;
	std::vector<uint32_t> fReached;
	std::vector<uint32_t> fMarks;
	uint32_t fMark = 0;
};
}
