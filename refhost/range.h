// A range of numbers with optional, possibly excluded ends: what an ordered
// split sends to one child.
#pragma once

#include <limits>

namespace refhost {

struct Range {
  double lower = -std::numeric_limits<double>::infinity();
  double upper = std::numeric_limits<double>::infinity();
  bool hasLower = false;
  bool hasUpper = false;
  bool lowerOpen = true;
  bool upperOpen = true;

  // Every number.
  static Range All() { return Range(); }
  // (x, +inf) and [x, +inf).
  static Range Above(double x) { return Range(x, true, true, false, false, false); }
  static Range AtLeast(double x) { return Range(x, true, false, false, false, false); }
  // (-inf, x) and (-inf, x].
  static Range Below(double x) { return Range(0, false, false, x, true, true); }
  static Range AtMost(double x) { return Range(0, false, false, x, true, false); }
  // Both ends bounded, each excluded as told.
  static Range Between(double lower, bool lowerOpen, double upper, bool upperOpen) {
    return Range(lower, true, lowerOpen, upper, true, upperOpen);
  }

  // The lower end of `lowerOf` and the upper end of `upperOf`.
  static Range Spanning(Range const& lowerOf, Range const& upperOf) {
    Range r;
    r.hasLower = lowerOf.hasLower;
    r.lower = lowerOf.lower;
    r.lowerOpen = lowerOf.lowerOpen;
    r.hasUpper = upperOf.hasUpper;
    r.upper = upperOf.upper;
    r.upperOpen = upperOf.upperOpen;
    return r;
  }

  bool Contains(double x) const {
    bool const aboveLower = !hasLower || (lowerOpen ? x > lower : x >= lower);
    bool const belowUpper = !hasUpper || (upperOpen ? x < upper : x <= upper);
    return aboveLower && belowUpper;
  }
  bool IsEmpty() const {
    if (!hasLower || !hasUpper) return false;
    return lower > upper || (lower == upper && (lowerOpen || upperOpen));
  }

  Range() = default;

 private:
  Range(double lo, bool hasLo, bool loOpen, double hi, bool hasHi, bool hiOpen)
      : lower(hasLo ? lo : -std::numeric_limits<double>::infinity()),
        upper(hasHi ? hi : std::numeric_limits<double>::infinity()),
        hasLower(hasLo),
        hasUpper(hasHi),
        lowerOpen(hasLo ? loOpen : true),
        upperOpen(hasHi ? hiOpen : true) {}
};

}  // namespace refhost
