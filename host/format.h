// Host text formatters: the library writes every number and date of its rule
// text through these. Each may throw std::exception; callers release what they
// hold and discard the text they were writing. Nothing here is thread-safe
// unless said otherwise.
#pragma once

#include <string>

namespace atg_800 {

// Text of an integer.
std::string Format(long value);
// Text of a number through the printf format `fmt` ("%.16g" when null). With
// `exact` set, text that reads back as `value` in every engine: plain as
// "%.15g" writes it when 15 significant digits suffice, else with an exponent
// and the 16 or 17 digits it needs ("2.4511689320206642e-02"). Never depends
// on the process's locale.
std::string Format(double value, bool exact, char const* fmt);
// Text of a date number (seconds from 1582-10-14): ISO 8601 when `iso` is set,
// else the plain number.
std::string FormatRulesDate(double value, bool iso);

}  // namespace atg_800
