// Text formatters for rule text.
#include "host/format.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "refhost/dates.h"
#include "refhost/faults.h"

namespace atg_800 {
namespace {

// printf of one double into a string sized from a first measuring call, so
// that "%f" of DBL_MAX (309 digits) fits as well as "%.17g".
std::string PrintDouble(char const* fmt, double value) {
  int const length = std::snprintf(nullptr, 0, fmt, value);
  if (length <= 0) return std::string();
  std::string text(static_cast<std::size_t>(length), '\0');
  std::snprintf(&text[0], text.size() + 1, fmt, value);
  return text;
}

}  // namespace

std::string Format(long value) {
  refhost::FaultPoint("Format");
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%ld", value);
  return buffer;
}

std::string Format(double value, bool exact, char const* fmt) {
  refhost::FaultPoint("Format");
  if (!exact) return PrintDouble(fmt ? fmt : "%.16g", value);
  std::string text = PrintDouble("%.16g", value);
  if (!std::isfinite(value) || std::strtod(text.c_str(), nullptr) == value) return text;
  return PrintDouble("%.17g", value);
}

std::string FormatRulesDate(double value, bool iso) {
  refhost::FaultPoint("FormatRulesDate");
  if (!iso || !std::isfinite(value) || std::fabs(value) > 1e15) {
    return PrintDouble("%.16g", value);
  }
  return refhost::IsoFromDateNumber(value);
}

}  // namespace atg_800
