// Host text formatters for rule text.
#pragma once

#include <string>

namespace atg_800 {

// Text of an integer.
std::string Format(long value);
// Text of a number through the printf format `fmt` ("%.16g" when null). With
// `exact` set, the shortest of "%.16g" and "%.17g" that reads back as `value`.
std::string Format(double value, bool exact, char const* fmt);
// Text of a date number (seconds from 1582-10-14): ISO 8601 when `iso` is set,
// else the plain number.
std::string FormatRulesDate(double value, bool iso);

}  // namespace atg_800
