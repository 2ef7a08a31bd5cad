// Duktape. Its errors are jumps past C++ frames: functions that it calls back keep everything that has a destructor in the engine, or in an
// inner block that has ended before an error is thrown.
#include "MrvIScriptEngine.h"

#include <duktape.h>

#include <cstdio>
#include <cstdlib>

namespace Mrv
{
namespace
{
constexpr unsigned char LONG_LEAD = 0xF0;       // of a character beyond U+FFFF in UTF-8
constexpr unsigned char SURROGATE_LEAD = 0xED;  // of half a pair, as the engine keeps it
constexpr unsigned char SURROGATE_FIRST = 0xA0; // the byte behind it: from here on it is half a pair, from 0xB0 on the second half
constexpr unsigned char SURROGATE_SECOND = 0xB0;
constexpr unsigned FIRST_BITS = 0xD800;
constexpr unsigned SECOND_BITS = 0xDC00;
// A flag of error codes that its header doesn't name.
constexpr duk_errcode_t DUK_NO_BLAME = 1L << 24;
constexpr unsigned BEYOND = 0x10000;

unsigned char byteAt(const std::string &text, std::size_t index)
{
	return index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
}

void appendThreeBytes(std::string &text, unsigned unit)
{
	text += static_cast<char>(0xE0 | (unit >> 12));
	text += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
	text += static_cast<char>(0x80 | (unit & 0x3F));
}

// The engine keeps each 16-bit unit of a text by itself: what is beyond U+FFFF as two halves of three bytes (CESU-8).
std::string toEngine(const std::string &text)
{
	std::string result;
	result.reserve(text.size());
	for (std::size_t i = 0; i < text.size(); ++i)
	{
		if (byteAt(text, i) < LONG_LEAD || i + 3 >= text.size())
		{
			result += text[i];
			continue;
		}
		const unsigned point = ((byteAt(text, i) & 0x07U) << 18) | ((byteAt(text, i + 1) & 0x3FU) << 12) |
		                       ((byteAt(text, i + 2) & 0x3FU) << 6) | (byteAt(text, i + 3) & 0x3FU);
		appendThreeBytes(result, FIRST_BITS | ((point - BEYOND) >> 10));
		appendThreeBytes(result, SECOND_BITS | ((point - BEYOND) & 0x3FF));
		i += 3;
	}
	return result;
}

bool isHalf(const std::string &text, std::size_t index, unsigned char first, unsigned char end)
{
	return byteAt(text, index) == SURROGATE_LEAD && byteAt(text, index + 1) >= first && byteAt(text, index + 1) < end &&
	       index + 2 < text.size();
}

// Half a pair alone becomes U+FFFD.
std::string fromEngine(const std::string &text)
{
	std::string result;
	result.reserve(text.size());
	for (std::size_t i = 0; i < text.size(); ++i)
	{
		if (!isHalf(text, i, SURROGATE_FIRST, 0xC0))
		{
			result += text[i];
			continue;
		}
		if (!isHalf(text, i, SURROGATE_FIRST, SURROGATE_SECOND) || !isHalf(text, i + 3, SURROGATE_SECOND, 0xC0))
		{
			result += "\xEF\xBF\xBD";
			i += 2;
			continue;
		}
		const unsigned first = ((byteAt(text, i + 1) & 0x0FU) << 6) | (byteAt(text, i + 2) & 0x3FU);
		const unsigned second = ((byteAt(text, i + 4) & 0x0FU) << 6) | (byteAt(text, i + 5) & 0x3FU);
		const unsigned point = BEYOND + (first << 10) + second;
		result += static_cast<char>(0xF0 | (point >> 18));
		result += static_cast<char>(0x80 | ((point >> 12) & 0x3F));
		result += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
		result += static_cast<char>(0x80 | (point & 0x3F));
		i += 5;
	}
	return result;
}

class DuktapeEngine final : public IScriptEngine
{
public:
	explicit DuktapeEngine(HostOperation operation)
	    : fOperation(std::move(operation)),
	      fContext(duk_create_heap(nullptr, nullptr, nullptr, this, &DuktapeEngine::die))
	{
		if (fContext)
		{
			duk_push_object(fContext);
			duk_push_c_function(fContext, &DuktapeEngine::callHost, DUK_VARARGS);
			duk_put_prop_string(fContext, -2, "call");
			duk_put_global_string(fContext, "morvaneHost");
		}
	}
	~DuktapeEngine() override
	{
		if (fContext)
		{
			duk_destroy_heap(fContext);
		}
	}
	DuktapeEngine(const DuktapeEngine &) = delete;
	DuktapeEngine &operator=(const DuktapeEngine &) = delete;

