#include "refhost/numericencoder.h"

#include "host/systemmissing.h"
#include "refhost/hooks.h"

namespace refhost {

NumericEncoder::NumericEncoder(std::unique_ptr<mdt_800::MissingValues> missing)
    : fnMissing(std::move(missing)) {
  if (fnMissing) fnMissingMatcher = ValueMatcher(*fnMissing->GetEncodingSets());
}

double NumericEncoder::Encode(mdt_800::Variant const& value) const {
  FaultPoint("Encode");
  int const type = value.GetType();
  if (type != mdt_800::Variant::TYPE_DOUBLE && type != mdt_800::Variant::TYPE_LONG) {
    return systemMissingValue();
  }
  if (fnMissingMatcher.Matches(value)) return systemMissingValue();
  return static_cast<double>(value);
}

mdt_800::EncodingSets NumericEncoder::Decode(double code) const {
  FaultPoint("Decode");
  mdt_800::DiscreteValues single;
  single.AddItem(mdt_800::EncodingItem(mdt_800::Variant(code), true));
  mdt_800::EncodingSets sets;
  sets.AddEncodingSet(single);
  return sets;
}

mdt_800::MissingValues const* NumericEncoder::GetMissingValues() const { return fnMissing.get(); }

}  // namespace refhost
