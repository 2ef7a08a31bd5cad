// Random programs, run by the system and by a small evaluator of its own that knows nothing of the system's: it works on the flat list of
// operands and operators of an expression, as the language's rules are told, and not on trees.
#include "MrvParser/Language/ModelValue.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Language/MrvScriptEvaluation.h"
#include "MrvParser/Node/MrvConversions.h"
#include "support/Mode.h"
#include "support/MrvTestCoordinator.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <random>

namespace Mrv::Test
{
namespace
{
using namespace Rules;

// --- Programs: written and run by the model at the same time

class Program
{
public:
	explicit Program(unsigned seed) : fRandom(seed) {}

	// Writes some statements and runs them in the model.
	void write(int count)
	{
		for (; count > 0; --count)
		{
			writeStatement();
		}
	}
	std::string getText() const { return fText + "[a, b, c, d]"; }
	// The same as a function that is called: its variables are in slots.
	std::string getFunctionText() const { return "function f() {\n" + fText + "return [a, b, c, d] }\nf()"; }
	std::string getExpected() const
	{
		std::string text;
		for (const char *name : {"a", "b", "c", "d"})
		{
			text += (text.empty() ? "" : ", ") + literalOf(read({name, {}}));
		}
		return '[' + text + ']';
	}
	// A container holds itself or much was copied: the model can't follow.
	bool isTooDifficult() const { return fIsTooDifficult; }

private:
	struct Key
	{
		std::string text;
		bool isIndex = false;
	};
	struct Place
	{
		std::string name;
		std::vector<Key> keys;
	};

	int pick(int count) { return static_cast<int>(fRandom() % static_cast<unsigned>(count)); }

	// --- Places

	Place writePlace(std::string &text, int maxKeys)
	{
		Place place;
		place.name = std::string(1, "abcd"[pick(4)]);
		text += place.name;
		for (int count = pick(maxKeys + 1); count > 0; --count)
		{
			switch (pick(6))
			{
				case 0:
				case 1:
				{
					const std::string name(1, "xy"[pick(2)]);
					text += '.' + name;
					place.keys.push_back({name, false});
					break;
				}
				case 2:
					text += "['1']";
					place.keys.push_back({"1", false});
					break;
				case 3:
					text += "[1.5]";
					place.keys.push_back({"1.500000", false});
					break;
				default:
				{
					const std::string index = std::to_string(pick(3));
					text += '[' + index + ']';
					place.keys.push_back({index, true});
					break;
				}
			}
		}
		return place;
	}

	static std::optional<size_t> positionOf(const Key &key)
	{
		const bool isNumeric = key.text.find_first_not_of("0123456789") == std::string::npos;
		return isNumeric ? std::optional<size_t>(std::stoul(key.text)) : std::nullopt;
	}

	static Model *find(const Model &parent, const Key &key)
	{
		if (parent.type == Type::MAP)
		{
			const auto found = parent.container->entries.find(key.text);
			return found == parent.container->entries.end() ? nullptr : &found->second;
		}
		if (parent.type != Type::ARRAY || !positionOf(key) || *positionOf(key) >= parent.container->elements.size())
		{
			return nullptr;
		}
		return &parent.container->elements[*positionOf(key)];
	}

	Model read(const Place &place) const
	{
		Model absent;
		absent.isAbsent = true;
		const auto variable = fVariables.find(place.name);
		Model value = variable == fVariables.end() ? absent : variable->second;
		for (const Key &key : place.keys)
		{
			if (value.type == Type::STRING && key.isIndex)
			{
				const size_t position = *positionOf(key);
				value = position < value.text.size() ? fromText(value.text.substr(position, 1)) : absent;
				continue;
			}
			const Model *child = find(value, key);
			value = child ? *child : absent;
		}
		return value;
	}

	// The value of an assignment: an Error when the place can't take it; nothing has changed then.
	Model store(const Place &place, Model value)
	{
		value.isAbsent = false;
		Model parent = read({place.name, {}});
		size_t known = 0; // how many keys lead to what is there
		while (known + 1 < place.keys.size() && isContainer(parent) && find(parent, place.keys[known]) &&
		       !isEmpty(*find(parent, place.keys[known])))
		{
			parent = *find(parent, place.keys[known++]);
		}
		// What is missing is made from the innermost container outwards, and put where it belongs at the end.
		Model made = value;
		size_t at = place.keys.size();
		const size_t first = isEmpty(parent) ? 0 : known + 1;
		for (; at > first; --at)
		{
			Model container = simple(place.keys[at - 1].isIndex ? Type::ARRAY : Type::MAP);
			container.container = std::make_shared<Container>();
			put(container, place.keys[at - 1], made);
			made = container;
		}
		if (at == 0)
		{
			fVariables[place.name] = made;
			return value;
		}
		if (!isContainer(parent) || (parent.type == Type::ARRAY && !positionOf(place.keys[at - 1])))
		{
			return simple(Type::FAULT);
		}
		if (reaches(made, *parent.container))
		{
			fIsTooDifficult = true;
			return value;
		}
		put(parent, place.keys[at - 1], made);
		return value;
	}

