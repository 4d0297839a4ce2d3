// A map encoder: category codes 1..n, each standing for an encoding set list
// (single values for categories, ranges for binned values).
#pragma once

#include <memory>
#include <vector>

#include "host/encoding.h"
#include "refhost/codetable.h"
#include "refhost/valuematcher.h"

namespace refhost {

class CategoryEncoder : public mdt_800::MapEncoder {
 public:
  // Code i + 1 stands for setsByCode[i]. `missing` may be null.
  CategoryEncoder(std::vector<mdt_800::EncodingSets> setsByCode,
                  std::unique_ptr<mdt_800::MissingValues> missing);

  // System-missing for no content, a user-missing value or an unknown value;
  // else the first code whose sets hold the value.
  double Encode(mdt_800::Variant const& value) const override;
  // A copy of the code's sets; empty for a code outside 1..n.
  mdt_800::EncodingSets Decode(double code) const override;
  mdt_800::MissingValues const* GetMissingValues() const override;
  std::vector<int> EncodedValues() const override;  // 1..n

  int NumCodes() const { return static_cast<int>(fnSets.size()); }

 private:
  std::vector<mdt_800::EncodingSets> fnSets;
  std::unique_ptr<mdt_800::MissingValues> fnMissing;
  CodeTable fnTable;
  // The linear search, for the values the table does not answer.
  std::vector<ValueMatcher> fnMatchers;  // one per code
  ValueMatcher fnMissingMatcher;
};

}  // namespace refhost
