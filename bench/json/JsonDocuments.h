#pragma once

#include <cstddef>
#include <string>

namespace Mrv::Bench
{

/** A JSON text of about so many bytes, the same for the same size on every machine: an array of records, each with three strings, two whole
    numbers, one with a fraction, a truth value and an array of four digits; about 12 bytes a value. */
std::string makeRecords(std::size_t bytes);

/** A JSON text of about so many bytes that is one array of one-digit numbers: the most values a byte that JSON can hold. */
std::string makeDigits(std::size_t bytes);

} // namespace Mrv::Bench
