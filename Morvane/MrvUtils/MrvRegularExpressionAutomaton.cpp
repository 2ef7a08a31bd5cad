#include "MrvUtils/MrvRegularExpressionAutomaton.h"

#include <algorithm>

namespace Mrv
{
using Syntax = RegularExpressionSyntax;
using Type = RegularExpressionSyntax::Type;

// --- The program: made from behind, each part knowing what comes after it

RegularExpressionAutomaton::RegularExpressionAutomaton(const Syntax &syntax)
{
	const uint32_t match = add({});
	fStart = emit(syntax, syntax.getRoot(), match);
	if (!fIsMade)
	{
		return;
	}
	makeByteClasses(syntax);
	fMarks.assign(fProgram.size(), 0);
	forget();
}

uint32_t RegularExpressionAutomaton::add(const Instruction &instruction)
{
	if (fProgram.size() == MAX_INSTRUCTIONS)
	{
		fIsMade = false;
		return 0;
	}
	fProgram.push_back(instruction);
	return static_cast<uint32_t>(fProgram.size() - 1);
}

uint32_t RegularExpressionAutomaton::emit(const Syntax &syntax, size_t position, uint32_t next)
{
	const Syntax::Node &node = syntax.getNode(position);
	switch (node.type)
	{
		case Type::EMPTY:
			return next;
		case Type::BYTES:
			return add({Operation::BYTES, Type::BYTES, node.set, next, 0});
		case Type::SEQUENCE:
			for (auto child = node.children.rbegin(); child != node.children.rend() && fIsMade; ++child)
			{
				next = emit(syntax, *child, next);
			}
			return next;
		case Type::ALTERNATIVES:
		{
			uint32_t entry = emit(syntax, node.children.back(), next);
			for (auto child = std::next(node.children.rbegin()); child != node.children.rend() && fIsMade; ++child)
			{
				const uint32_t alternative = emit(syntax, *child, next);
				entry = add({Operation::SPLIT, Type::EMPTY, 0, alternative, entry});
			}
			return entry;
		}
		case Type::REPETITION:
			return emitRepetition(syntax, node, next);
		case Type::BEGIN:
		case Type::END:
			return add({Operation::ASSERT, node.type, 0, next, 0});
		case Type::WORD_BOUNDARY:
		case Type::NO_WORD_BOUNDARY:
			fHasWordConditions = true;
			return add({Operation::ASSERT, node.type, 0, next, 0});
	}
	return next;
}

uint32_t RegularExpressionAutomaton::emitRepetition(const Syntax &syntax, const Syntax::Node &node, uint32_t next)
{
	const size_t child = node.children.front();
	uint32_t entry = next;
	if (node.maximum == Syntax::UNLIMITED)
	{
		entry = add({Operation::SPLIT, Type::EMPTY, 0, 0, next});
		fProgram[entry].next = emit(syntax, child, entry);
	}
	else
	{
		for (uint64_t count = node.minimum; count < node.maximum && fIsMade; ++count)
		{
			const uint32_t once = emit(syntax, child, entry);
			if (once == entry)
			{
				break; // the child is empty
			}
			entry = add({Operation::SPLIT, Type::EMPTY, 0, once, next});
		}
	}
	for (uint64_t count = 0; count < node.minimum && fIsMade; ++count)
	{
		const uint32_t once = emit(syntax, child, entry);
		if (once == entry)
		{
			break;
		}
		entry = once;
	}
	return entry;
}

void RegularExpressionAutomaton::makeByteClasses(const Syntax &syntax)
{
	std::vector<Syntax::ByteSet> sets = syntax.getSets();
	if (fHasWordConditions)
	{
		Syntax::ByteSet words;
		for (size_t byte = 0; byte < 256; ++byte)
		{
			words[byte] = Syntax::isWordByte(static_cast<uint8_t>(byte));
		}
		sets.push_back(words);
	}
	std::map<std::vector<bool>, uint8_t> classes;
	for (size_t byte = 0; byte < 256; ++byte)
	{
		std::vector<bool> membership(sets.size());
		for (size_t set = 0; set < sets.size(); ++set)
		{
			membership[set] = sets[set][byte];
		}
		const auto [found, isNew] = classes.emplace(std::move(membership), static_cast<uint8_t>(fExampleOf.size()));
		if (isNew)
		{
			fExampleOf.push_back(static_cast<uint8_t>(byte));
		}
		fClassOf[byte] = found->second;
	}
	fEndClass = fExampleOf.size();
	fSetHasClass.assign(syntax.getSets().size(), std::vector<bool>(fEndClass));
	for (size_t set = 0; set < fSetHasClass.size(); ++set)
	{
		for (size_t byteClass = 0; byteClass < fEndClass; ++byteClass)
		{
			fSetHasClass[set][byteClass] = sets[set][fExampleOf[byteClass]];
		}
	}
}

// --- The search

bool RegularExpressionAutomaton::search(std::string_view text)
{
	const size_t classCount = fEndClass + 1;
	uint32_t state = fFirstState;
	for (const char byte : text)
	{
		const size_t byteClass = fClassOf[static_cast<uint8_t>(byte)];
		uint32_t next = fTransitions[state * classCount + byteClass];
		if (next == UNKNOWN)
		{
			next = computeNext(state, byteClass);
		}
		if (next == FOUND)
		{
			return true;
		}
		state = next;
	}
	const uint32_t last = fTransitions[state * classCount + fEndClass];
	return (last == UNKNOWN ? computeNext(state, fEndClass) : last) == FOUND;
}

uint32_t RegularExpressionAutomaton::computeNext(uint32_t state, size_t byteClass)
{
	uint32_t *const transition = &fTransitions[state * (fEndClass + 1) + byteClass];
	if (follow(*fStates[state], byteClass))
	{
		return *transition = FOUND;
	}
	if (byteClass == fEndClass)
	{
		return *transition = NOT_FOUND;
	}
	State next;
	for (const uint32_t reached : fReached)
	{
		const Instruction &instruction = fProgram[reached];
		if (instruction.operation == Operation::BYTES && fSetHasClass[instruction.set][byteClass])
		{
			next.instructions.push_back(instruction.next);
		}
	}
	next.instructions.push_back(fStart); // a match may begin anywhere
	std::sort(next.instructions.begin(), next.instructions.end());
	next.instructions.erase(std::unique(next.instructions.begin(), next.instructions.end()), next.instructions.end());
	next.before = fHasWordConditions && Syntax::isWordByte(fExampleOf[byteClass]) ? Before::WORD_BYTE : Before::OTHER_BYTE;

	fKeptWords += next.instructions.size() + fEndClass + 16;
	if (fKeptWords > MAX_KEPT_WORDS)
	{
		forget();
		return intern(std::move(next));
	}
	const uint32_t number = intern(std::move(next)); // may move the transitions
	fTransitions[state * (fEndClass + 1) + byteClass] = number;
	return number;
}

bool RegularExpressionAutomaton::follow(const State &state, size_t byteClass)
{
	++fMark;
	if (fMark == 0)
	{
		std::fill(fMarks.begin(), fMarks.end(), 0);
		fMark = 1;
	}
	fReached.clear();
	fWaiting = state.instructions;
	while (!fWaiting.empty())
	{
		const uint32_t current = fWaiting.back();
		fWaiting.pop_back();
		if (fMarks[current] == fMark)
		{
			continue;
		}
		fMarks[current] = fMark;
		const Instruction &instruction = fProgram[current];
		switch (instruction.operation)
		{
			case Operation::MATCH:
				return true;
			case Operation::BYTES:
				fReached.push_back(current);
				break;
			case Operation::SPLIT:
				fWaiting.push_back(instruction.other);
				fWaiting.push_back(instruction.next);
				break;
			case Operation::ASSERT:
				if (holds(instruction.condition, state.before, byteClass))
				{
					fWaiting.push_back(instruction.next);
				}
				break;
		}
	}
	return false;
}

bool RegularExpressionAutomaton::holds(Type condition, Before before, size_t byteClass) const
{
	if (condition == Type::BEGIN)
	{
		return before == Before::BEGIN;
	}
	if (condition == Type::END)
	{
		return byteClass == fEndClass;
	}
	const bool isWordBehind = byteClass != fEndClass && Syntax::isWordByte(fExampleOf[byteClass]);
	const bool isBoundary = (before == Before::WORD_BYTE) != isWordBehind;
	return isBoundary == (condition == Type::WORD_BOUNDARY);
}

uint32_t RegularExpressionAutomaton::intern(State &&state)
{
	const auto [found, isNew] = fNumbers.emplace(std::move(state), static_cast<uint32_t>(fStates.size()));
	if (isNew)
	{
		fStates.push_back(&found->first);
		fTransitions.resize(fTransitions.size() + fEndClass + 1, UNKNOWN);
	}
	return found->second;
}

void RegularExpressionAutomaton::forget()
{
	fNumbers.clear();
	fStates.clear();
	fTransitions.clear();
	fKeptWords = 0;
	fFirstState = intern(State{{fStart}, Before::BEGIN});
}
}
