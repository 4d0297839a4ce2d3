// The statement writers: each one's framing for a full and an empty condition,
// for classification and regression trees, and its answer to a selection of
// other than one node.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "output/rulesoutputadapter.h"
#include "refhost/builder.h"

namespace {

using TreeOut_800::RulesNodeSelection;
using TreeOut_800::RulesOutputAdapter;

using Writer = std::string (RulesOutputAdapter::*)(std::string, RulesNodeSelection const&) const;

// Root 0 with leaves 1, 2, 3; leaf 2 predicts "high" with probability 0.7, or
// the value 12.5 in the regression tree.
refhost::Model ThreeLeaves(bool regression) {
  refhost::ModelBuilder b;
  int const x = b.Nominal("x", {"a", "b", "c"});
  if (regression) {
    b.ContinuousTarget("amount");
  } else {
    b.ClassTarget("risk", {"low", "high"});
  }
  b.Node(0).SplitCodes(x, {{1}, {2}, {3}}).Children({1, 2, 3});
  for (unsigned int id : {0u, 1u, 2u, 3u}) {
    if (regression) {
      b.Node(id).PredictValue(id == 2 ? 12.5 : 1.0);
    } else {
      b.Node(id).Predict(id == 2 ? 2 : 1,
                         id == 2 ? std::vector<double>{0.3, 0.7} : std::vector<double>{0.9, 0.1});
    }
  }
  return b.Build();
}

enum Selected { kNone, kNode2, kNodes1And2 };

RulesNodeSelection Selection(refhost::Model const& model, Selected selected) {
  RulesNodeSelection selection;
  if (selected == kNode2) selection.AddNode(model.Find(2), 77);  // node number 77, not the id
  if (selected == kNodes1And2) {
    selection.AddNode(model.Find(1), RulesNodeSelection::kDefaultNodeNumber);
    selection.AddNode(model.Find(2), RulesNodeSelection::kDefaultNodeNumber);
  }
  selection.Synchronize(&model.GetTree());
  return selection;
}

struct Case {
  char const* name;
  Writer writer;
  bool regression;
  std::string condition;
  Selected selected;
  std::string expected;
};

std::string const kGenericError = "\nExportGenericUpdate ERROR: >1 nodes to update\n";
std::string const kVeldUpdateError = "\nExportVELDUpdate ERROR: >1 nodes to update\n";
std::string const kSqlUpdateError = "\nExportSQLlUpdate ERROR: >1 nodes to update\n";

TEST(StatementWriters, FrameTheCondition) {
  auto const veldSelect = &RulesOutputAdapter::ExportVELDSelect;
  auto const sqlSelect = &RulesOutputAdapter::ExportSQLSelect;
  auto const genericSelect = &RulesOutputAdapter::ExportGenericSelect;
  auto const veldUpdate = &RulesOutputAdapter::ExportVELDUpdate;
  auto const sqlUpdate = &RulesOutputAdapter::ExportSQLUpdate;
  auto const genericUpdate = &RulesOutputAdapter::ExportGenericUpdate;
  const Case kCases[] = {
      {"VELD select", veldSelect, false, "T", kNode2,
       "COMPUTE filter_$ = (T).\nFILTER BY filter_$.\nEXECUTE.\n"},
      {"VELD select, empty condition", veldSelect, false, "", kNone,
       "COMPUTE filter_$ = (1).\nFILTER BY filter_$.\nEXECUTE.\n"},
      {"VELD select, several nodes", veldSelect, false, "T", kNodes1And2,
       "COMPUTE filter_$ = (T).\nFILTER BY filter_$.\nEXECUTE.\n"},
      {"SQL select", sqlSelect, false, "T", kNode2, "SELECT * FROM <TABLE>\nWHERE T;"},
      {"SQL select, empty condition", sqlSelect, true, "", kNone, "SELECT * FROM <TABLE>;"},
      {"SQL select, several nodes", sqlSelect, false, "T", kNodes1And2,
       "SELECT * FROM <TABLE>\nWHERE T;"},
      {"generic select, classification", genericSelect, false, "T", kNode2,
       "IF T\nTHEN\n\tNode = 77\n\tPrediction = 'high'\n\tProbability = 0.700000\n"},
      {"generic select, regression", genericSelect, true, "T", kNode2,
       "IF T\nTHEN\n\tNode = 77\n\tPrediction = 12.5\n"},
      {"generic select, empty condition", genericSelect, false, "", kNode2,
       "IF (1)\nTHEN\n\tNode = 77\n\tPrediction = 'high'\n\tProbability = 0.700000\n"},
      {"generic select, several nodes", genericSelect, false, "T", kNodes1And2, kGenericError},
      {"generic select, no node", genericSelect, false, "", kNone, kGenericError},
      {"VELD update, classification", veldUpdate, false, "T", kNode2,
       "DO IF T.\nCOMPUTE nod_001 = 77.\nCOMPUTE pre_001 = 'high'.\nCOMPUTE prb_001 = 0.700000.\n"
       "END IF.\nEXECUTE.\n"},
      {"VELD update, regression", veldUpdate, true, "T", kNode2,
       "DO IF T.\nCOMPUTE nod_001 = 77.\nCOMPUTE pre_001 = 12.5.\nEND IF.\nEXECUTE.\n"},
      {"VELD update, empty condition", veldUpdate, true, "", kNode2,
       "DO IF (1).\nCOMPUTE nod_001 = 77.\nCOMPUTE pre_001 = 12.5.\nEND IF.\nEXECUTE.\n"},
      {"VELD update, several nodes", veldUpdate, false, "T", kNodes1And2, kVeldUpdateError},
      {"VELD update, no node", veldUpdate, false, "T", kNone, kVeldUpdateError},
      {"SQL update, classification", sqlUpdate, false, "T", kNode2,
       "UPDATE <TABLE>\n\tSET nod_001 = 77,\tpre_001 = 'high',\tprb_001 = 0.700000\nWHERE T;"},
      {"SQL update, regression", sqlUpdate, true, "T", kNode2,
       "UPDATE <TABLE>\n\tSET nod_001 = 77,\tpre_001 = 12.5\nWHERE T;"},
      {"SQL update, empty condition", sqlUpdate, false, "", kNode2,
       "UPDATE <TABLE>\n\tSET nod_001 = 77,\tpre_001 = 'high',\tprb_001 = 0.700000;"},
      {"SQL update, several nodes", sqlUpdate, false, "T", kNodes1And2, kSqlUpdateError},
      {"SQL update, no node", sqlUpdate, true, "", kNone, kSqlUpdateError},
      {"generic update", genericUpdate, false, "T", kNode2, "T"},
      {"generic update, several nodes", genericUpdate, false, "T", kNodes1And2, "T"},
      {"generic update, empty condition", genericUpdate, false, "", kNone, ""},
  };
  for (Case const& c : kCases) {
    refhost::Model const model = ThreeLeaves(c.regression);
    RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
    RulesNodeSelection const selection = Selection(model, c.selected);
    EXPECT_EQ((adapter.*c.writer)(c.condition, selection), c.expected) << c.name;
  }
}

TEST(StatementWriters, QuoteADatePredictionOnlyInSql) {
  // A regression tree over a date target: SQL and generic text quote the
  // predicted date, VELD text writes the date number bare.
  refhost::ModelBuilder b;
  int const x = b.Nominal("x", {"a", "b"});
  b.ContinuousTarget("due").Date();
  b.Node(0).SplitCodes(x, {{1}, {2}}).Children({1, 2});
  b.Node(1).PredictValue(13727923200.0);  // 2017-10-21
  b.Node(2).PredictValue(0.0);
  refhost::Model const model = b.Build();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  RulesNodeSelection selection;
  selection.AddNode(model.Find(1), 1);
  selection.Synchronize(&model.GetTree());
  EXPECT_EQ(adapter.ExportSQLUpdate("T", selection),
            "UPDATE <TABLE>\n\tSET nod_001 = 1,\tpre_001 = '2017-10-21'\nWHERE T;");
  EXPECT_EQ(adapter.ExportVELDUpdate("T", selection),
            "DO IF T.\nCOMPUTE nod_001 = 1.\nCOMPUTE pre_001 = 13727923200.\nEND IF.\nEXECUTE.\n");
  EXPECT_EQ(adapter.ExportGenericSelect("T", selection),
            "IF T\nTHEN\n\tNode = 1\n\tPrediction = '2017-10-21'\n");
}

}  // namespace
