#include "MrvParser/Builtin/MrvBuiltinArguments.h"
#include "MrvParser/Builtin/MrvBuiltinFunctions.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvParser/Node/MrvNumberScanner.h"

#include <cmath>

namespace Mrv::Builtins
{
namespace
{
constexpr int DECIMAL = 10;
constexpr int HEXADECIMAL = 16;
constexpr int64_t MIN_RADIX = 2;
constexpr int64_t MAX_RADIX = 36;

// "0x" with a digit behind it, after blanks and a sign. `rest`: the sign and the digits.
bool splitHexadecimal(std::string_view text, std::string &rest)
{
	const size_t begin = text.find_first_not_of(" \t\n\r\v\f");
	if (begin == std::string_view::npos)
	{
		return false;
	}
	const bool hasSign = text[begin] == '+' || text[begin] == '-';
	const std::string_view digits = text.substr(begin + (hasSign ? 1 : 0));
	if (digits.size() < 3 || digits[0] != '0' || (digits[1] != 'x' && digits[1] != 'X') ||
	    std::string_view("0123456789abcdefABCDEF").find(digits[2]) == std::string_view::npos)
	{
		return false;
	}
	rest = (hasSign ? text.substr(begin, 1) : std::string_view());
	rest += digits.substr(2);
	return true;
}

Value parseNumber(std::string_view text, int base)
{
	Value number;
	NumberScanner::parse(text, base, true, number);
	return number;
}
}

Value ftn_abs(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	const Value &number = call.getArgument(0);
	if (number.isInt() && number.intPayload() != INT64_MIN)
	{
		return Value::integer(std::abs(number.intPayload()));
	}
	return Value::number(std::fabs(numberArgument(call, 0)));
}

Value ftn_sqr(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	const double number = numberArgument(call, 0);
	return Value::number(number * number);
}

Value ftn_sqrt(const BuiltinCall &call)
{
	return hasArguments(call, 1) ? Value::number(std::sqrt(numberArgument(call, 0))) : Value();
}

Value ftn_isNaN(const BuiltinCall &call)
{
	return hasArguments(call, 1) ? Value::boolean(call.getArgument(0).type() == OMType::NaN) : Value();
}

Value ftn_parseFloat(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	if (call.getArgumentCount() > 1)
	{
		LOG_ERROR("too many arguments");
		return Value();
	}
	const TextArgument text(call, 0);
	return text.isOk() ? parseNumber(text.view(), NumberScanner::FRACTION) : failText(call);
}

Value ftn_parseInt(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	const TextArgument text(call, 0);
	if (!text.isOk())
	{
		return failText(call);
	}
	const bool hasRadix = isGiven(call, 1);
	const int64_t radix = hasRadix ? positionArgument(call, 1) : DECIMAL;
	if (radix < MIN_RADIX || radix > MAX_RADIX)
	{
		LOG_ERROR("the radix must be a whole number from 2 to 36");
		return Value::nan();
	}
	std::string rest;
	if ((!hasRadix || radix == HEXADECIMAL) && splitHexadecimal(text.view(), rest))
	{
		return parseNumber(rest, HEXADECIMAL);
	}
	return parseNumber(text.view(), static_cast<int>(radix));
}
}