	static void put(const Model &parent, const Key &key, const Model &value)
	{
		if (parent.type == Type::MAP)
		{
			parent.container->entries[key.text] = value;
			return;
		}
		const size_t position = *positionOf(key);
		if (parent.container->elements.size() <= position)
		{
			parent.container->elements.resize(position + 1);
		}
		parent.container->elements[position] = value;
	}

	static bool reaches(const Model &model, const Container &container)
	{
		bool isReached = model.container.get() == &container;
		if (model.container && !isReached)
		{
			for (const Model &element : model.container->elements)
			{
				isReached = isReached || reaches(element, container);
			}
			for (const auto &entry : model.container->entries)
			{
				isReached = isReached || reaches(entry.second, container);
			}
		}
		return isReached;
	}

	Model change(const Place &place, const std::string &sign, bool isPrefix)
	{
		const Model old = read(place);
		if (old.isAbsent || old.type == Type::FAULT)
		{
			return simple(Type::FAULT);
		}
		const Model changed = fromNumber(numberOf(old) + (sign == "++" ? 1 : -1));
		if (store(place, changed).type == Type::FAULT)
		{
			return simple(Type::FAULT);
		}
		return isPrefix ? changed : fromNumber(numberOf(old));
	}

	// --- Expressions

	Model writeOperand(int depth)
	{
		switch (depth > 0 ? pick(12) : pick(7))
		{
			case 0:
				return writeLiteral();
			case 1:
			case 2:
			{
				const int number = pick(12);
				fText += std::to_string(number);
				return fromNumber(number);
			}
			case 7:
			{
				fText += '(';
				const Model value = writeExpression(depth - 1);
				fText += ')';
				return value;
			}
			case 8:
				return writeAssignment(depth - 1);
			case 9:
			{
				static const char *const SIGNS[] = {"-", "+", "!", "~", "typeof "};
				const std::string sign = SIGNS[pick(5)];
				fText += sign + "(";
				const Model operand = writeExpression(depth - 1);
				fText += ')';
				return operatePrefix(sign, operand);
			}
			case 10:
				return writeChange();
			case 11:
				return writeContainer(depth - 1);
			default:
				return read(writePlace(fText, 2));
		}
	}

	Model writeLiteral()
	{
		static const std::vector<std::pair<std::string, Model>> LITERALS = {{"'x'", fromText("x")}, {"'5'", fromText("5")},
		    {"''", fromText("")}, {"'1.5'", fromText("1.5")}, {"0.5", fromNumber(0.5)}, {"true", fromBool(true)},
		    {"false", fromBool(false)}, {"null", simple(Type::NOTHING)}, {"undefined", simple(Type::UNDEFINED)},
		    {"NaN", simple(Type::NOT_A_NUMBER)},
		    {"'a text that is long enough for the heap'", fromText("a text that is long enough for the heap")}};
		const auto &literal = LITERALS[static_cast<size_t>(pick(static_cast<int>(LITERALS.size())))];
		fText += literal.first;
		return literal.second;
	}

	Model writeAssignment(int depth)
	{
		std::string target;
		const Place place = writePlace(target, 2);
		fText += '(' + target + " = ";
		const Model value = writeExpression(depth);
		fText += ')';
		return store(place, value);
	}

	Model writeChange()
	{
		const std::string sign = pick(2) == 0 ? "++" : "--";
		const bool isPrefix = pick(2) == 0;
		fText += isPrefix ? "(" + sign : "(";
		const Place place = writePlace(fText, 2);
		fText += isPrefix ? ")" : sign + ")";
		return change(place, sign, isPrefix);
	}

