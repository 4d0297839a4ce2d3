// Split rules: the counted base implementation, the handle that callers get,
// and the nominal rule.
#include "host/splitrule.h"

#include <algorithm>

#include "refhost/hooks.h"
#include "refhost/valuesets.h"

namespace tree_800 {

using refhost::ObjectKind;

SplitRuleImp::SplitRuleImp() { refhost::CountCreated(ObjectKind::kSplitRuleImp); }
SplitRuleImp::SplitRuleImp(SplitRuleImp const&) {
  refhost::CountCreated(ObjectKind::kSplitRuleImp);
}
SplitRuleImp::~SplitRuleImp() { refhost::CountDestroyed(ObjectKind::kSplitRuleImp); }

SplitRule::SplitRule(SplitRuleImp const& imp) : fnImp(imp.Clone()) {
  refhost::CountCreated(ObjectKind::kSplitRule);
}
SplitRule::~SplitRule() { refhost::CountDestroyed(ObjectKind::kSplitRule); }

int SplitRule::GetPredictorIndex() const { return fnImp->GetPredictorIndex(); }
int SplitRule::GetMissingValueMapping() const { return fnImp->GetMissingValueMapping(); }
int SplitRule::GetNumChildren() const { return fnImp->GetNumChildren(); }

ValueSet* SplitRule::GetMappedValues(int child) const {
  refhost::FaultPoint("GetMappedValues");
  return fnImp->GetMappedValues(child);
}

SplitRuleImp const& SplitRule::GetImp() const { return *fnImp; }

NSplitRule::NSplitRule(int predictorIndex, int)
    : fnPredictor(predictorIndex), fnMissingChild(-1), fnNumChildren(0) {}
NSplitRule::NSplitRule(NSplitRule const& other) = default;
NSplitRule::~NSplitRule() = default;

void NSplitRule::SetCatMapping(int code, int child) {
  for (auto& entry : fnMapping) {
    if (entry.first == code) {
      entry.second = child;
      return;
    }
  }
  fnMapping.emplace_back(code, child);
}

void NSplitRule::SetMissingValueMapping(int child) { fnMissingChild = child; }
void NSplitRule::SetNumChildren(int count) { fnNumChildren = count; }

SplitRuleImp* NSplitRule::Clone() const { return new NSplitRule(*this); }
int NSplitRule::GetPredictorIndex() const { return fnPredictor; }
int NSplitRule::GetMissingValueMapping() const { return fnMissingChild; }

int NSplitRule::GetNumChildren() const {
  int count = fnNumChildren;
  for (auto const& entry : fnMapping) count = std::max(count, entry.second + 1);
  return count;
}

// An empty set for a child that no code goes to; null for a child outside the
// split.
ValueSet* NSplitRule::GetMappedValues(int child) const {
  if (child < 0 || child >= GetNumChildren()) return nullptr;
  std::vector<int> codes;
  for (auto const& entry : fnMapping) {
    if (entry.second == child) codes.push_back(entry.first);
  }
  return new refhost::CodeSet(std::move(codes));
}

int NSplitRule::ChildFor(double value) const {
  for (auto const& entry : fnMapping) {
    if (static_cast<double>(entry.first) == value) return entry.second;
  }
  return -1;
}

}  // namespace tree_800
