// One value or range end of an encoding set.
#include <cmath>

#include "host/encoding.h"
#include "refhost/extremes.h"
#include "refhost/hooks.h"

namespace mdt_800 {

EncodingItem::EncodingItem(Variant const& value, bool inclusive)
    : fnValue(value), fnInclusive(inclusive) {
  refhost::CountCreated(refhost::ObjectKind::kEncodingItem);
}

EncodingItem::EncodingItem(EncodingItem const& other)
    : fnValue(other.fnValue), fnInclusive(other.fnInclusive) {
  refhost::CountCreated(refhost::ObjectKind::kEncodingItem);
}

EncodingItem& EncodingItem::operator=(EncodingItem const& other) = default;

EncodingItem::~EncodingItem() { refhost::CountDestroyed(refhost::ObjectKind::kEncodingItem); }

Variant const& EncodingItem::GetValue() const { return fnValue; }

bool EncodingItem::IsInclusive() const { return fnInclusive; }

void EncodingItem::SetInclusive(bool inclusive) { fnInclusive = inclusive; }

// The host writes unbounded ends as the extreme bounds; a true infinity given
// by a caller counts as unbounded as well.
bool EncodingItem::IsInfinity() const {
  if (fnValue.GetType() != Variant::TYPE_DOUBLE) return false;
  double const x = static_cast<double>(fnValue);
  return std::isinf(x) || x == refhost::kLowestBound || x == refhost::kHighestBound;
}

}  // namespace mdt_800
