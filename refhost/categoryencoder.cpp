#include "refhost/categoryencoder.h"

#include <cmath>

#include "host/systemmissing.h"
#include "refhost/hooks.h"

namespace refhost {

CategoryEncoder::CategoryEncoder(std::vector<mdt_800::EncodingSets> setsByCode,
                                 std::unique_ptr<mdt_800::MissingValues> missing)
    : fnSets(std::move(setsByCode)),
      fnMissing(std::move(missing)),
      fnTable(fnSets, fnMissing ? fnMissing->GetEncodingSets() : nullptr) {
  fnMatchers.reserve(fnSets.size());
  for (auto const& sets : fnSets) fnMatchers.emplace_back(sets);
  if (fnMissing) fnMissingMatcher = ValueMatcher(*fnMissing->GetEncodingSets());
}

double CategoryEncoder::Encode(mdt_800::Variant const& value) const {
  FaultPoint("Encode");
  double code;
  if (fnTable.Find(value, &code)) return code;
  if (value.GetType() == mdt_800::Variant::TYPE_NONE || fnMissingMatcher.Matches(value)) {
    return systemMissingValue();
  }
  for (std::size_t i = 0; i < fnMatchers.size(); ++i) {
    if (fnMatchers[i].Matches(value)) return static_cast<double>(i + 1);
  }
  return systemMissingValue();
}

mdt_800::EncodingSets CategoryEncoder::Decode(double code) const {
  FaultPoint("Decode");
  if (code >= 1 && code <= static_cast<double>(fnSets.size()) && std::floor(code) == code) {
    return fnSets[static_cast<std::size_t>(code) - 1];
  }
  return mdt_800::EncodingSets();
}

mdt_800::MissingValues const* CategoryEncoder::GetMissingValues() const { return fnMissing.get(); }

std::vector<int> CategoryEncoder::EncodedValues() const {
  FaultPoint("EncodedValues");
  std::vector<int> codes(fnSets.size());
  for (std::size_t i = 0; i < codes.size(); ++i) codes[i] = static_cast<int>(i + 1);
  return codes;
}

}  // namespace refhost
