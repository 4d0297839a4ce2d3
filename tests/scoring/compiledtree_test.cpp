// The compiled walk against the host's own record dropping: random trees of
// every split kind, an irregular tree that only a host can build, a tree the
// walk cannot model, and host faults while compiling.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <memory>
#include <random>
#include <stdexcept>

#include "refhost/builder.h"
#include "refhost/ordinalsplit.h"
#include "refhost/valuesets.h"
#include "scoring/compiledtree.h"
#include "scoring/rulefactory.h"
#include "tests/scoring/probes.h"
#include "tests/support/faults.h"

namespace {

using mdt_800::Variant;
using refhost::Range;
using refhost::Split;

// A random split of variable `var` of RandomModel: cuts and ranges of every
// shape (overlapping, leaving gaps), category and code sets leaving some out.
Split RandomSplit(int var, std::mt19937& rng) {
  auto const pick = [&rng](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
  double const at[] = {-95.0, -1.0, 0.0, 2.5, 10.0, 1e6};
  auto const sets = [&](int children, auto const& values) {
    std::vector<std::vector<std::decay_t<decltype(values[0])>>> out(children);
    for (auto const& v : values) {
      if (int const to = pick(children + 1); to < children) out[to].push_back(v);
    }
    return out;
  };
  switch (var) {
    case 0:
      return Split::Cuts(0, pick(2) ? std::vector<double>{at[pick(6)]} : std::vector{-1.0, 2.5});
    case 1: {
      std::vector<Range> ranges = {Range::Below(at[pick(6)]), Range::AtLeast(at[pick(6)]),
                                   Range::Between(-1.0, pick(2), 2.5, pick(2)),
                                   Range::AtMost(at[pick(6)]), Range::All()};
      std::shuffle(ranges.begin(), ranges.end(), rng);
      ranges.resize(static_cast<std::size_t>(2 + pick(2)));
      return Split::Ranges(1, ranges);
    }
    case 2:
      return Split::Nominal(2, sets(2, std::vector<Variant>{"red", "green", "blue", "grey"}));
    case 3:
      return Split::Codes(3, sets(2 + pick(2), std::vector<int>{-3, 1, 2, 5, 6, 100000}));
    case 4:
      return Split::Cuts(4, {static_cast<double>(1 + pick(3))});
    default:
      return Split::CategoryCuts(5, {pick(2) ? "S" : "M"});
  }
}

// Trees up to depth 4 over every kind of variable, with missing-value and
// default children and up to two surrogates per split.
refhost::Model RandomModel(std::mt19937& rng) {
  auto const pick = [&rng](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
  refhost::ModelBuilder b;
  b.Scale("x").Missing({-1.0}).MissingRange(-99, -90);
  b.Scale("y");
  b.Nominal("colour", {"red", "green", "blue", "grey"}).Missing({"none"});
  b.Nominal("grade");  // numeric codes without encoder
  b.Binned("band", {0.0, 10.0, 20.0});
  b.OrderedCategories("size", {"S", "M", "L", "XL"});
  b.ClassTarget("risk", {"low", "high"});
  unsigned int next = 1;
  std::vector<std::pair<unsigned int, int>> pending = {{0, 0}};  // (node, depth)
  while (!pending.empty()) {
    auto const [id, depth] = pending.back();
    pending.pop_back();
    refhost::NodeSpec& node = b.Node(id).Predict(1, {0.5, 0.5});
    if (depth >= 4 || (depth > 0 && pick(4) == 0)) continue;
    Split const split = RandomSplit(pick(6), rng);
    int const children = split.NumChildren();
    node.SplitBy(split);
    if (pick(3) == 0) node.MissingChild(pick(children));
    if (pick(2) == 0) node.DefaultChild(pick(children));
    for (int s = pick(3); s > 0; --s) {
      Split surrogate = RandomSplit(pick(6), rng);
      if (surrogate.NumChildren() != children) continue;
      node.Surrogate(pick(3) ? surrogate : surrogate.Missing(pick(children)));
    }
    for (int c = 0; c < children; ++c, ++next) {
      node.Child(c, next);
      pending.emplace_back(next, depth + 1);
    }
  }
  return b.Build();
}

TEST(CompiledTree, RandomTreesRouteAsTheHost) {
  std::mt19937 rng(2024);
  for (int t = 0; t < 200; ++t) {
    refhost::Model const model = RandomModel(rng);
    std::string const what = "random tree " + std::to_string(t);
    scoringtest::ExpectHostRouting(
        model, scoringtest::ProbeRecords(model, 400, static_cast<unsigned>(rng())), what.c_str());
  }
}

// A nominal split on code `var`: each (code, child) pair.
std::unique_ptr<tree_800::NSplitRule> Codes(int var, std::vector<std::pair<int, int>> map,
                                            int missingChild = -1) {
  auto rule = std::make_unique<tree_800::NSplitRule>(var, 0);
  for (auto const& [code, child] : map) rule->SetCatMapping(code, child);
  rule->SetMissingValueMapping(missingChild);
  return rule;
}

std::unique_ptr<tree_800::SplitRuleImp> Ranges(int var, std::vector<Range> ranges,
                                               int missingChild = -1) {
  return std::make_unique<refhost::OrdinalSplit>(var, std::move(ranges), missingChild);
}

// Two plain numeric variables a and b; nodes made one by one.
refhost::Model HandBuilt(void (*build)(refhost::Tree&)) {
  auto metadata = std::make_unique<refhost::Metadata>();
  metadata->AddVariable(mdt_800::Variable("a", 0, 2), nullptr);
  metadata->AddVariable(mdt_800::Variable("b", 0, 0), nullptr);
  auto tree = std::make_unique<refhost::Tree>();
  build(*tree);
  return refhost::Model(std::move(metadata), std::move(tree));
}

// What the builder never makes: splits with more children than their node,
// missing-value and default children beyond the node's, an excluded cut with
// the upper side first, a cut at the lowest double, a range holding every
// number (NaN too), sparse and negative codes, an inner node without split.
void Irregular(refhost::Tree& t) {
  refhost::TreeNode* n[12];
  for (unsigned int i = 0; i < 12; ++i) n[i] = t.AddNode(i);
  auto const link = [&n](int parent, std::vector<int> children) {
    for (int c : children) n[parent]->AddChild(n[c]);
  };
  link(0, {1, 2});
  n[0]->SetPrimary(Ranges(0, {Range::AtLeast(5.0), Range::Below(5.0)}));
  n[0]->AddSurrogate(Codes(1, {{-7, 0}, {3, 2}, {900000, 1}, {4, 1}}));
  n[0]->AddSurrogate(Ranges(1, {Range::All()}));
  n[0]->SetDefaultChild(1);
  link(1, {3, 4});
  n[1]->SetPrimary(Codes(1, {{1, 0}, {2, 1}, {3, 2}}, 5));  // child 2 and missing 5: stop
  n[1]->SetDefaultChild(0);
  link(2, {5, 6, 7});
  n[2]->SetPrimary(Ranges(0, {Range::Below(-DBL_MAX), Range::AtLeast(-DBL_MAX)}));
  n[2]->AddSurrogate(
      Ranges(1, {Range::Between(0, true, 2, false), Range::AtMost(1.0), Range::Above(-1.0)}));
  n[2]->SetDefaultChild(7);  // beyond the children: the record stops
  link(3, {8, 9});           // children, but no split: records stop here
  link(4, {10, 11});
  n[4]->SetPrimary(Ranges(1, {Range::AtMost(2.0), Range::Above(2.0)}, 1));
}

TEST(CompiledTree, IrregularTreeRoutesAsTheHost) {
  refhost::Model const model = HandBuilt(Irregular);
  scoringtest::ExpectHostRouting(model, scoringtest::ProbeRecords(model, 3000, 7), "irregular");
}

// A split whose value sets are of a kind the compiled walk does not know.
class OddSet : public tree_800::ValueSet {
 public:
  bool Contains(double) const override { return false; }
  bool IsEmpty() const override { return true; }
};

class OddSplit : public tree_800::SplitRuleImp {
 public:
  SplitRuleImp* Clone() const override { return new OddSplit(*this); }
  int GetPredictorIndex() const override { return 0; }
  int GetMissingValueMapping() const override { return -1; }
  int GetNumChildren() const override { return 2; }
  tree_800::ValueSet* GetMappedValues(int) const override { return new OddSet; }
  int ChildFor(double value) const override { return value > 1 ? 1 : 0; }
};

TEST(CompiledTree, TreeItCannotModelIsScoredByTheHost) {
  refhost::Model const model = HandBuilt([](refhost::Tree& t) {
    refhost::TreeNode* root = t.AddNode(0);
    root->AddChild(t.AddNode(1));
    root->AddChild(t.AddNode(2));
    root->SetPrimary(std::make_unique<OddSplit>());
  });
  EXPECT_FALSE(TreeOut_800::CompiledTree(model.Root(), 2).IsUsable());
  std::unique_ptr<TreeOut_800::RecordClassifier> const classifier(
      TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetTree(), &model.GetMetadata()));
  for (double a : {0.0, 1.0, 1.5}) {
    EXPECT_EQ(classifier->Score(refhost::MakeRecord({a, 0.0})), model.Find(a > 1 ? 2 : 1)) << a;
  }
}

TEST(CompiledTree, HostFaultsWhileCompilingLeaveNothingBehind) {
  std::mt19937 rng(11);
  refhost::Model const model = RandomModel(rng);
  for (char const* operation :
       {"GetSplitRule", "GetSurrogate", "GetMappedValues", "GetIterator", "Next"}) {
    for (long nth = 1;; ++nth) {
      refhost::FaultGuard const guard(operation, nth);
      std::unique_ptr<TreeOut_800::RecordClassifier> classifier;
      try {
        classifier.reset(TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetTree(),
                                                                          &model.GetMetadata()));
      } catch (std::runtime_error const&) {
      }
      EXPECT_EQ(classifier == nullptr, refhost::FaultFired()) << operation << " call " << nth;
      if (!refhost::FaultFired()) break;
    }
  }
  // The host-object check after the test finds every split rule, value set
  // and iterator released.
}

}  // namespace
