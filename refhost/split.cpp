#include "refhost/split.h"

namespace refhost {

Split Split::Nominal(int variable, std::vector<std::vector<mdt_800::Variant>> valuesPerChild) {
  Split split(kNominalValues, variable);
  split.fnValues = std::move(valuesPerChild);
  return split;
}

Split Split::Codes(int variable, std::vector<std::vector<int>> codesPerChild) {
  Split split(kNominalCodes, variable);
  split.fnCodes = std::move(codesPerChild);
  return split;
}

Split Split::Cuts(int variable, std::vector<double> cuts) {
  Split split(kCuts, variable);
  split.fnCuts = std::move(cuts);
  return split;
}

Split Split::CategoryCuts(int variable, std::vector<mdt_800::Variant> cuts) {
  Split split(kCategoryCuts, variable);
  split.fnCategoryCuts = std::move(cuts);
  return split;
}

Split Split::Ranges(int variable, std::vector<Range> ranges) {
  Split split(kRanges, variable);
  split.fnRanges = std::move(ranges);
  return split;
}

int Split::NumChildren() const {
  switch (fnKind) {
    case kNominalValues:
      return static_cast<int>(fnValues.size());
    case kNominalCodes:
      return static_cast<int>(fnCodes.size());
    case kCuts:
      return static_cast<int>(fnCuts.size()) + 1;
    case kCategoryCuts:
      return static_cast<int>(fnCategoryCuts.size()) + 1;
    case kRanges:
      return static_cast<int>(fnRanges.size());
  }
  return 0;
}

}  // namespace refhost
