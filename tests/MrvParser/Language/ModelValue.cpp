#include "MrvParser/Language/ModelValue.h"

#include <cmath>
#include <cstdint>
#include <optional>

namespace Mrv::Test::Rules
{
Model simple(Type type)
{
	Model model;
	model.type = type;
	return model;
}

Model fromBool(bool value)
{
	Model model = simple(Type::BOOL);
	model.number = value ? 1 : 0;
	return model;
}

Model fromNumber(double number)
{
	if (std::isnan(number))
	{
		return simple(Type::NOT_A_NUMBER);
	}
	Model model = simple(std::trunc(number) == number && std::fabs(number) < 9.2e18 ? Type::INT : Type::FLOAT);
	model.number = model.type == Type::INT ? number + 0.0 : number;
	return model;
}

Model fromText(const std::string &text)
{
	Model model = simple(Type::STRING);
	model.text = text;
	return model;
}

bool isContainer(const Model &model)
{
	return model.type == Type::ARRAY || model.type == Type::MAP;
}

bool isTrue(const Model &model)
{
	switch (model.type)
	{
		case Type::BOOL:
		case Type::INT:
		case Type::FLOAT:
			return model.number != 0;
		case Type::STRING:
			return !model.text.empty();
		case Type::ARRAY:
		case Type::MAP:
			return true;
		case Type::UNDEFINED:
		case Type::NOTHING:
		case Type::FAULT:
		case Type::NOT_A_NUMBER:
			break;
	}
	return false;
}

double numberOf(const Model &model)
{
	if (model.type == Type::BOOL || model.type == Type::INT || model.type == Type::FLOAT)
	{
		return model.number;
	}
	char *end = nullptr;
	const bool isDecimal = model.type == Type::STRING && model.text.find_first_not_of("0123456789.-+") == std::string::npos;
	const double number = isDecimal && !model.text.empty() ? std::strtod(model.text.c_str(), &end) : NAN;
	return end && *end != '\0' ? NAN : number;
}

namespace
{
int64_t bitsOf(const Model &model)
{
	const double number = numberOf(model);
	return std::floor(number) == number && std::fabs(number) < 9.2e18 ? static_cast<int64_t>(number) : -1;
}
}

std::string textOf(const Model &model)
{
	if (model.type == Type::STRING)
	{
		return model.text;
	}
	if (model.type != Type::ARRAY)
	{
		return literalOf(model);
	}
	std::string text;
	for (const Model &element : model.container->elements)
	{
		text += (&element == model.container->elements.data() ? "" : ",") + textOf(element);
	}
	return text;
}

std::string literalOf(const Model &model)
{
	std::string text;
	switch (model.type)
	{
		case Type::UNDEFINED:
			return "undefined";
		case Type::NOTHING:
			return "null";
		case Type::BOOL:
			return model.number != 0 ? "true" : "false";
		case Type::INT:
			return std::to_string(static_cast<int64_t>(model.number));
		case Type::FLOAT:
			return std::isinf(model.number) ? (model.number < 0 ? "-inf" : "inf") : std::to_string(model.number);
		case Type::STRING:
			for (const char c : model.text)
			{
				text += (c == '"' || c == '\\' ? "\\" : "") + std::string(1, c);
			}
			return '"' + text + '"';
		case Type::ARRAY:
			for (const Model &element : model.container->elements)
			{
				text += (text.empty() ? "" : ", ") + literalOf(element);
			}
			return '[' + text + ']';
		case Type::MAP:
			for (const auto &entry : model.container->entries)
			{
				text += (text.empty() ? "" : ", ") + ('"' + entry.first + "\": ") + literalOf(entry.second);
			}
			return "{ " + text + " }";
		case Type::FAULT:
			return "error";
		case Type::NOT_A_NUMBER:
			break;
	}
	return "NaN";
}

// --- Operators of the model; nothing: the operation fails

namespace
{
bool isOdd(const Model &model)
{
	return model.type == Type::FAULT || model.type == Type::NOT_A_NUMBER;
}
}

bool isEmpty(const Model &model)
{
	return model.type == Type::UNDEFINED || model.type == Type::NOTHING;
}

namespace
{
bool areIdentical(const Model &left, const Model &right)
{
	return !isOdd(left) && left.type == right.type && left.number == right.number && left.text == right.text &&
	       left.container == right.container;
}

bool areEqual(const Model &left, const Model &right)
{
	if (isOdd(left) || isOdd(right) || (isEmpty(left) && isEmpty(right)))
	{
		return !isOdd(left) && !isOdd(right);
	}
	if (left.type != right.type || !isContainer(left))
	{
		return areIdentical(left, right);
	}
	const Container &one = *left.container;
	const Container &other = *right.container;
	bool isSame = one.elements.size() == other.elements.size() && one.entries.size() == other.entries.size();
	for (size_t index = 0; isSame && index < one.elements.size(); ++index)
	{
		isSame = areEqual(one.elements[index], other.elements[index]);
	}
	for (auto entry = one.entries.begin(); isSame && entry != one.entries.end(); ++entry)
	{
		const auto found = other.entries.find(entry->first);
		isSame = found != other.entries.end() && areEqual(entry->second, found->second);
	}
	return isSame;
}

std::optional<bool> isLess(const Model &left, const Model &right)
{
	const auto isNumber = [](const Model &model) { return model.type == Type::INT || model.type == Type::FLOAT; };
	if (isOdd(left) || isOdd(right))
	{
		return false;
	}
	if (left.type == Type::STRING || right.type == Type::STRING)
	{
		return textOf(left) < right.text;
	}
	if ((isNumber(left) && isNumber(right)) || (left.type == Type::BOOL && right.type == Type::BOOL))
	{
		return left.number < right.number;
	}
	if (left.type == right.type && isContainer(left))
	{
		return std::nullopt;
	}
	return left.type < right.type;
}

Model compare(const std::string &sign, const Model &left, const Model &right)
{
	const bool hasNaN = left.type == Type::NOT_A_NUMBER || right.type == Type::NOT_A_NUMBER;
	const bool areNaN = left.type == Type::NOT_A_NUMBER && right.type == Type::NOT_A_NUMBER;
	if (sign == "==" || sign == "!=")
	{
		return fromBool(areEqual(left, right) == (sign == "==") || (areNaN && sign == "!="));
	}
	if (sign == "===" || sign == "!==")
	{
		return fromBool(areIdentical(left, right) == (sign == "===") || (areNaN && sign == "!=="));
	}
	if (hasNaN)
	{
		return fromBool(false);
	}
	const std::optional<bool> less = isLess(left, right);
	if (!less)
	{
		return simple(Type::FAULT);
	}
	const bool isEqual = areEqual(left, right);
	return fromBool(sign == "<" ? *less : sign == "<=" ? *less || isEqual : sign == ">" ? !*less && !isEqual : !*less);
}

Model operate(const std::string &sign, const Model &left, const Model &right)
{
	static const std::string ARITHMETIC = "*/+-&^|";
	const bool needsValues = sign.size() == 1 && ARITHMETIC.find(sign) != std::string::npos;
	if (left.type == Type::FAULT || right.type == Type::FAULT || (needsValues && (left.isAbsent || right.isAbsent)))
	{
		return simple(Type::FAULT);
	}
	if (sign == "+" && (left.type == Type::STRING || right.type == Type::STRING))
	{
		return fromText(textOf(left) + textOf(right));
	}
	if (sign == "&&" || sign == "||")
	{
		return fromBool(sign == "&&" ? isTrue(left) && isTrue(right) : isTrue(left) || isTrue(right));
	}
	if (!needsValues)
	{
		return compare(sign, left, right);
	}
	const double one = numberOf(left);
	const double other = numberOf(right);
	switch (sign[0])
	{
		case '*':
			return fromNumber(one * other);
		case '/':
			return fromNumber(other == 0 ? NAN : one / other);
		case '+':
			return fromNumber(one + other);
		case '-':
			return fromNumber(one - other);
		case '&':
			return fromNumber(static_cast<double>(bitsOf(left) & bitsOf(right)));
		case '^':
			return fromNumber(static_cast<double>(bitsOf(left) ^ bitsOf(right)));
		default:
			return fromNumber(static_cast<double>(bitsOf(left) | bitsOf(right)));
	}
}
}

Model operatePrefix(const std::string &sign, const Model &operand)
{
	static const std::map<Type, std::string> NAMES = {{Type::UNDEFINED, "undefined"}, {Type::NOTHING, "object"}, {Type::BOOL, "boolean"},
	    {Type::INT, "number"}, {Type::FLOAT, "number"}, {Type::STRING, "string"}, {Type::ARRAY, "object"}, {Type::MAP, "object"},
	    {Type::FAULT, "error"}, {Type::NOT_A_NUMBER, "number"}};
	if (sign == "!")
	{
		return fromBool(!isTrue(operand));
	}
	if (sign == "typeof ")
	{
		return fromText(NAMES.at(operand.type));
	}
	if (operand.type == Type::FAULT || operand.isAbsent)
	{
		return simple(Type::FAULT);
	}
	const double number = numberOf(operand);
	return sign == "~" ? fromNumber(static_cast<double>(~bitsOf(operand))) : fromNumber(sign == "-" ? -number : number);
}

// Each operator is a level of its own, all from left to right.
Model reduce(std::vector<Model> operands, std::vector<std::string> signs)
{
	for (const char *level : {"*", "/", "+", "-", "<", "<=", ">", ">=", "==", "===", "!==", "!=", "&", "^", "|", "&&", "||"})
	{
		for (size_t at = 0; at < signs.size();)
		{
			if (signs[at] != level)
			{
				++at;
				continue;
			}
			const auto offset = static_cast<std::ptrdiff_t>(at);
			operands[at] = operate(signs[at], operands[at], operands[at + 1]);
			operands.erase(operands.begin() + offset + 1);
			signs.erase(signs.begin() + offset);
		}
	}
	return operands[0];
}
}
