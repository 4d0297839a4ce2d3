// The builder: what it makes, and each malformed description it rejects with
// a message that says what and where.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>

#include "refhost/builder.h"
#include "refhost/ordinalsplit.h"

namespace {

using refhost::Range;
using refhost::Split;

// age 0, region 1, income 2 (user-missing -1), risk 3 (the target).
void Declare(refhost::ModelBuilder& b) {
  b.Scale("age");
  b.Nominal("region", {"north", "south", "east", "west"});
  b.Scale("income").Missing({-1.0});
  b.ClassTarget("risk", {"low", "high"});
}

std::string BuildError(std::function<void(refhost::ModelBuilder&)> const& describe) {
  refhost::ModelBuilder b;
  Declare(b);
  describe(b);
  try {
    b.Build();
  } catch (std::invalid_argument const& e) {
    return e.what();
  }
  return "(built)";
}

// Node 0 split on age at 30 into nodes 1 and 2.
refhost::NodeSpec& Age30(refhost::ModelBuilder& b) {
  return b.Node(0).SplitOrdinal(0, {30.0}).Children({1, 2});
}

// Malformed descriptions, one each.
using B = refhost::ModelBuilder&;
void ChildIndexBeyondSplit(B b) { b.Node(3).SplitOrdinal(0, {30.0}).Children({4, 5}).Child(2, 6); }
void PredictorBeyondModel(B b) { b.Node(0).SplitOrdinal(7, {1.0}).Children({1, 2}); }
void UndeclaredCategory(B b) { b.Node(0).SplitNominal(1, {{"north"}, {"mars"}}).Children({1, 2}); }
void NumberCategory(B b) { b.Node(0).SplitNominal(1, {{"north"}, {2.0}}).Children({1, 2}); }
void UndeclaredCode(B b) { b.Node(0).SplitCodes(1, {{1}, {5}}).Children({1, 2}); }
void CategoryTwice(B b) {
  b.Node(0).SplitNominal(1, {{"north"}, {"south", "north"}}).Children({1, 2});
}
void TwoParents(B b) { b.Node(0).Children({1, 2}), b.Node(1).Children({2}); }
void ChildTwice(B b) { b.Node(0).Children({1, 1}); }
void MissingBeyond(B b) { Age30(b).MissingChild(2); }
void DefaultChildBeyondNode(B b) { Age30(b).DefaultChild(3); }
void ChildNotGiven(B b) { b.Node(0).SplitOrdinal(0, {30.0, 40.0}).Children({1, 2}); }
void CutsDescending(B b) { b.Node(0).SplitOrdinal(0, {40.0, 30.0}).Children({1, 2, 3}); }
void SurrogateWidth(B b) { Age30(b).Surrogate(Split::Cuts(2, {1, 2})); }
void SurrogateCat(B b) { Age30(b).Surrogate(Split::Nominal(1, {{"north"}, {"pluto"}})); }
void RangeClosedBelow(B b) {
  b.Node(0).SplitRanges(2, {Range::AtLeast(5), Range::Below(5)}).Children({1, 2});
}
void PredictedCategory(B b) { b.Node(0).Predict(3, {0.5, 0.5}); }
void ProbabilityCount(B b) { b.Node(0).Predict(1, {0.5, 0.25, 0.25}); }
void ValueForClasses(B b) { b.Node(0).PredictValue(2.5); }
void TwoRoots(B b) { b.Node(0), b.Node(5); }
void NoRoot(B b) { b.Node(0).Children({1}), b.Node(1).Children({0}); }
void Cycle(B b) { b.Node(0).Children({1}), b.Node(2).Children({3}), b.Node(3).Children({2}); }
void MissingChildNoSplit(B b) { b.Node(0).Children({1, 2}).MissingChild(0); }
void MixedCategories(B b) { b.Nominal("bad", {"a", 1.0}), b.Node(0); }
void Nothing(B) {}

TEST(ModelBuilder, RejectsMalformedDescriptions) {
  struct {
    void (*describe)(B);
    char const* message;
  } const cases[] = {
      {ChildIndexBeyondSplit, "node 3: child index 2 out of range (split has 2 children)"},
      {PredictorBeyondModel, "node 0: predictor 7 out of range (model has 4 variables)"},
      {UndeclaredCategory, "node 0: category 'mars' not declared for variable 'region'"},
      {NumberCategory, "node 0: category 2 not declared for variable 'region'"},
      {UndeclaredCode, "node 0: code 5 not declared for variable 'region'"},
      {CategoryTwice, "node 0: category 'north' sent to children 0 and 1"},
      {TwoParents, "node 2: child of both node 0 and node 1"},
      {ChildTwice, "node 1: child of node 0 twice"},
      {MissingBeyond, "node 0: missing-value child 2 out of range (split has 2 children)"},
      {DefaultChildBeyondNode, "node 0: default child 3 out of range (node has 2 children)"},
      {ChildNotGiven, "node 0: child 2 not given"},
      {CutsDescending, "node 0: cut points not ascending"},
      {SurrogateWidth, "node 0 surrogate 0: has 3 children, primary split 2"},
      {SurrogateCat, "node 0 surrogate 0: category 'pluto' not declared for variable 'region'"},
      {RangeClosedBelow, "node 0: range 0 on encoded variable 'income' must be (a, b]"},
      {PredictedCategory, "node 0: predicted category 3 out of range (target has 2 categories)"},
      {ProbabilityCount, "node 0: 3 probabilities for 2 categories"},
      {ValueForClasses, "node 0: a predicted value needs a continuous target"},
      {TwoRoots, "two roots: node 0 and node 5"},
      {NoRoot, "no root: every node is some node's child"},
      {Cycle, "node 2: not reachable from the root (cycle)"},
      {MissingChildNoSplit, "node 0: missing-value child without a split"},
      {MixedCategories, "variable 'bad': categories mix numbers and strings"},
      {Nothing, "no nodes"},
  };
  for (auto const& c : cases) EXPECT_EQ(BuildError(c.describe), c.message);
}

TEST(ModelBuilder, MakesSplitsAndStatisticsAsDescribed) {
  refhost::ModelBuilder b;
  int age = b.Scale("age");
  int region = b.Nominal("region", {"north", "south", "east"});
  b.ClassTarget("risk", {"low", "high"});
  b.Node(0).SplitOrdinal(age, {30.0, 60.0}).MissingChild(2).Children({1, 2, 3});
  b.Node(1).SplitNominal(region, {{"east", "north"}, {"south"}}).Children({4, 5});
  b.Node(4).Predict(2, {0.25, 0.75});
  refhost::Model const m = b.Build();
  // Where the ranges send records is the routing test's; here, the mapping.
  EXPECT_EQ(m.Root()->GetPrimary()->GetMissingValueMapping(), 2);
  std::unique_ptr<tree_800::SplitRule> nominal(m.Find(1)->GetSplitRule(0));
  EXPECT_EQ(nominal->GetPredictorIndex(), region);
  EXPECT_EQ(nominal->GetMissingValueMapping(), -1);
  std::unique_ptr<tree_800::ValueSet> set(nominal->GetMappedValues(0));
  std::unique_ptr<tree_800::ValueIterator> it(
      dynamic_cast<tree_800::NValueSet const&>(*set).GetIterator());
  std::vector<int> seen;
  while (it->HasMore()) seen.push_back(it->Next());
  EXPECT_EQ(seen, (std::vector<int>{3, 1}));  // in the order described

  tree_800::ClassStatistics const* stats = m.Find(4)->GetClassStatistics(0);
  ASSERT_NE(stats, nullptr);
  EXPECT_EQ(stats->GetPredictedCategory(), 2);
  EXPECT_EQ(std::vector<double>({stats->GetProbability(0), stats->GetProbability(1),
                                 stats->GetProbability(2), stats->GetProbability(3)}),
            std::vector<double>({0.0, 0.25, 0.75, 0.0}));
  EXPECT_EQ(m.Find(4)->GetValueStatistics(0), nullptr);

  refhost::ModelBuilder r;
  r.ContinuousTarget("y");
  r.Node(0).PredictValue(-3.5);
  refhost::Model const regression = r.Build();
  EXPECT_EQ(regression.Root()->GetValueStatistics(0)->GetPredictedValue(), -3.5);
  EXPECT_EQ(regression.Root()->GetClassStatistics(0), nullptr);
  EXPECT_THROW(regression.VariableIndex("z"), std::invalid_argument);
}

TEST(NSplitRule, KeepsTheLastChildOfACodeAndCountsChildren) {
  tree_800::NSplitRule rule(2, 0);
  rule.SetCatMapping(5, 0);
  rule.SetCatMapping(7, 2);
  rule.SetCatMapping(5, 1);
  EXPECT_EQ(rule.GetNumChildren(), 3);
  EXPECT_EQ(
      std::vector<int>({rule.ChildFor(5), rule.ChildFor(7), rule.ChildFor(6), rule.ChildFor(5.5)}),
      std::vector<int>({1, 2, -1, -1}));
  tree_800::SplitRule wrapped(rule);
  EXPECT_TRUE(std::unique_ptr<tree_800::ValueSet>(wrapped.GetMappedValues(0))->IsEmpty());
  std::unique_ptr<tree_800::ValueSet> one(wrapped.GetMappedValues(1));
  EXPECT_TRUE(one->Contains(5) && !one->Contains(7));
  EXPECT_EQ(std::unique_ptr<tree_800::ValueSet>(wrapped.GetMappedValues(5)), nullptr);
}

TEST(RangeSet, ReportsAbsentEndsAsOpen) {
  refhost::OrdinalSplit const split(
      0, {Range::AtMost(1), Range::Between(1, true, 4, false), Range::Between(5, false, 5, true)},
      -1);
  // hasLower, hasUpper, lowerOpen, upperOpen, empty per child
  std::vector<std::vector<bool>> const expected = {{false, true, true, false, false},
                                                   {true, true, true, false, false},
                                                   {true, true, false, true, true}};
  for (int child = 0; child < 3; ++child) {
    std::unique_ptr<tree_800::ValueSet> set(split.GetMappedValues(child));
    auto const& range = dynamic_cast<tree_800::OValueSet const&>(*set);
    EXPECT_EQ(std::vector<bool>({range.HasLowerBound(), range.HasUpperBound(), range.IsLowerOpen(),
                                 range.IsUpperOpen(), range.IsEmpty()}),
              expected[child])
        << child;
  }
}

}  // namespace
