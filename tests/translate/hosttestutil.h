// Small host objects for translator tests: encoders over explicit code
// tables, metadata over a few variables, and option sets. Everything is built
// inside a test and released with it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/encoding.h"
#include "host/splitrule.h"
#include "host/variant.h"
#include "refhost/metadata.h"
#include "refhost/range.h"
#include "ruletext/ruleexportoptions.h"
#include "translate/ruleexportmanager.h"

namespace translatetest {

TreeOut_800::RuleExportOptions Options(int dialect, int edgeMode = 0);

// One encoding-set list: a single value, or a range with inclusive flags
// (an infinite end is an unbounded side).
mdt_800::EncodingSets Single(mdt_800::Variant const& value);
mdt_800::EncodingSets Range(double lower, bool lowerIncluded, double upper, bool upperIncluded);

// User-missing values: single values and [lower, upper] ranges, in the
// order given (single values first).
std::unique_ptr<mdt_800::MissingValues> Missing(
    std::vector<mdt_800::Variant> const& values,
    std::vector<std::pair<double, double>> const& ranges = {});

// A map encoder where code i + 1 stands for setsByCode[i].
std::unique_ptr<mdt_800::Encoder> CodeEncoder(
    std::vector<mdt_800::EncodingSets> setsByCode,
    std::unique_ptr<mdt_800::MissingValues> missing = nullptr);
// An encoder that passes numbers through and carries user-missing values.
std::unique_ptr<mdt_800::Encoder> NumberEncoder(std::unique_ptr<mdt_800::MissingValues> missing);

// Metadata and a manager over it, built variable by variable.
class Host {
 public:
  Host();
  ~Host();
  // Adds a variable; returns its index.
  int Add(mdt_800::Variable variable, std::unique_ptr<mdt_800::Encoder> encoder = nullptr);
  mdt_800::Variable const& Var(int index) const;
  // A manager over the variables added so far (none kept: the variable
  // sequence may move while variables are added).
  TreeOut_800::RuleExportManager Manager() const;
  refhost::Metadata const& Metadata() const { return fnMetadata; }

 private:
  refhost::Metadata fnMetadata;
};

// What a test split sends to one child: category codes, a range, or no
// value set at all.
struct ChildValues {
  enum Kind { kNone, kCodes, kRange } kind = kNone;
  std::vector<int> codes;
  refhost::Range range;
};
ChildValues Codes(std::vector<int> codes);
ChildValues Ranged(refhost::Range range);
ChildValues NoValues();

// A split rule over explicit value sets, which may overlap, and a count of
// the exports that asked it for its missing-value child (each export asks
// once).
class FakeRule : public tree_800::SplitRule {
 public:
  FakeRule(int predictor, int missingChild, std::vector<ChildValues> children);
  int GetPredictorIndex() const override { return fnPredictor; }
  int GetMissingValueMapping() const override;
  int GetNumChildren() const override { return static_cast<int>(fnChildren.size()); }
  tree_800::ValueSet* GetMappedValues(int child) const override;
  int MissingMappingCalls() const { return fnMissingCalls; }

 private:
  int fnPredictor;
  int fnMissingChild;
  std::vector<ChildValues> fnChildren;
  mutable int fnMissingCalls = 0;
};

// A host nominal rule: child i takes codesPerChild[i].
tree_800::SplitRule NominalRule(int predictor, std::vector<std::vector<int>> codesPerChild,
                                int missingChild = -1);
// A host ordinal rule: child i takes ranges[i].
tree_800::SplitRule OrdinalRule(int predictor, std::vector<refhost::Range> ranges,
                                int missingChild = -1);

mdt_800::Variable Numeric(std::string name, int level = mdt_800::Variable::LEVEL_SCALE);
mdt_800::Variable Text(std::string name, int level = mdt_800::Variable::LEVEL_NOMINAL);

}  // namespace translatetest
