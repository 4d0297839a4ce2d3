#include "refhost/records.h"

#include "host/systemmissing.h"

namespace refhost {

Record MakeRecord(std::vector<mdt_800::Variant> values) {
  values.insert(values.begin(), mdt_800::Variant());
  return Record(std::move(values));
}

std::vector<double> EncodeRecord(mdt_800::ModelMetadata const& metadata, Record const& record) {
  auto const& variables = metadata.GetVariables();
  std::vector<double> encoded(variables.size());
  for (std::size_t i = 0; i < variables.size(); ++i) {
    mdt_800::Variant const& value = record[i + 1];
    if (mdt_800::Encoder const* encoder = variables[i].GetEncoding()) {
      encoded[i] = encoder->Encode(value);
    } else if (value.GetType() == mdt_800::Variant::TYPE_NONE) {
      encoded[i] = systemMissingValue();
    } else {
      encoded[i] = static_cast<double>(value);
    }
  }
  return encoded;
}

}  // namespace refhost
