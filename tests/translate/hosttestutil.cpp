#include "hosttestutil.h"

#include <limits>
#include <utility>

#include "refhost/categoryencoder.h"
#include "refhost/numericencoder.h"
#include "refhost/ordinalsplit.h"
#include "refhost/valuesets.h"

namespace translatetest {

TreeOut_800::RuleExportOptions Options(int dialect, int edgeMode) {
  TreeOut_800::RuleExportOptions options;
  options.fnDialect = dialect;
  options.fnEdgeMode = edgeMode;
  return options;
}

mdt_800::EncodingSets Single(mdt_800::Variant const& value) {
  mdt_800::DiscreteValues values;
  values.AddItem(mdt_800::EncodingItem(value, true));
  mdt_800::EncodingSets sets;
  sets.AddEncodingSet(values);
  return sets;
}

mdt_800::EncodingSets Range(double lower, bool lowerIncluded, double upper, bool upperIncluded) {
  mdt_800::EncodingSets sets;
  sets.AddEncodingSet(
      mdt_800::Interval(mdt_800::EncodingItem(mdt_800::Variant(lower), lowerIncluded),
                        mdt_800::EncodingItem(mdt_800::Variant(upper), upperIncluded)));
  return sets;
}

std::unique_ptr<mdt_800::MissingValues> Missing(
    std::vector<mdt_800::Variant> const& values,
    std::vector<std::pair<double, double>> const& ranges) {
  mdt_800::EncodingSets sets;
  if (!values.empty()) {
    mdt_800::DiscreteValues discrete;
    for (auto const& value : values) discrete.AddItem(mdt_800::EncodingItem(value, true));
    sets.AddEncodingSet(discrete);
  }
  for (auto const& range : ranges) {
    sets.AddEncodingSet(
        mdt_800::Interval(mdt_800::EncodingItem(mdt_800::Variant(range.first), true),
                          mdt_800::EncodingItem(mdt_800::Variant(range.second), true)));
  }
  return std::make_unique<mdt_800::MissingValues>(sets);
}

std::unique_ptr<mdt_800::Encoder> CodeEncoder(std::vector<mdt_800::EncodingSets> setsByCode,
                                              std::unique_ptr<mdt_800::MissingValues> missing) {
  return std::make_unique<refhost::CategoryEncoder>(std::move(setsByCode), std::move(missing));
}

std::unique_ptr<mdt_800::Encoder> NumberEncoder(std::unique_ptr<mdt_800::MissingValues> missing) {
  return std::make_unique<refhost::NumericEncoder>(std::move(missing));
}

Host::Host() = default;
Host::~Host() = default;

int Host::Add(mdt_800::Variable variable, std::unique_ptr<mdt_800::Encoder> encoder) {
  return fnMetadata.AddVariable(std::move(variable), std::move(encoder));
}

mdt_800::Variable const& Host::Var(int index) const { return fnMetadata.GetVariables()[index]; }

TreeOut_800::RuleExportManager Host::Manager() const {
  return TreeOut_800::RuleExportManager(nullptr, &fnMetadata);
}

ChildValues Codes(std::vector<int> codes) {
  ChildValues values;
  values.kind = ChildValues::kCodes;
  values.codes = std::move(codes);
  return values;
}

ChildValues Ranged(refhost::Range range) {
  ChildValues values;
  values.kind = ChildValues::kRange;
  values.range = range;
  return values;
}

ChildValues NoValues() { return ChildValues(); }

FakeRule::FakeRule(int predictor, int missingChild, std::vector<ChildValues> children)
    : tree_800::SplitRule(tree_800::NSplitRule(predictor, 0)),
      fnPredictor(predictor),
      fnMissingChild(missingChild),
      fnChildren(std::move(children)) {}

tree_800::ValueSet* FakeRule::GetMappedValues(int child) const {
  const ChildValues& values = fnChildren.at(child);
  switch (values.kind) {
    case ChildValues::kCodes:
      return new refhost::CodeSet(values.codes);
    case ChildValues::kRange:
      return new refhost::RangeSet(values.range);
    default:
      return nullptr;
  }
}

tree_800::SplitRule NominalRule(int predictor, std::vector<std::vector<int>> codesPerChild,
                                int missingChild) {
  tree_800::NSplitRule rule(predictor, 0);
  for (std::size_t child = 0; child < codesPerChild.size(); ++child) {
    for (int code : codesPerChild[child]) rule.SetCatMapping(code, static_cast<int>(child));
  }
  rule.SetNumChildren(static_cast<int>(codesPerChild.size()));
  rule.SetMissingValueMapping(missingChild);
  return tree_800::SplitRule(rule);
}

tree_800::SplitRule OrdinalRule(int predictor, std::vector<refhost::Range> ranges,
                                int missingChild) {
  return tree_800::SplitRule(refhost::OrdinalSplit(predictor, std::move(ranges), missingChild));
}

mdt_800::Variable Numeric(std::string name, int level) {
  return mdt_800::Variable(std::move(name), mdt_800::Variable::STORAGE_NUMERIC, level);
}

mdt_800::Variable Text(std::string name, int level) {
  return mdt_800::Variable(std::move(name), mdt_800::Variable::STORAGE_STRING, level);
}

Income::Income(std::unique_ptr<mdt_800::MissingValues> missing) {
  const double inf = std::numeric_limits<double>::infinity();
  index = host.Add(Numeric("income"),
                   CodeEncoder({Range(-inf, false, 50, false), Range(50, true, inf, false)},
                               std::move(missing)));
}

tree_800::SplitRule Income::Rule(int missingChild) const {
  return OrdinalRule(index, {refhost::Range::AtMost(1), refhost::Range::AtLeast(2)}, missingChild);
}

Region::Region(std::unique_ptr<mdt_800::MissingValues> missing) {
  mdt_800::Variable region = Numeric("region", mdt_800::Variable::LEVEL_NOMINAL);
  region.AddValueLabel(mdt_800::Variant(1.0), "North");
  region.AddValueLabel(mdt_800::Variant(2.0), "South West");
  index = host.Add(region, NumberEncoder(std::move(missing)));
}

tree_800::SplitRule Region::Rule() const { return NominalRule(index, {{1, 2}, {3}, {4, 5}}, 2); }

Size::Size() {
  using mdt_800::Variant;
  index = host.Add(Text("size", mdt_800::Variable::LEVEL_ORDINAL),
                   CodeEncoder({Single(Variant("S")), Single(Variant("M")), Single(Variant("L")),
                                Single(Variant("XL"))}));
}

tree_800::SplitRule Size::Rule() const {
  return OrdinalRule(index, {refhost::Range::AtMost(2), refhost::Range::Above(2)});
}

CountingSplit::CountingSplit(int predictor, int* exports)
    : NSplitRule(predictor, 0), fnExports(exports) {
  SetCatMapping(1, 0);
  SetCatMapping(2, 1);
}

int CountingSplit::GetMissingValueMapping() const {
  ++*fnExports;
  return NSplitRule::GetMissingValueMapping();
}

tree_800::SplitRule* CountingNode::GetSplitRule(int index) const {
  ++fnFetched;
  return TreeNode::GetSplitRule(index);
}

tree_800::SplitRule* CountingNode::GetSurrogate(int index) const {
  ++fnFetched;
  return index == fnNullSurrogate ? nullptr : TreeNode::GetSurrogate(index);
}

ChainHost::ChainHost(int links, bool primary, int defaultChild, int missingLink) {
  for (const char* name : {"p", "s", "t"}) {
    host.Add(Numeric(name, mdt_800::Variable::LEVEL_NOMINAL));
  }
  for (int i = primary ? 0 : 1; i < links; ++i) {
    auto split = std::make_unique<CountingSplit>(i, &exports[i]);
    if (i == missingLink) split->SetMissingValueMapping(0);
    if (i == 0) {
      node.SetPrimary(std::move(split));
    } else {
      node.AddSurrogate(std::move(split));
    }
  }
  node.SetDefaultChild(defaultChild);
}

}  // namespace translatetest
