#include "refhost/valuematcher.h"

#include <typeinfo>

namespace refhost {

ValueMatcher::ValueMatcher(mdt_800::EncodingSets const& sets) {
  for (auto const& set : sets.GetEncodingSetList()) {
    if (typeid(*set) == typeid(mdt_800::DiscreteValues)) {
      for (auto const& item : static_cast<mdt_800::DiscreteValues const&>(*set).GetItemList()) {
        fnSingles.push_back(item.GetValue());
      }
    } else if (typeid(*set) == typeid(mdt_800::Interval)) {
      std::vector<mdt_800::EncodingItem> const items = set->GetItems();
      Range range;
      range.hasLower = !items[0].IsInfinity();
      range.hasUpper = !items[1].IsInfinity();
      range.lower = static_cast<double>(items[0].GetValue());
      range.upper = static_cast<double>(items[1].GetValue());
      range.lowerInclusive = items[0].IsInclusive();
      range.upperInclusive = items[1].IsInclusive();
      fnRanges.push_back(range);
    }
  }
}

bool ValueMatcher::Matches(mdt_800::Variant const& value) const {
  for (auto const& single : fnSingles) {
    if (single == value) return true;
  }
  int const type = value.GetType();
  if (type != mdt_800::Variant::TYPE_DOUBLE && type != mdt_800::Variant::TYPE_LONG) return false;
  double const x = static_cast<double>(value);
  for (auto const& r : fnRanges) {
    bool const aboveLower = !r.hasLower || (r.lowerInclusive ? x >= r.lower : x > r.lower);
    bool const belowUpper = !r.hasUpper || (r.upperInclusive ? x <= r.upper : x < r.upper);
    if (aboveLower && belowUpper) return true;
  }
  return false;
}

}  // namespace refhost
