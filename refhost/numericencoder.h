// An encoder for numeric variables that have user-missing values: numbers
// pass through unchanged, user-missing values become system-missing.
#pragma once

#include <memory>

#include "host/encoding.h"
#include "refhost/valuematcher.h"

namespace refhost {

class NumericEncoder : public mdt_800::Encoder {
 public:
  explicit NumericEncoder(std::unique_ptr<mdt_800::MissingValues> missing);

  // The number itself; system-missing for no content, a string, or a
  // user-missing value.
  double Encode(mdt_800::Variant const& value) const override;
  // One single value: the code itself.
  mdt_800::EncodingSets Decode(double code) const override;
  mdt_800::MissingValues const* GetMissingValues() const override;

 private:
  std::unique_ptr<mdt_800::MissingValues> fnMissing;
  ValueMatcher fnMissingMatcher;
};

}  // namespace refhost