	Model writeContainer(int depth)
	{
		const bool isMap = pick(2) == 0;
		Model model = simple(isMap ? Type::MAP : Type::ARRAY);
		model.container = std::make_shared<Container>();
		fText += isMap ? "{x: " : "[";
		for (int index = 0, count = 1 + pick(2); index < count; ++index)
		{
			fText += index == 0 ? "" : (isMap ? ", y: " : ", ");
			Model child = writeExpression(depth);
			child.isAbsent = false;
			put(model, isMap ? Key{index == 0 ? "x" : "y", false} : Key{std::to_string(index), true}, child);
		}
		fText += isMap ? "}" : "]";
		return model;
	}

	Model writeExpression(int depth)
	{
		if (depth > 0 && pick(10) == 0)
		{
			return writeConditional(depth - 1);
		}
		std::vector<Model> operands;
		std::vector<std::string> signs;
		writeChain(depth, operands, signs);
		return reduce(operands, signs);
	}

	void writeChain(int depth, std::vector<Model> &operands, std::vector<std::string> &signs)
	{
		static const char *const SIGNS[] = {
		    "*", "/", "+", "-", "<", "<=", ">", ">=", "==", "===", "!==", "!=", "&", "^", "|", "&&", "||", "+", "+", "-", "*"};
		operands.push_back(writeOperand(depth));
		while (pick(5) < 2)
		{
			signs.emplace_back(SIGNS[pick(21)]);
			fText += ' ' + signs.back() + ' ';
			operands.push_back(writeOperand(depth));
			fIsTooDifficult = fIsTooDifficult || operands.back().text.size() > 2000;
		}
	}

	// The branch that isn't chosen is written, but must have no effect.
	Model writeConditional(int depth)
	{
		fText += '(';
		const bool isFirst = isTrue(writeExpression(depth));
		fText += " ? ";
		Model value = writeBranch(depth, isFirst);
		fText += " : ";
		const Model second = writeBranch(depth, !isFirst);
		fText += ')';
		value = isFirst ? value : second;
		value.isAbsent = false;
		return value;
	}

	Model writeBranch(int depth, bool isChosen)
	{
		if (isChosen)
		{
			return writeExpression(depth);
		}
		fText += "(a = b = ++c)";
		return {};
	}

	// --- Statements

	void writeStatement()
	{
		switch (pick(8))
		{
			case 0:
				writeExpression(2);
				break;
			case 1:
				writeChange();
				break;
			case 2:
				writeCompound();
				break;
			case 3:
			{
				fText += "if (";
				const bool isFirst = isTrue(writeExpression(1));
				fText += ") { ";
				writeBranch(1, isFirst);
				fText += " } else { ";
				writeBranch(1, !isFirst);
				fText += " }";
				break;
			}
			default:
			{
				std::string target;
				const Place place = writePlace(target, 2);
				fText += target + " = ";
				store(place, writeExpression(2));
				break;
			}
		}
		fText += ";\n";
	}

	// `a += x * y` is `a = a + x * y`, operators and all.
	void writeCompound()
	{
		static const char *const SIGNS[] = {"+", "-", "*", "/", "^", "&&", "||"};
		const std::string sign = SIGNS[pick(7)];
		const Place place = writePlace(fText, 2);
		fText += ' ' + sign + "= ";
		std::vector<Model> operands = {read(place)};
		std::vector<std::string> signs = {sign};
		writeChain(1, operands, signs);
		store(place, reduce(operands, signs));
	}

	std::mt19937 fRandom;
	std::string fText;
	std::map<std::string, Model> fVariables;
	bool fIsTooDifficult = false;
};

std::string runProgram(const std::string &text)
{
	Value result;
	bool isParsed = false;
	const auto scope = OMScope::factory();
	runInTask([&](Task &task) { ScriptEvaluation::evalText_yielding(task, result, isParsed, text, "random", scope->getEnvironment()); });
	return isParsed ? toString(result) : "can't be parsed";
}
}

TEST(RandomProgramTest, GivesWhatTheRulesSay)
{
	TestCoordinator coordinator;
	const AlwaysYield mode(Mode::alwaysYield);
	int count = 0;
	for (unsigned seed = 1; seed <= 3000 && !testing::Test::HasFailure(); ++seed)
	{
		Program program(seed);
		program.write(8);
		if (!program.isTooDifficult())
		{
			EXPECT_EQ(program.getExpected(), runProgram(program.getText())) << "seed " << seed << ":\n" << program.getText();
			EXPECT_EQ(program.getExpected(), runProgram(program.getFunctionText())) << "in a function, seed " << seed << ":\n"
			                                                                        << program.getText();
			++count;
		}
		takeLogLines(); // of operations that fail
	}
	EXPECT_GT(count, 2500);
}
}
