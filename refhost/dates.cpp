// Day counts from civil dates and back, after Howard Hinnant's algorithms
// (eras of 400 years, March-based years so leap days come last).
#include "refhost/dates.h"

#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace refhost {
namespace {

constexpr long kSecondsPerDay = 86400;

// Days from 1970-01-01 to y-m-d.
long DaysFromCivil(long y, long m, long d) {
  y -= m <= 2;
  long const era = (y >= 0 ? y : y - 399) / 400;
  long const yoe = y - era * 400;
  long const doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  long const doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

void CivilFromDays(long z, long* y, long* m, long* d) {
  z += 719468;
  long const era = (z >= 0 ? z : z - 146096) / 146097;
  long const doe = z - era * 146097;
  long const yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  long const doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  long const mp = (5 * doy + 2) / 153;
  *d = doy - (153 * mp + 2) / 5 + 1;
  *m = mp < 10 ? mp + 3 : mp - 9;
  *y = yoe + era * 400 + (*m <= 2);
}

long const kEpochDays = DaysFromCivil(1582, 10, 14);

long FloorDiv(long a, long b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

}  // namespace

std::string IsoFromDateNumber(double dateNumber) {
  long const total = std::lround(dateNumber);
  long const days = FloorDiv(total, kSecondsPerDay);
  long const secondOfDay = total - days * kSecondsPerDay;
  long y, m, d;
  CivilFromDays(days + kEpochDays, &y, &m, &d);
  char buffer[96];
  if (secondOfDay == 0) {
    std::snprintf(buffer, sizeof buffer, "%04ld-%02ld-%02ld", y, m, d);
  } else {
    std::snprintf(buffer, sizeof buffer, "%04ld-%02ld-%02ld %02ld:%02ld:%02ld", y, m, d,
                  secondOfDay / 3600, secondOfDay / 60 % 60, secondOfDay % 60);
  }
  return buffer;
}

double DateNumberFromIso(std::string const& text) {
  long y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
  int used = 0;
  char separator = 0;
  bool ok = false;
  if (std::sscanf(text.c_str(), "%5ld-%2ld-%2ld%n", &y, &mo, &d, &used) == 3 &&
      static_cast<std::size_t>(used) == text.size()) {
    ok = true;
  } else if (std::sscanf(text.c_str(), "%5ld-%2ld-%2ld%c%2ld:%2ld:%2ld%n", &y, &mo, &d, &separator,
                         &h, &mi, &s, &used) == 7 &&
             static_cast<std::size_t>(used) == text.size() &&
             (separator == ' ' || separator == 'T')) {
    ok = true;
  }
  ok = ok && mo >= 1 && mo <= 12 && d >= 1 && h < 24 && mi < 60 && s < 60 && h >= 0 && mi >= 0 &&
       s >= 0;
  if (ok) {
    // Reject days past the month's end: they would come back as another date.
    long yy, mm, dd;
    CivilFromDays(DaysFromCivil(y, mo, d), &yy, &mm, &dd);
    ok = yy == y && mm == mo && dd == d;
  }
  if (!ok) throw std::invalid_argument("not an ISO 8601 date: '" + text + "'");
  long const days = DaysFromCivil(y, mo, d) - kEpochDays;
  return static_cast<double>(days) * kSecondsPerDay + static_cast<double>(h * 3600 + mi * 60 + s);
}

}  // namespace refhost
