// The statement writers, the adapter's version record and the string holder.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "outputmodels.h"

namespace {

using outputtest::Target;
using TreeOut_800::RulesNodeSelection;
using TreeOut_800::RulesOutputAdapter;
using TreeOut_800::StringWrapper;

TEST(RulesOutputAdapter, GetVersionIsOneRecordForEveryAdapter) {
  refhost::Model const model = outputtest::ThreeLeaves(Target::kClass);
  RulesOutputAdapter const first(&model.GetTree(), &model.GetMetadata());
  RulesOutputAdapter const second(&model.GetTree(), &model.GetMetadata());
  MCTree_800::MCVersionImp const& version = first.GetVersion();
  EXPECT_EQ(&version, &second.GetVersion());
  EXPECT_EQ(std::vector<int>(
                {version.GetMajor(), version.GetMinor(), version.GetMicro(), version.GetBuild()}),
            std::vector<int>({0, 9, 0, 3}));
  EXPECT_EQ(version.GetDate(), "Sat Oct 21 22:55:58 2017");
  std::vector<MCTree_800::MCVersionImp const*> seen(4, nullptr);
  std::vector<std::thread> threads;
  for (auto& slot : seen) threads.emplace_back([&] { slot = &first.GetVersion(); });
  for (auto& thread : threads) thread.join();
  for (auto const* record : seen) EXPECT_EQ(record, &version);
}

TEST(StringWrapper, HoldsACopyUpToTheFirstNul) {
  EXPECT_EQ(StringWrapper().Str(), "");
  std::string text = "SELECT";
  StringWrapper const wrapped(text);
  text[0] = 'X';
  EXPECT_EQ(wrapped.Str(), "SELECT");
  EXPECT_EQ(StringWrapper(std::string("ab\0cd", 5)).Str(), "ab");
}

using Writer = std::string (RulesOutputAdapter::*)(std::string, RulesNodeSelection const&) const;
enum Selected { kNone, kNode2, kNodes1And2 };

TEST(StatementWriters, FrameTheCondition) {
  auto const veldSelect = &RulesOutputAdapter::ExportVELDSelect;
  auto const sqlSelect = &RulesOutputAdapter::ExportSQLSelect;
  auto const genericSelect = &RulesOutputAdapter::ExportGenericSelect;
  auto const veldUpdate = &RulesOutputAdapter::ExportVELDUpdate;
  auto const sqlUpdate = &RulesOutputAdapter::ExportSQLUpdate;
  auto const genericUpdate = &RulesOutputAdapter::ExportGenericUpdate;
  std::string const genericError = "\nExportGenericUpdate ERROR: >1 nodes to update\n";
  std::string const veldError = "\nExportVELDUpdate ERROR: >1 nodes to update\n";
  std::string const sqlError = "\nExportSQLlUpdate ERROR: >1 nodes to update\n";
  std::string const veldFilter = "COMPUTE filter_$ = (T).\nFILTER BY filter_$.\nEXECUTE.\n";
  Target const kClass = Target::kClass, kValue = Target::kValue, kDate = Target::kDate;
  struct Case {
    Writer writer;
    Target target;
    std::string condition;
    Selected selected;  // node 2 is numbered 77
    std::string expected;
  } const kCases[] = {
      {veldSelect, kClass, "T", kNode2, veldFilter},
      {veldSelect, kClass, "", kNone, "COMPUTE filter_$ = (1).\nFILTER BY filter_$.\nEXECUTE.\n"},
      {veldSelect, kClass, "T", kNodes1And2, veldFilter},
      {sqlSelect, kClass, "T", kNode2, "SELECT * FROM <TABLE>\nWHERE T;"},
      {sqlSelect, kValue, "", kNone, "SELECT * FROM <TABLE>;"},
      {sqlSelect, kClass, "T", kNodes1And2, "SELECT * FROM <TABLE>\nWHERE T;"},
      {genericSelect, kClass, "T", kNode2,
       "IF T\nTHEN\n\tNode = 77\n\tPrediction = 'high'\n\tProbability = 0.700000\n"},
      {genericSelect, kValue, "T", kNode2, "IF T\nTHEN\n\tNode = 77\n\tPrediction = 12.5\n"},
      {genericSelect, kDate, "T", kNode2, "IF T\nTHEN\n\tNode = 77\n\tPrediction = '2017-10-21'\n"},
      {genericSelect, kClass, "", kNode2,
       "IF (1)\nTHEN\n\tNode = 77\n\tPrediction = 'high'\n\tProbability = 0.700000\n"},
      {genericSelect, kClass, "T", kNodes1And2, genericError},
      {genericSelect, kClass, "", kNone, genericError},
      {veldUpdate, kClass, "T", kNode2,
       "DO IF T.\nCOMPUTE nod_001 = 77.\nCOMPUTE pre_001 = 'high'.\nCOMPUTE prb_001 = 0.700000.\n"
       "END IF.\nEXECUTE.\n"},
      {veldUpdate, kValue, "T", kNode2,
       "DO IF T.\nCOMPUTE nod_001 = 77.\nCOMPUTE pre_001 = 12.5.\nEND IF.\nEXECUTE.\n"},
      {veldUpdate, kDate, "T", kNode2,  // a date number, bare
       "DO IF T.\nCOMPUTE nod_001 = 77.\nCOMPUTE pre_001 = 13727923200.\nEND IF.\nEXECUTE.\n"},
      {veldUpdate, kValue, "", kNode2,
       "DO IF (1).\nCOMPUTE nod_001 = 77.\nCOMPUTE pre_001 = 12.5.\nEND IF.\nEXECUTE.\n"},
      {veldUpdate, kClass, "T", kNodes1And2, veldError},
      {veldUpdate, kClass, "T", kNone, veldError},
      {sqlUpdate, kClass, "T", kNode2,
       "UPDATE <TABLE>\n\tSET nod_001 = 77,\tpre_001 = 'high',\tprb_001 = 0.700000\nWHERE T;"},
      {sqlUpdate, kValue, "T", kNode2,
       "UPDATE <TABLE>\n\tSET nod_001 = 77,\tpre_001 = 12.5\nWHERE T;"},
      {sqlUpdate, kDate, "T", kNode2,
       "UPDATE <TABLE>\n\tSET nod_001 = 77,\tpre_001 = '2017-10-21'\nWHERE T;"},
      {sqlUpdate, kClass, "", kNode2,
       "UPDATE <TABLE>\n\tSET nod_001 = 77,\tpre_001 = 'high',\tprb_001 = 0.700000;"},
      {sqlUpdate, kClass, "T", kNodes1And2, sqlError},
      {sqlUpdate, kValue, "", kNone, sqlError},
      {genericUpdate, kClass, "T", kNode2, "T"},
      {genericUpdate, kClass, "T", kNodes1And2, "T"},
      {genericUpdate, kClass, "", kNone, ""},
  };
  int row = 0;
  for (Case const& c : kCases) {
    refhost::Model const model = outputtest::ThreeLeaves(c.target);
    RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
    RulesNodeSelection selection;
    if (c.selected == kNode2) selection.AddNode(model.Find(2), 77);
    if (c.selected == kNodes1And2) {
      selection.AddNode(model.Find(1), RulesNodeSelection::kDefaultNodeNumber);
      selection.AddNode(model.Find(2), RulesNodeSelection::kDefaultNodeNumber);
    }
    selection.Synchronize(&model.GetTree());
    EXPECT_EQ((adapter.*c.writer)(c.condition, selection), c.expected) << "row " << row++;
  }
}

}  // namespace
