// An ordered split: one range per child.
#pragma once

#include <vector>

#include "host/splitrule.h"
#include "refhost/range.h"

namespace refhost {

class OrdinalSplit : public tree_800::SplitRuleImp {
 public:
  // Child i takes the values of ranges[i]; `missingChild` negative for none.
  OrdinalSplit(int predictorIndex, std::vector<Range> ranges, int missingChild);
  OrdinalSplit(OrdinalSplit const& other);
  ~OrdinalSplit() override;

  tree_800::SplitRuleImp* Clone() const override;
  int GetPredictorIndex() const override;
  int GetMissingValueMapping() const override;
  int GetNumChildren() const override;
  // A new RangeSet, or null for a child outside the split.
  tree_800::ValueSet* GetMappedValues(int child) const override;
  // The first child whose range holds the value, or -1.
  int ChildFor(double value) const override;

  std::vector<Range> const& GetRanges() const { return fnRanges; }

 private:
  int fnPredictor;
  std::vector<Range> fnRanges;
  int fnMissingChild;
};

}  // namespace refhost
