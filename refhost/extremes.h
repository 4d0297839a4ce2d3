// The values that stand for unbounded ends of ranges in encoding sets. They
// are finite, so rule text can write them and a database can read them back;
// -DBL_MAX itself is the system-missing value and so is not used.
#pragma once

#include <cfloat>
#include <cmath>

namespace refhost {

// The double just above -DBL_MAX, and DBL_MAX.
inline double const kLowestBound = std::nextafter(-DBL_MAX, 0.0);
inline double const kHighestBound = DBL_MAX;

// `x` with an infinity replaced by the extreme bound of its sign.
inline double BoundEnd(double x) {
  if (!std::isinf(x)) return x;
  return x < 0 ? kLowestBound : kHighestBound;
}

}  // namespace refhost
