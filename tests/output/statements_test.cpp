// The statement writers' frames, and the node number, prediction and
// probability they assign for each kind of target.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "outputmodels.h"
#include "refhost/categoryencoder.h"
#include "refhost/metadata.h"
#include "refhost/tree.h"
#include "refhost/treenode.h"

namespace {

using outputtest::Target;
using TreeOut_800::RulesNodeSelection;
using TreeOut_800::RulesOutputAdapter;
using Writer = std::string (RulesOutputAdapter::*)(std::string, RulesNodeSelection const&) const;

// Node 2 of ThreeLeaves, numbered 77: 'high' (0.7), 12.5, or 2017-10-21.
TEST(StatementWriters, FrameTheCondition) {
  Writer const veldSelect = &RulesOutputAdapter::ExportVELDSelect,
               sqlSelect = &RulesOutputAdapter::ExportSQLSelect,
               genericSelect = &RulesOutputAdapter::ExportGenericSelect,
               veldUpdate = &RulesOutputAdapter::ExportVELDUpdate,
               sqlUpdate = &RulesOutputAdapter::ExportSQLUpdate,
               genericUpdate = &RulesOutputAdapter::ExportGenericUpdate;
  std::string const genericError = "\nExportGenericUpdate ERROR: >1 nodes to update\n";
  std::string const veldError = "\nExportVELDUpdate ERROR: >1 nodes to update\n";
  std::string const sqlError = "\nExportSQLlUpdate ERROR: >1 nodes to update\n";
  std::string const filter = ").\nFILTER BY filter_$.\nEXECUTE.\n";
  Target const kClass = Target::kClass, kValue = Target::kValue, kDate = Target::kDate;
  struct Case {
    Writer writer;
    Target target;
    std::string condition;
    int nodes;  // 1: node 2 alone; 2: nodes 1 and 2
    std::string expected;
  } const kCases[] = {
      {veldSelect, kClass, "T", 2, "COMPUTE filter_$ = (T" + filter},
      {veldSelect, kClass, "", 0, "COMPUTE filter_$ = (1" + filter},
      {sqlSelect, kClass, "T", 2, "SELECT * FROM <TABLE>\nWHERE T;"},
      {sqlSelect, kValue, "", 0, "SELECT * FROM <TABLE>;"},
      {genericSelect, kClass, "T", 1,
       "IF T\nTHEN\n\tNode = 77\n\tPrediction = 'high'\n\tProbability = 0.700000\n"},
      {genericSelect, kValue, "", 1, "IF (1)\nTHEN\n\tNode = 77\n\tPrediction = 12.5\n"},
      {genericSelect, kDate, "T", 1, "IF T\nTHEN\n\tNode = 77\n\tPrediction = '2017-10-21'\n"},
      {genericSelect, kClass, "T", 2, genericError},
      {genericSelect, kClass, "", 0, genericError},
      {veldUpdate, kClass, "T", 1,
       "DO IF T.\nCOMPUTE nod_001 = 77.\nCOMPUTE pre_001 = 'high'.\nCOMPUTE prb_001 = 0.700000.\n"
       "END IF.\nEXECUTE.\n"},
      {veldUpdate, kDate, "", 1,  // a date number, bare
       "DO IF (1).\nCOMPUTE nod_001 = 77.\nCOMPUTE pre_001 = 13727923200.\nEND IF.\nEXECUTE.\n"},
      {veldUpdate, kClass, "T", 2, veldError},
      {veldUpdate, kClass, "T", 0, veldError},
      {sqlUpdate, kClass, "T", 1,
       "UPDATE <TABLE>\n\tSET nod_001 = 77,\tpre_001 = 'high',\tprb_001 = 0.700000\nWHERE T;"},
      {sqlUpdate, kValue, "", 1, "UPDATE <TABLE>\n\tSET nod_001 = 77,\tpre_001 = 12.5;"},
      {sqlUpdate, kDate, "T", 1,
       "UPDATE <TABLE>\n\tSET nod_001 = 77,\tpre_001 = '2017-10-21'\nWHERE T;"},
      {sqlUpdate, kClass, "T", 2, sqlError},
      {sqlUpdate, kValue, "", 0, sqlError},
      {genericUpdate, kClass, "T", 2, "T"},
  };
  int row = 0;
  for (Case const& c : kCases) {
    refhost::Model const model = outputtest::ThreeLeaves(c.target);
    RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
    RulesNodeSelection selection;
    if (c.nodes == 2) selection.AddNode(model.Find(1), 5);
    if (c.nodes > 0) selection.AddNode(model.Find(2), 77);
    selection.Synchronize(&model.GetTree());
    EXPECT_EQ((adapter.*c.writer)(c.condition, selection), c.expected) << "row " << row++;
  }
}

// The prediction of a one-node tree per target beyond the frames above: class
// codes decoded to literals of their type, regression values not exact.
TEST(NodeAnnotations, PredictionByTheTargetsType) {
  double const date = 13727923200.0;  // 2017-10-21
  struct Case {
    char const* name;
    std::vector<mdt_800::Variant> classes;  // none: a regression tree
    bool dates, quoted;
    std::string expected;
  } const kCases[] = {
      {"inner quotes", {"O'Neill \"Jr\""}, false, true, "'O''Neill \"Jr\"'"},
      {"number", {2.5}, false, true, "2.5"},
      {"number written exactly", {0.1 + 0.2}, false, true, "3.0000000000000004e-01"},
      {"integer", {7L}, false, true, "7"},
      {"date", {date}, true, true, "'2017-10-21'"},
      {"date as a number, still quoted", {date}, true, false, "'13727923200'"},
      {"regression, not exact", {}, false, true, "1"},
  };
  for (Case const& c : kCases) {
    refhost::ModelBuilder b;
    refhost::VarRef target =
        c.classes.empty() ? b.ContinuousTarget("t") : b.ClassTarget("t", c.classes);
    if (c.dates) target.Date();
    if (c.classes.empty()) b.Node(0).PredictValue(c.dates ? date : 1.0000000000000002);
    if (!c.classes.empty()) b.Node(0).Predict(1, {0.75});
    refhost::Model const model = b.Build();
    RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
    EXPECT_EQ(adapter.GetPredictionAsString(model.Root(), c.quoted), c.expected) << c.name;
  }
}

// A target without encoder: the code itself, and the probability of the
// predicted code. A tree without class statistics has no probability.
TEST(NodeAnnotations, CodesWithoutEncoderAndTheProbability) {
  refhost::Metadata metadata;
  metadata.SetTargetIndex(metadata.AddVariable(
      mdt_800::Variable("t", mdt_800::Variable::STORAGE_NUMERIC, mdt_800::Variable::LEVEL_NOMINAL),
      nullptr));
  refhost::Tree tree;
  refhost::TreeNode* third = tree.AddNode(4);
  third->SetClassStatistics(3, {0.1, 0.2, 0.7});
  refhost::TreeNode* value = tree.AddNode(5);
  value->SetValueStatistics(3.0);
  RulesOutputAdapter const adapter(&tree, &metadata);
  EXPECT_EQ(adapter.GenerateNodePrediction(third, 1, "pre_001", false), "pre_001 = 3");
  EXPECT_EQ(adapter.GenerateNodeConfidence(third, 1, "p"), "p = 0.700000");
  EXPECT_EQ(adapter.GenerateNodeId(third, -3, "n"), "n = -3");
  EXPECT_EQ(adapter.GenerateNodeConfidence(value, 1, "prb_001"),
            "\nGenerateNodeConfidence ERROR: not a classification tree.\n");
}

}  // namespace
