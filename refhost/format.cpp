// Text formatters for rule text.
#include "host/format.h"

#include <cmath>

#include "refhost/dates.h"
#include "refhost/hooks.h"
#include "refhost/numbertext.h"

namespace atg_800 {

std::string Format(long value) {
  refhost::FaultPoint("Format");
  return refhost::IntegerText(value);
}

std::string Format(double value, bool exact, char const* fmt) {
  refhost::FaultPoint("Format");
  if (exact) return refhost::ExactText(value);
  return refhost::PrintfText(fmt ? fmt : "%.16g", value);
}

std::string FormatRulesDate(double value, bool iso) {
  refhost::FaultPoint("FormatRulesDate");
  if (!iso || !std::isfinite(value) || std::fabs(value) > 1e15) {
    return refhost::PrintfText("%.16g", value);
  }
  return refhost::IsoFromDateNumber(value);
}

}  // namespace atg_800
