// One value or range end of an encoding set.
#include <cmath>

#include "host/encoding.h"
#include "refhost/objectcounts.h"

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

bool EncodingItem::IsInfinity() const {
  return fnValue.GetType() == Variant::TYPE_DOUBLE && std::isinf(static_cast<double>(fnValue));
}

}  // namespace mdt_800
