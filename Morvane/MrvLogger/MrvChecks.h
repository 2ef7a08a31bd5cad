#pragma once

#include "MrvLogger/MrvLogger.h"

#include <memory>

// The check macros: the one way in which a failure is noticed, logged and passed on.
//
//     SANITY_CHECK(object, return false);
//     SANITY_CHECK_AS(path.back() != kSeparator, "*(path.rbegin()) != '\\\\'", return {});
//     EXPECTED(count < kUsualCount);
//     ASSIGN(fCoordinator, findCoordinator(), return false);
//     ASSIGN_TYPED(Object, obj, objPtr, return);
//
// A check that fails logs one line at error level, "SANITY_CHECK failed: '<expression>' evaluates to false", and then runs the
// failure statement that stands last: a `return`, `break` or `continue`, or a call before one of them (`giveUp(); return`). EXPECTED has
// none: the caller goes on. `SANITY_CHECK` guards what must hold, `VERIFY` the success of a call.
//
// The quoted text is part of what the system promises. The forms ending in _AS take it explicitly, for where our expression is
// spelled differently; it is a string literal. Each macro stands as a statement within braces, never as the bare body of an `if`.
// A condition with a comma outside brackets needs brackets around it.
//
// ASSIGN sets an existing variable and fails when it is then null or false. The TYPED forms declare `name`, a `shared_ptr` narrowed
// to `Type` (or `const Type`) by dynamic cast, and fail when it is empty.

namespace Mrv::Detail
{
// Logs `message` at error level. Out of line, so that a check costs a test and a jump where it is written.
[[gnu::cold, gnu::noinline]] void reportFailedCheck(const char *message, const char *sourceFile, int line, const char *functionName);
}

// NOLINTBEGIN(cppcoreguidelines-macro-usage): they quote the source, and leave the function that they stand in.
#define MRV_REPORT_FAILED_CHECK(message) ::Mrv::Detail::reportFailedCheck(message, __FILE__, __LINE__, __func__)

// Not a loop, so that `break` and `continue` mean the caller's loop or switch.
#define MRV_CHECK(macro, condition, text, ...)                                                                                             \
	if (condition) [[likely]]                                                                                                              \
	{                                                                                                                                      \
	}                                                                                                                                      \
	else                                                                                                                                   \
	{                                                                                                                                      \
		MRV_REPORT_FAILED_CHECK(macro " failed: '" text "' evaluates to false");                                                           \
		__VA_ARGS__;                                                                                                                       \
	}

#define SANITY_CHECK(condition, ...) MRV_CHECK("SANITY_CHECK", condition, #condition, __VA_ARGS__)
#define SANITY_CHECK_AS(condition, text, ...) MRV_CHECK("SANITY_CHECK", condition, text, __VA_ARGS__)
#define VERIFY(condition, ...) MRV_CHECK("VERIFY", condition, #condition, __VA_ARGS__)
#define VERIFY_AS(condition, text, ...) MRV_CHECK("VERIFY", condition, text, __VA_ARGS__)
#define EXPECTED(condition) MRV_CHECK("EXPECTED", condition, #condition, static_cast<void>(0))
#define EXPECTED_AS(condition, text) MRV_CHECK("EXPECTED", condition, text, static_cast<void>(0))

#define MRV_ASSIGNED(macro, name, text, ...)                                                                                               \
	if (name) [[likely]]                                                                                                                   \
	{                                                                                                                                      \
	}                                                                                                                                      \
	else                                                                                                                                   \
	{                                                                                                                                      \
		MRV_REPORT_FAILED_CHECK(macro " failed: '" text "'");                                                                              \
		__VA_ARGS__;                                                                                                                       \
	}

#define ASSIGN_AS(variable, expression, text, ...)                                                                                         \
	(variable) = (expression);                                                                                                             \
	MRV_ASSIGNED("ASSIGN", variable, text, __VA_ARGS__)
#define ASSIGN(variable, expression, ...) ASSIGN_AS(variable, expression, #variable " = " #expression ";", __VA_ARGS__)

#define ASSIGN_TYPED_AS(Type, name, expression, text, ...)                                                                                 \
	std::shared_ptr<Type> name = std::dynamic_pointer_cast<Type>(expression);                                                              \
	MRV_ASSIGNED("ASSIGN_TYPED", name, text, __VA_ARGS__)
#define ASSIGN_TYPED(Type, name, expression, ...)                                                                                          \
	ASSIGN_TYPED_AS(Type, name, expression, #Type " " #name " = " #expression ";", __VA_ARGS__)

#define ASSIGN_CONST_TYPED_AS(Type, name, expression, text, ...)                                                                           \
	std::shared_ptr<const Type> name = std::dynamic_pointer_cast<const Type>(expression);                                                  \
	MRV_ASSIGNED("ASSIGN_CONST_TYPED", name, text, __VA_ARGS__)
#define ASSIGN_CONST_TYPED(Type, name, expression, ...)                                                                                    \
	ASSIGN_CONST_TYPED_AS(Type, name, expression, #Type " " #name " = " #expression ";", __VA_ARGS__)
// NOLINTEND(cppcoreguidelines-macro-usage)
