// Node annotations: the node number, prediction and probability texts, for
// each kind of target and prediction.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/encoding.h"
#include "output/rulesoutputadapter.h"
#include "refhost/categoryencoder.h"
#include "refhost/metadata.h"
#include "refhost/tree.h"
#include "refhost/treenode.h"

namespace {

using TreeOut_800::RulesOutputAdapter;

// 2017-10-21 as a date number: seconds from 1582-10-14.
constexpr double kDate = 13727923200.0;

mdt_800::EncodingSets One(mdt_800::Variant const& value) {
  mdt_800::DiscreteValues set;
  set.AddItem(mdt_800::EncodingItem(value, true));
  mdt_800::EncodingSets sets;
  sets.AddEncodingSet(set);
  return sets;
}

// A target whose code 1 stands for `sets`; no encoder when `sets` is null.
struct Target {
  std::unique_ptr<mdt_800::EncodingSets> sets;
  bool date = false;
};

std::unique_ptr<refhost::Metadata> MakeMetadata(Target target) {
  auto metadata = std::make_unique<refhost::Metadata>();
  mdt_800::Variable variable("target", mdt_800::Variable::STORAGE_NUMERIC,
                             mdt_800::Variable::LEVEL_NOMINAL);
  variable.SetDate(target.date);
  std::unique_ptr<mdt_800::Encoder> encoder;
  if (target.sets) {
    std::vector<mdt_800::EncodingSets> codes;
    codes.push_back(*target.sets);
    encoder = std::make_unique<refhost::CategoryEncoder>(std::move(codes), nullptr);
  }
  metadata->SetTargetIndex(metadata->AddVariable(variable, std::move(encoder)));
  return metadata;
}

// One node with the given statistics, in a tree of its own.
struct OneNode {
  refhost::Tree tree;
  refhost::TreeNode* node = tree.AddNode(4);
};

TEST(GetPredictionAsString, WritesTheClassValueByItsType) {
  struct Case {
    char const* name;
    std::function<Target()> target;  // what code 1 stands for
    bool quoted;
    std::string expected;
  };
  auto sets = [](mdt_800::EncodingSets s) {
    return std::make_unique<mdt_800::EncodingSets>(std::move(s));
  };
  const Case kCases[] = {
      {"string, quoted", [&] { return Target{sets(One("yes"))}; }, true, "'yes'"},
      {"string, always in single quotes", [&] { return Target{sets(One("yes"))}; }, false, "'yes'"},
      {"number", [&] { return Target{sets(One(2.5))}; }, true, "2.5"},
      {"number written exactly", [&] { return Target{sets(One(0.1 + 0.2))}; }, true,
       "0.30000000000000004"},
      {"integer", [&] { return Target{sets(One(7L))}; }, true, "7"},
      {"date, ISO",
       [&] {
         return Target{sets(One(kDate)), true};
       },
       true, "'2017-10-21'"},
      {"date as number, still quoted",
       [&] {
         return Target{sets(One(kDate)), true};
       },
       false, "'13727923200'"},
      {"no encoder: the code itself", [] { return Target{}; }, true, "1"},
      {"no value", [&] { return Target{sets(One(mdt_800::Variant()))}; }, true, ""},
      {"an interval: two items",
       [&] {
         mdt_800::EncodingSets s;
         s.AddEncodingSet(mdt_800::Interval(mdt_800::EncodingItem(1.0, true),
                                            mdt_800::EncodingItem(2.0, false)));
         return Target{sets(std::move(s))};
       },
       true, ""},
      {"two sets",
       [&] {
         mdt_800::EncodingSets s = One("a");
         s.AddEncodingSet(*One("b").GetEncodingSetList().front());
         return Target{sets(std::move(s))};
       },
       true, ""},
      {"no sets", [&] { return Target{sets(mdt_800::EncodingSets())}; }, true, ""},
  };
  for (Case const& c : kCases) {
    auto const metadata = MakeMetadata(c.target());
    OneNode n;
    n.node->SetClassStatistics(1, {0.6, 0.4});
    RulesOutputAdapter const adapter(&n.tree, metadata.get());
    EXPECT_EQ(adapter.GetPredictionAsString(n.node, c.quoted), c.expected) << c.name;
  }
}

TEST(GetPredictionAsString, WritesTheRegressionValue) {
  struct Case {
    char const* name;
    bool dateTarget;
    bool quoted;
    bool alsoClassStatistics;
    std::string expected;
  };
  const Case kCases[] = {
      {"number", false, true, false, "12.5"},
      {"date, quoted", true, true, false, "'2017-10-21'"},
      {"date, bare", true, false, false, "13727923200"},
      {"value statistics win over class statistics", false, true, true, "12.5"},
  };
  for (Case const& c : kCases) {
    Target target;
    target.date = c.dateTarget;
    auto const metadata = MakeMetadata(std::move(target));
    OneNode n;
    n.node->SetValueStatistics(c.dateTarget ? kDate : 12.5);
    if (c.alsoClassStatistics) n.node->SetClassStatistics(1, {1.0});
    RulesOutputAdapter const adapter(&n.tree, metadata.get());
    EXPECT_EQ(adapter.GetPredictionAsString(n.node, c.quoted), c.expected) << c.name;
  }
}

TEST(GetPredictionAsString, IsEmptyWithoutAPrediction) {
  auto const metadata = MakeMetadata(Target{});
  OneNode n;
  RulesOutputAdapter const adapter(&n.tree, metadata.get());
  EXPECT_EQ(adapter.GetPredictionAsString(n.node, true), "");
}

TEST(NodeAnnotations, AssignNumberPredictionAndProbability) {
  auto const metadata = MakeMetadata(Target{std::make_unique<mdt_800::EncodingSets>(One("yes"))});
  OneNode classNode;
  classNode.node->SetClassStatistics(1, {0.75, 0.25});
  OneNode valueNode;
  valueNode.node->SetValueStatistics(3.0);
  RulesOutputAdapter const adapter(&classNode.tree, metadata.get());

  EXPECT_EQ(adapter.GenerateNodeId(classNode.node, 12, "Node"), "Node = 12");
  EXPECT_EQ(adapter.GenerateNodeId(nullptr, 12, "nod_001"), "nod_001 = 12");
  EXPECT_EQ(adapter.GenerateNodeId(nullptr, -3, "n"), "n = -3");
  EXPECT_EQ(adapter.GenerateNodePrediction(classNode.node, 12, "Prediction", true),
            "Prediction = 'yes'");
  EXPECT_EQ(adapter.GenerateNodeConfidence(classNode.node, 12, "Probability"),
            "Probability = 0.750000");
  EXPECT_EQ(adapter.GenerateNodeConfidence(valueNode.node, 12, "prb_001"),
            "\nGenerateNodeConfidence ERROR: not a classification tree.\n");
}

TEST(NodeAnnotations, PredictionOfAClassWithoutEncoderIsTheCode) {
  auto const metadata = MakeMetadata(Target{});
  OneNode n;
  n.node->SetClassStatistics(3, {0.1, 0.2, 0.7});
  RulesOutputAdapter const adapter(&n.tree, metadata.get());
  EXPECT_EQ(adapter.GenerateNodePrediction(n.node, 12, "pre_001", false), "pre_001 = 3");
  // The probability is that of the predicted code.
  EXPECT_EQ(adapter.GenerateNodeConfidence(n.node, 12, "p"), "p = 0.700000");
}

TEST(NodeAnnotations, AnUnwritablePredictionLeavesTheAssignmentOpen) {
  mdt_800::EncodingSets sets;
  sets.AddEncodingSet(
      mdt_800::Interval(mdt_800::EncodingItem(1.0, true), mdt_800::EncodingItem(2.0, false)));
  auto const metadata = MakeMetadata(Target{std::make_unique<mdt_800::EncodingSets>(sets)});
  OneNode n;
  n.node->SetClassStatistics(1, {1.0});
  RulesOutputAdapter const adapter(&n.tree, metadata.get());
  EXPECT_EQ(adapter.GenerateNodePrediction(n.node, 1, "Prediction", true), "Prediction = ");
}

}  // namespace
