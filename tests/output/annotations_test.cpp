// Node annotations: node number, prediction and probability texts for each
// kind of target and prediction.
#include <gtest/gtest.h>

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

using mdt_800::EncodingItem;
using mdt_800::EncodingSets;
using TreeOut_800::RulesOutputAdapter;

constexpr double kDate = 13727923200.0;  // 2017-10-21

EncodingSets One(mdt_800::Variant const& value) {
  mdt_800::DiscreteValues set;
  set.AddItem(EncodingItem(value, true));
  EncodingSets sets;
  sets.AddEncodingSet(set);
  return sets;
}

// A target variable whose code 1 stands for `code1`; no encoder when null.
std::unique_ptr<refhost::Metadata> MakeMetadata(EncodingSets const* code1, bool date = false) {
  auto metadata = std::make_unique<refhost::Metadata>();
  mdt_800::Variable variable("target", mdt_800::Variable::STORAGE_NUMERIC,
                             mdt_800::Variable::LEVEL_NOMINAL);
  variable.SetDate(date);
  std::unique_ptr<mdt_800::Encoder> encoder;
  if (code1 != nullptr) {
    encoder =
        std::make_unique<refhost::CategoryEncoder>(std::vector<EncodingSets>{*code1}, nullptr);
  }
  metadata->SetTargetIndex(metadata->AddVariable(variable, std::move(encoder)));
  return metadata;
}

enum Stats { kNoStats, kClass1, kValue, kValueAndClass };

TEST(GetPredictionAsString, WritesThePredictionByItsType) {
  EncodingSets interval;
  interval.AddEncodingSet(mdt_800::Interval(EncodingItem(1.0, true), EncodingItem(2.0, false)));
  EncodingSets twoSets = One("a");
  twoSets.AddEncodingSet(*One("b").GetEncodingSetList().front());
  EncodingSets const yes = One("yes"), date = One(kDate), none = One(mdt_800::Variant());
  EncodingSets const quotes = One("O'Neill \"Jr\"");
  EncodingSets const number = One(2.5), inexact = One(0.1 + 0.2), integer = One(7L), empty;
  struct Case {
    char const* name;
    EncodingSets const* code1;
    bool dateTarget;
    Stats stats;
    bool quoted;
    std::string expected;
  } const kCases[] = {
      {"string, quoted", &yes, false, kClass1, true, "'yes'"},
      {"string, always quoted", &yes, false, kClass1, false, "'yes'"},
      {"string, inner single quote doubled", &quotes, false, kClass1, false, "'O''Neill \"Jr\"'"},
      {"number", &number, false, kClass1, true, "2.5"},
      {"number written exactly", &inexact, false, kClass1, true, "3.0000000000000004e-01"},
      {"integer", &integer, false, kClass1, true, "7"},
      {"date, ISO", &date, true, kClass1, true, "'2017-10-21'"},
      {"date as number, still quoted", &date, true, kClass1, false, "'13727923200'"},
      {"no encoder: the code", nullptr, false, kClass1, true, "1"},
      {"no value", &none, false, kClass1, true, ""},
      {"an interval", &interval, false, kClass1, true, ""},
      {"two sets", &twoSets, false, kClass1, true, ""},
      {"no sets", &empty, false, kClass1, true, ""},
      {"regression", nullptr, false, kValue, true, "12.5"},
      {"regression date, quoted", nullptr, true, kValue, true, "'2017-10-21'"},
      {"regression date, bare", nullptr, true, kValue, false, "13727923200"},
      {"value statistics win", nullptr, false, kValueAndClass, true, "12.5"},
      {"no prediction", nullptr, false, kNoStats, true, ""},
  };
  for (Case const& c : kCases) {
    auto const metadata = MakeMetadata(c.code1, c.dateTarget);
    refhost::Tree tree;
    refhost::TreeNode* node = tree.AddNode(4);
    if (c.stats == kValue || c.stats == kValueAndClass) {
      node->SetValueStatistics(c.dateTarget ? kDate : 12.5);
    }
    if (c.stats == kClass1 || c.stats == kValueAndClass) node->SetClassStatistics(1, {0.6, 0.4});
    RulesOutputAdapter const adapter(&tree, metadata.get());
    EXPECT_EQ(adapter.GetPredictionAsString(node, c.quoted), c.expected) << c.name;
  }
}

TEST(NodeAnnotations, AssignNumberPredictionAndProbability) {
  EncodingSets const yes = One("yes");
  auto const withEncoder = MakeMetadata(&yes);
  auto const withoutEncoder = MakeMetadata(nullptr);
  EncodingSets interval;
  interval.AddEncodingSet(mdt_800::Interval(EncodingItem(1.0, true), EncodingItem(2.0, false)));
  auto const intervalTarget = MakeMetadata(&interval);
  refhost::Tree tree;
  refhost::TreeNode* classNode = tree.AddNode(4);
  classNode->SetClassStatistics(1, {0.75, 0.25});
  refhost::TreeNode* thirdClass = tree.AddNode(5);
  thirdClass->SetClassStatistics(3, {0.1, 0.2, 0.7});
  refhost::TreeNode* valueNode = tree.AddNode(6);
  valueNode->SetValueStatistics(3.0);
  RulesOutputAdapter const adapter(&tree, withEncoder.get());
  RulesOutputAdapter const codes(&tree, withoutEncoder.get());
  RulesOutputAdapter const unwritable(&tree, intervalTarget.get());

  EXPECT_EQ(adapter.GenerateNodeId(classNode, 12, "Node"), "Node = 12");
  EXPECT_EQ(adapter.GenerateNodeId(nullptr, -3, "n"), "n = -3");
  EXPECT_EQ(adapter.GenerateNodePrediction(classNode, 12, "Prediction", true),
            "Prediction = 'yes'");
  EXPECT_EQ(adapter.GenerateNodeConfidence(classNode, 12, "Probability"), "Probability = 0.750000");
  EXPECT_EQ(adapter.GenerateNodeConfidence(valueNode, 12, "prb_001"),
            "\nGenerateNodeConfidence ERROR: not a classification tree.\n");
  // Without an encoder: the code, and the probability of the predicted code.
  EXPECT_EQ(codes.GenerateNodePrediction(thirdClass, 12, "pre_001", false), "pre_001 = 3");
  EXPECT_EQ(codes.GenerateNodeConfidence(thirdClass, 12, "p"), "p = 0.700000");
  // A prediction that cannot be written leaves the assignment open.
  EXPECT_EQ(unwritable.GenerateNodePrediction(classNode, 1, "Prediction", true), "Prediction = ");
}

}  // namespace
