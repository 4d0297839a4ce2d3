// Tests raw values against a list of encoding sets (single values and numeric
// ranges) without allocating, so that encoding a record stays cheap.
#pragma once

#include <vector>

#include "host/encoding.h"
#include "host/variant.h"

namespace refhost {

class ValueMatcher {
 public:
  ValueMatcher() = default;  // matches nothing
  explicit ValueMatcher(mdt_800::EncodingSets const& sets);

  // True when `value` equals a single value of the sets, or is a number that
  // lies in one of their ranges (an infinity end is unbounded).
  bool Matches(mdt_800::Variant const& value) const;

 private:
  struct Range {
    double lower;
    double upper;
    bool hasLower;
    bool hasUpper;
    bool lowerInclusive;
    bool upperInclusive;
  };
  std::vector<mdt_800::Variant> fnSingles;
  std::vector<Range> fnRanges;
};

}  // namespace refhost
