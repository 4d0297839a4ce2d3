// Encoding sets: the abstract set, single values and ranges.
#include "host/encoding.h"
#include "refhost/hooks.h"

namespace mdt_800 {

EncodingSet::EncodingSet() { refhost::CountCreated(refhost::ObjectKind::kEncodingSet); }

EncodingSet::EncodingSet(EncodingSet const&) {
  refhost::CountCreated(refhost::ObjectKind::kEncodingSet);
}

EncodingSet::~EncodingSet() { refhost::CountDestroyed(refhost::ObjectKind::kEncodingSet); }

DiscreteValues::DiscreteValues() = default;
DiscreteValues::DiscreteValues(DiscreteValues const& other) = default;
DiscreteValues::~DiscreteValues() = default;

std::vector<EncodingItem> DiscreteValues::GetItems() const {
  refhost::FaultPoint("GetItems");
  return fnItems;
}

EncodingSet* DiscreteValues::Clone() const { return new DiscreteValues(*this); }

std::vector<EncodingItem> const& DiscreteValues::GetItemList() const { return fnItems; }

void DiscreteValues::AddItem(EncodingItem const& item) { fnItems.push_back(item); }

Interval::Interval(EncodingItem const& lower, EncodingItem const& upper)
    : fnLower(lower), fnUpper(upper) {}
Interval::Interval(Interval const& other) = default;
Interval::~Interval() = default;

std::vector<EncodingItem> Interval::GetItems() const {
  refhost::FaultPoint("GetItems");
  return {fnLower, fnUpper};
}

EncodingSet* Interval::Clone() const { return new Interval(*this); }

}  // namespace mdt_800
