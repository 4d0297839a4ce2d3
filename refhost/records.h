// Records for tests: made from a list of values, and encoded to doubles the
// way the library encodes them before dropping them through a tree.
#pragma once

#include <vector>

#include "host/metadata.h"
#include "host/record.h"

namespace refhost {

using Record = MCTree_800::TRecord<mdt_800::Variant>;

// A record whose value i + 1 is values[i]; value 0 is a dummy (no content),
// as the library reads variable i from value i + 1.
Record MakeRecord(std::vector<mdt_800::Variant> values);

// One double per variable: the encoder's Encode when the variable has one,
// else system-missing for a value without content, else the number.
// REQUIRES: the record holds a value for every variable.
std::vector<double> EncodeRecord(mdt_800::ModelMetadata const& metadata, Record const& record);

}  // namespace refhost