	bool isMade() const { return fContext != nullptr; }

	bool run(const std::string &text, const std::string &name, std::string &error) override
	{
		const bool isWell = execute(text, name, 0, error);
		duk_pop(fContext);
		return isWell;
	}

	bool evaluate(const std::string &expression, ScriptValue &result, std::string &error) override
	{
		const bool isWell = execute(expression, "expression", DUK_COMPILE_EVAL, error);
		result = isWell ? valueAt(-1) : ScriptValue();
		duk_pop(fContext);
		return isWell;
	}

private:
	// What no script can catch: the heap is broken.
	static void die(void *, const char *message)
	{
		std::fprintf(stderr, "morvane-host: the script engine has failed: %s\n", message ? message : "");
		std::abort();
	}

	// Leaves one value on the stack: the result, or what was thrown.
	bool execute(const std::string &text, const std::string &name, duk_uint_t flags, std::string &error)
	{
		duk_push_lstring(fContext, name.data(), name.size());
		if (duk_pcompile_lstring_filename(fContext, flags, text.data(), text.size()) == 0 && duk_pcall(fContext, 0) == DUK_EXEC_SUCCESS)
		{
			return true;
		}
		duk_dup_top(fContext);
		const bool isDescribed = duk_safe_call(fContext, &DuktapeEngine::describe, nullptr, 1, 1) == DUK_EXEC_SUCCESS;
		const auto description = valueAt(-1);
		const auto *words = std::get_if<std::string>(&description);
		error = isDescribed && words ? *words : name + ": an error that can't be described";
		duk_pop(fContext);
		return false;
	}

	// "file:line: message" of an Error, the text of anything else. May throw.
	static duk_ret_t describe(duk_context *context, void *)
	{
		if (!duk_is_error(context, -1))
		{
			duk_to_string(context, -1);
			return 1;
		}
		duk_get_prop_string(context, -1, "fileName");
		duk_push_string(context, ":");
		duk_get_prop_string(context, -3, "lineNumber");
		duk_push_string(context, ": ");
		duk_dup(context, -5);
		duk_to_string(context, -1);
		duk_concat(context, 5);
		return 1;
	}

	ScriptValue valueAt(duk_idx_t index) const
	{
		switch (duk_get_type(fContext, index))
		{
			case DUK_TYPE_BOOLEAN:
				return duk_get_boolean(fContext, index) != 0;
			case DUK_TYPE_NUMBER:
				return duk_get_number(fContext, index);
			case DUK_TYPE_STRING:
			{
				duk_size_t length = 0;
				const char *text = duk_get_lstring(fContext, index, &length);
				return fromEngine(std::string(text, length));
			}
			default:
				return std::monostate();
		}
	}

	static duk_ret_t callHost(duk_context *context)
	{
		duk_memory_functions functions{};
		duk_get_memory_functions(context, &functions);
		auto *engine = static_cast<DuktapeEngine *>(functions.udata);
		if (!engine->operate())
		{
			// Whose fault it is, is where it was called from.
			duk_error(context, DUK_ERR_ERROR | DUK_NO_BLAME, "%s", std::get<std::string>(engine->fResult).c_str());
		}
		if (const auto *text = std::get_if<std::string>(&engine->fResult))
		{
			duk_push_lstring(context, text->data(), text->size());
		}
		else if (const auto *number = std::get_if<double>(&engine->fResult))
		{
			duk_push_number(context, *number);
		}
		else if (const auto *truth = std::get_if<bool>(&engine->fResult))
		{
			duk_push_boolean(context, *truth ? 1 : 0);
		}
		else
		{
			duk_push_undefined(context);
		}
		return 1;
	}

	// Leaves the result, as the engine wants it, in fResult.
	bool operate()
	{
		std::vector<ScriptValue> arguments;
		arguments.reserve(static_cast<std::size_t>(duk_get_top(fContext)));
		for (duk_idx_t index = 0; index < duk_get_top(fContext); ++index)
		{
			arguments.push_back(valueAt(index));
		}
		const bool isWell = fOperation(arguments, fResult);
		if (auto *text = std::get_if<std::string>(&fResult))
		{
			*text = toEngine(*text);
		}
		return isWell;
	}

	HostOperation fOperation;
	duk_context *fContext;
	ScriptValue fResult;
};
}

std::unique_ptr<IScriptEngine> makeScriptEngine(HostOperation operation, std::string &refusal)
{
	auto engine = std::make_unique<DuktapeEngine>(std::move(operation));
	if (!engine->isMade())
	{
		refusal = "the script engine can't be started";
		return nullptr;
	}
	return engine;
}
}
