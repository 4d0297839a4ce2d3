// Owning lists of encoding sets, and the user-missing values made of them.
#include <typeinfo>

#include "host/encoding.h"
#include "refhost/hooks.h"

namespace mdt_800 {

EncodingSets::EncodingSets() { refhost::CountCreated(refhost::ObjectKind::kEncodingSets); }

EncodingSets::EncodingSets(EncodingSets const& other) {
  refhost::CountCreated(refhost::ObjectKind::kEncodingSets);
  fnSets.reserve(other.fnSets.size());
  for (auto const& set : other.fnSets) fnSets.emplace_back(set->Clone());
}

EncodingSets::EncodingSets(EncodingSets&& other) noexcept : fnSets(std::move(other.fnSets)) {
  refhost::CountCreated(refhost::ObjectKind::kEncodingSets);
}

EncodingSets& EncodingSets::operator=(EncodingSets const& other) {
  if (this != &other) {
    EncodingSets copy(other);
    fnSets.swap(copy.fnSets);
  }
  return *this;
}

EncodingSets::~EncodingSets() { refhost::CountDestroyed(refhost::ObjectKind::kEncodingSets); }

void EncodingSets::AddEncodingSet(EncodingSet const& set) { fnSets.emplace_back(set.Clone()); }

std::vector<std::unique_ptr<EncodingSet>> const& EncodingSets::GetEncodingSetList() const {
  return fnSets;
}

Interval* EncodingSets::GetFirstInterval() const {
  refhost::FaultPoint("GetFirstInterval");
  for (auto const& set : fnSets) {
    if (typeid(*set) == typeid(Interval)) return new Interval(static_cast<Interval const&>(*set));
  }
  return nullptr;
}

Variant* EncodingSets::GetFirstValue() const {
  refhost::FaultPoint("GetFirstValue");
  for (auto const& set : fnSets) {
    if (typeid(*set) != typeid(DiscreteValues)) continue;
    // Read the items without GetItems so that only this operation's fault fires.
    auto const& items = static_cast<DiscreteValues const&>(*set).GetItemList();
    if (!items.empty()) return new Variant(items.front().GetValue());
  }
  return nullptr;
}

MissingValues::MissingValues(EncodingSets const& sets) : fnSets(sets) {}

MissingValues::~MissingValues() = default;

EncodingSets const* MissingValues::GetEncodingSets() const { return &fnSets; }

}  // namespace mdt_800
