// Date numbers: seconds from 1582-10-14 00:00:00 in the proleptic Gregorian
// calendar, the epoch of the command-syntax dialect.
#pragma once

#include <string>

namespace refhost {

// Seconds from the epoch to 1970-01-01 00:00:00.
constexpr double kUnixEpochDateNumber = 12219379200.0;

// "YYYY-MM-DD", plus " HH:MM:SS" when the time of day (rounded to the second)
// is not midnight. REQUIRES: `dateNumber` finite and within +-1e15.
std::string IsoFromDateNumber(double dateNumber);
// The date number of "YYYY-MM-DD", optionally followed by " HH:MM:SS" or
// "THH:MM:SS". Throws std::invalid_argument naming the text when it is not
// such a date.
double DateNumberFromIso(std::string const& text);

}  // namespace refhost
