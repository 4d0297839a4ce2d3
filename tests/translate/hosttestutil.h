// Host objects and fixtures for translator tests, released with the test.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/encoding.h"
#include "host/splitrule.h"
#include "host/variant.h"
#include "refhost/metadata.h"
#include "refhost/range.h"
#include "refhost/treenode.h"
#include "ruletext/ruleexportoptions.h"
#include "translate/ruleexportmanager.h"

namespace translatetest {

TreeOut_800::RuleExportOptions Options(int dialect, int edgeMode = 0);

// One encoding-set list: a single value, or a range with inclusive flags.
mdt_800::EncodingSets Single(mdt_800::Variant const& value);
mdt_800::EncodingSets Range(double lower, bool lowerIncluded, double upper, bool upperIncluded);

// User-missing values: single values first, then [lower, upper] ranges.
std::unique_ptr<mdt_800::MissingValues> Missing(
    std::vector<mdt_800::Variant> const& values,
    std::vector<std::pair<double, double>> const& ranges = {});

// A map encoder where code i + 1 stands for setsByCode[i].
std::unique_ptr<mdt_800::Encoder> CodeEncoder(
    std::vector<mdt_800::EncodingSets> setsByCode,
    std::unique_ptr<mdt_800::MissingValues> missing = nullptr);
// Passes numbers through, with user-missing values.
std::unique_ptr<mdt_800::Encoder> NumberEncoder(std::unique_ptr<mdt_800::MissingValues> missing);

// Metadata built variable by variable, and a manager over it.
class Host {
 public:
  Host();
  ~Host();
  int Add(mdt_800::Variable variable, std::unique_ptr<mdt_800::Encoder> encoder = nullptr);
  mdt_800::Variable const& Var(int index) const;
  TreeOut_800::RuleExportManager Manager() const;
  refhost::Metadata const& Metadata() const { return fnMetadata; }

 private:
  refhost::Metadata fnMetadata;
};

// What a test split sends to one child: codes, a range, or no value set.
struct ChildValues {
  enum Kind { kNone, kCodes, kRange } kind = kNone;
  std::vector<int> codes;
  refhost::Range range;
};
ChildValues Codes(std::vector<int> codes);
ChildValues Ranged(refhost::Range range);
ChildValues NoValues();

// A split rule over explicit value sets, which may overlap.
class FakeRule : public tree_800::SplitRule {
 public:
  FakeRule(int predictor, int missingChild, std::vector<ChildValues> children);
  int GetPredictorIndex() const override { return fnPredictor; }
  int GetMissingValueMapping() const override { return fnMissingChild; }
  int GetNumChildren() const override { return static_cast<int>(fnChildren.size()); }
  tree_800::ValueSet* GetMappedValues(int child) const override;

 private:
  int fnPredictor;
  int fnMissingChild;
  std::vector<ChildValues> fnChildren;
};

// A host nominal rule: child i takes codesPerChild[i].
tree_800::SplitRule NominalRule(int predictor, std::vector<std::vector<int>> codesPerChild,
                                int missingChild = -1);
// A host ordinal rule: child i takes ranges[i].
tree_800::SplitRule OrdinalRule(int predictor, std::vector<refhost::Range> ranges,
                                int missingChild = -1);

mdt_800::Variable Numeric(std::string name, int level = mdt_800::Variable::LEVEL_SCALE);
mdt_800::Variable Text(std::string name, int level = mdt_800::Variable::LEVEL_NOMINAL);

// income: codes [-inf, 50) and [50, +inf); Rule() sends code i to child i - 1.
struct Income {
  Host host;
  int index;
  explicit Income(std::unique_ptr<mdt_800::MissingValues> missing);
  tree_800::SplitRule Rule(int missingChild = -1) const;
};

// region: labels 1 North, 2 South West; Rule(): {1, 2}, {3}, {4, 5}, missing to 2.
struct Region {
  Host host;
  int index;
  explicit Region(
      std::unique_ptr<mdt_800::MissingValues> missing = Missing({mdt_800::Variant(9.0)}));
  tree_800::SplitRule Rule() const;
};

// size: ordinal codes 1..4 for S, M, L, XL; Rule() sends codes up to 2 to child 0.
struct Size {
  Host host;
  int index;
  Size();
  tree_800::SplitRule Rule() const;
};

// Code 1 to child 0, code 2 to child 1; copies share the count of exports.
class CountingSplit : public tree_800::NSplitRule {
 public:
  CountingSplit(int predictor, int* exports);
  tree_800::SplitRuleImp* Clone() const override { return new CountingSplit(*this); }
  int GetMissingValueMapping() const override;

 private:
  int* fnExports;
};

// A node counting the rules it hands out; may hand out null for one surrogate.
class CountingNode : public refhost::TreeNode {
 public:
  CountingNode() : TreeNode(0) {}
  tree_800::SplitRule* GetSplitRule(int index) const override;
  tree_800::SplitRule* GetSurrogate(int index) const override;
  mutable int fnFetched = 0;
  int fnNullSurrogate = -1;
};

// Nominal predictors p, s, t; a node split on p (if primary) with surrogates;
// link `missingLink` (if any) sends missing values to child 0.
struct ChainHost {
  Host host;
  int exports[3] = {0, 0, 0};
  CountingNode node;
  explicit ChainHost(int links = 3, bool primary = true, int defaultChild = 1,
                     int missingLink = -1);
};

}  // namespace translatetest
