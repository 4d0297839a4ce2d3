#include "refhost/ordinalsplit.h"

#include "refhost/valuesets.h"

namespace refhost {

OrdinalSplit::OrdinalSplit(int predictorIndex, std::vector<Range> ranges, int missingChild)
    : fnPredictor(predictorIndex), fnRanges(std::move(ranges)), fnMissingChild(missingChild) {}

OrdinalSplit::OrdinalSplit(OrdinalSplit const& other) = default;
OrdinalSplit::~OrdinalSplit() = default;

tree_800::SplitRuleImp* OrdinalSplit::Clone() const { return new OrdinalSplit(*this); }
int OrdinalSplit::GetPredictorIndex() const { return fnPredictor; }
int OrdinalSplit::GetMissingValueMapping() const { return fnMissingChild; }
int OrdinalSplit::GetNumChildren() const { return static_cast<int>(fnRanges.size()); }

tree_800::ValueSet* OrdinalSplit::GetMappedValues(int child) const {
  if (child < 0 || child >= GetNumChildren()) return nullptr;
  return new RangeSet(fnRanges[static_cast<std::size_t>(child)]);
}

int OrdinalSplit::ChildFor(double value) const {
  for (std::size_t i = 0; i < fnRanges.size(); ++i) {
    if (fnRanges[i].Contains(value)) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace refhost
