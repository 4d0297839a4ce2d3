// Sets of numbers as unions of disjoint ranges, kept ascending and merged
// where they touch, so that two sets with the same numbers are equal. The
// complement walks the gaps between ranges; intersection is the complement
// of the union of complements.
#include <algorithm>
#include <cmath>

#include "refhost/pmml/pmmlinternal.h"

namespace refhost::pmml {

bool IntervalSet::Contains(double x) const {
  for (Range const& r : ranges) {
    if (r.Contains(x)) return true;
  }
  return false;
}

IntervalSet IntervalSet::All() { return IntervalSet{{Range::All()}}; }

namespace {

// Whether the lower end of `a` starts before that of `b` (an open end
// starts after a closed one at the same number).
bool LowerBefore(Range const& a, Range const& b) {
  if (!a.hasLower) return b.hasLower;
  if (!b.hasLower) return false;
  if (a.lower != b.lower) return a.lower < b.lower;
  return !a.lowerOpen && b.lowerOpen;
}

// Whether the upper end of `a` ends after that of `b`.
bool UpperAfter(Range const& a, Range const& b) {
  if (!a.hasUpper) return b.hasUpper;
  if (!b.hasUpper) return false;
  if (a.upper != b.upper) return a.upper > b.upper;
  return !a.upperOpen && b.upperOpen;
}

// Whether `a` followed by `b` (b starting no earlier) leaves no number out.
bool Touch(Range const& a, Range const& b) {
  if (!a.hasUpper || !b.hasLower) return true;
  if (a.upper != b.lower) return a.upper > b.lower;
  return !a.upperOpen || !b.lowerOpen;
}

IntervalSet Normalized(std::vector<Range> ranges) {
  std::vector<Range> kept;
  for (Range const& r : ranges) {
    if (!r.IsEmpty()) kept.push_back(r);
  }
  std::sort(kept.begin(), kept.end(), LowerBefore);
  IntervalSet out;
  for (Range const& r : kept) {
    if (!out.ranges.empty() && Touch(out.ranges.back(), r)) {
      Range& last = out.ranges.back();
      if (UpperAfter(r, last)) last = Range::Spanning(last, r);
    } else {
      out.ranges.push_back(r);
    }
  }
  return out;
}

}  // namespace

IntervalSet IntervalSet::Union(IntervalSet const& other) const {
  std::vector<Range> all = ranges;
  all.insert(all.end(), other.ranges.begin(), other.ranges.end());
  return Normalized(std::move(all));
}

IntervalSet IntervalSet::Complement() const {
  std::vector<Range> out;
  Range gap = Range::All();  // its lower end follows the previous range
  for (Range const& r : ranges) {
    if (r.hasLower) {
      Range piece = gap;
      piece.hasUpper = true;
      piece.upper = r.lower;
      piece.upperOpen = !r.lowerOpen;
      out.push_back(piece);
    }
    if (!r.hasUpper) return Normalized(std::move(out));
    gap = Range::All();
    gap.hasLower = true;
    gap.lower = r.upper;
    gap.lowerOpen = !r.upperOpen;
  }
  out.push_back(gap);
  return Normalized(std::move(out));
}

IntervalSet IntervalSet::Intersect(IntervalSet const& other) const {
  return Complement().Union(other.Complement()).Complement();
}

}  // namespace refhost::pmml
