// Number text that does not depend on the process's C or C++ locale: every
// number the host, the loader and the tool write or read goes through here,
// so a host program may run under any locale ("30.5", never "30,5").
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace refhost {

// The first of "%.15g", "%.16g" and "%.17g" that reads back as `value`
// ("0.1", "1e+300", "100000", "0.30000000000000004"); "nan", "inf" and "-inf"
// for the non-finite values.
std::string ShortestText(double value);

// Text that survives the trip into every SQL engine: the shortest round-trip
// digits in plain "%.15g" form when there are at most 15 of them ("30", "0.3",
// "1e-300"), else with an exponent as "%.*e" writes it
// ("2.4511689320206642e-02", "1.7976931348623157e+308").
std::string ExactText(double value);

// `value` through a printf conversion for one double: "%f", "%.16g", "%e",
// "%.3f" and the like (flags and width included), always with a period.
std::string PrintfText(char const* format, double value);

// The text of an integer.
std::string IntegerText(long value);

// The number that the whole of `text` spells (an optional sign, digits with
// an optional period, an optional exponent; "inf" and "nan" too), or nothing.
// No blanks are skipped.
std::optional<double> ParseDouble(std::string_view text);

}  // namespace refhost
