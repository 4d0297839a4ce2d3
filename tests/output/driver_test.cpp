// The export driver: the documented examples, the composition of the active
// subtree, the chain cache, and what ExportRules leaves unchanged.
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "output/linewrap.h"
#include "output/rulesoutputadapter.h"
#include "outputmodels.h"
#include "refhost/faults.h"
#include "refhost/objectcounts.h"

namespace {

using outputtest::Options;
using TreeOut_800::DIALECT_GENERIC;
using TreeOut_800::DIALECT_SQL;
using TreeOut_800::DIALECT_VELD;
using TreeOut_800::RuleExportOptions;
using TreeOut_800::RulesNodeSelection;
using TreeOut_800::RulesOutputAdapter;

RulesNodeSelection Select(refhost::Model const& model, std::vector<unsigned int> const& ids) {
  RulesNodeSelection selection;
  for (unsigned int id : ids) selection.AddNode(model.Find(id), static_cast<int>(id));
  return selection;
}

std::string Export(RulesOutputAdapter const& adapter, RuleExportOptions const& options,
                   RulesNodeSelection const& selection) {
  return adapter.ExportRules(options, selection).Str();
}

TEST(ExportRules, WritesTheRegionExamples) {
  std::string const child0Sql = "(region = 1 OR region = 2)";
  std::string const child1Sql = "(region = 3)";
  struct Case {
    std::vector<unsigned int> nodes;
    RuleExportOptions options;
    std::string expected;
  };
  const Case kCases[] = {
      {{1}, Options(DIALECT_SQL, 0), "SELECT * FROM <TABLE>\nWHERE " + child0Sql + ";"},
      {{1},
       Options(DIALECT_VELD, 0),
       "COMPUTE filter_$ = ((VALUE(region) EQ 1 OR VALUE(region) EQ 2)).\nFILTER BY filter_$.\n"
       "EXECUTE.\n"},
      {{1, 2},
       Options(DIALECT_SQL, 0),
       "SELECT * FROM <TABLE>\nWHERE (" + child0Sql + " OR " + child1Sql + ");"},
      {{1, 2}, Options(DIALECT_GENERIC, 0), "\nExportGenericUpdate ERROR: >1 nodes to update\n"},
      {{1, 2}, Options(DIALECT_GENERIC, 1), "\nExportGenericUpdate ERROR: >1 nodes to update\n"},
      {{3},
       Options(DIALECT_SQL, 0),
       "SELECT * FROM <TABLE>\nWHERE ((region IS NULL OR region = 9) OR region <> 1  AND  "
       "region <> 2  AND  region <> 3);"},
      {{2},
       Options(DIALECT_GENERIC, 1),
       "IF (region = 3)\nTHEN\n\tNode = 2\n\tPrediction = 'high'\n\tProbability = 0.750000\n"},
      {{2},
       Options(DIALECT_SQL, 1),
       "UPDATE <TABLE>\n\tSET nod_001 = 2,\tpre_001 = 'high',\tprb_001 = 0.750000\nWHERE " +
           child1Sql + ";"},
      {{2},
       Options(DIALECT_VELD, 1),
       "DO IF (VALUE(region) EQ 3).\nCOMPUTE nod_001 = 2.\nCOMPUTE pre_001 = 'high'.\n"
       "COMPUTE prb_001 = 0.750000.\nEND IF.\nEXECUTE.\n"},
      {{1}, Options(3, 0), ""},
      {{1}, Options(-1, 1), ""},
  };
  refhost::Model const model = outputtest::RegionModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  for (Case const& c : kCases) {
    EXPECT_EQ(Export(adapter, c.options, Select(model, c.nodes)), c.expected)
        << "dialect " << c.options.fnDialect << ", update " << c.options.fnUpdateMode
        << ", first node " << c.nodes.front();
  }
}

TEST(ExportRules, WritesEachFormForAnEmptyCondition) {
  // Nothing selected, or the root alone: no condition.
  struct Case {
    std::vector<unsigned int> nodes;
    RuleExportOptions options;
    std::string expected;
  };
  std::string const rootSql =
      "UPDATE <TABLE>\n\tSET nod_001 = 0,\tpre_001 = 'low',\tprb_001 = 0.600000;";
  const Case kCases[] = {
      {{}, Options(DIALECT_SQL, 0), "SELECT * FROM <TABLE>;"},
      {{0}, Options(DIALECT_SQL, 0), "SELECT * FROM <TABLE>;"},
      {{}, Options(DIALECT_VELD, 0), "COMPUTE filter_$ = (1).\nFILTER BY filter_$.\nEXECUTE.\n"},
      {{0}, Options(DIALECT_VELD, 0), "COMPUTE filter_$ = (1).\nFILTER BY filter_$.\nEXECUTE.\n"},
      {{}, Options(DIALECT_GENERIC, 0), "\nExportGenericUpdate ERROR: >1 nodes to update\n"},
      {{0},
       Options(DIALECT_GENERIC, 0),
       "IF (1)\nTHEN\n\tNode = 0\n\tPrediction = 'low'\n\tProbability = 0.600000\n"},
      {{}, Options(DIALECT_SQL, 1), "\nExportSQLlUpdate ERROR: >1 nodes to update\n"},
      {{0}, Options(DIALECT_SQL, 1), rootSql},
      {{}, Options(DIALECT_VELD, 1), "\nExportVELDUpdate ERROR: >1 nodes to update\n"},
      {{0},
       Options(DIALECT_VELD, 1),
       "DO IF (1).\nCOMPUTE nod_001 = 0.\nCOMPUTE pre_001 = 'low'.\nCOMPUTE prb_001 = 0.600000.\n"
       "END IF.\nEXECUTE.\n"},
  };
  refhost::Model const model = outputtest::RegionModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  for (Case const& c : kCases) {
    EXPECT_EQ(Export(adapter, c.options, Select(model, c.nodes)), c.expected)
        << "dialect " << c.options.fnDialect << ", update " << c.options.fnUpdateMode << ", "
        << c.nodes.size() << " nodes";
  }
}

TEST(ExportActiveSubtree, ComposesEdgesAlongTheActiveNodes) {
  refhost::Model const model = outputtest::CompositionModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  RuleExportOptions const options = Options(DIALECT_SQL, 0);
  auto E = [&](unsigned int parent, int branch) {
    return adapter.ExportEdge(options, model.Find(parent), branch);
  };
  // Every edge has a text of its own, so a wrong edge shows.
  std::set<std::string> const edges = {E(0, 0), E(0, 1), E(0, 2), E(1, 0),
                                       E(1, 1), E(5, 0), E(5, 1), E(5, 2)};
  ASSERT_EQ(edges.size(), 8u);
  ASSERT_EQ(edges.count(""), 0u);

  std::string const AND = "  AND  ";
  std::string const OR = " OR ";
  struct Case {
    std::vector<unsigned int> active;
    std::string expected;
  };
  const Case kCases[] = {
      {{0, 1, 3}, E(0, 0) + AND + E(1, 0)},
      {{0, 2}, E(0, 1)},
      {{0, 1, 3, 2}, "(" + E(0, 0) + AND + E(1, 0) + OR + E(0, 1) + ")"},
      {{0, 1, 3, 5, 6, 7},
       "(" + E(0, 0) + AND + E(1, 0) + OR + E(0, 2) + AND + "(" + E(5, 0) + OR + E(5, 1) + ")" +
           ")"},
      {{0}, ""},
      {{0, 1}, E(0, 0)},  // an active node without active children: no AND
  };
  for (Case const& c : kCases) {
    std::set<tree_800::Node const*> active;
    for (unsigned int id : c.active) active.insert(model.Find(id));
    EXPECT_EQ(adapter.ExportActiveSubtree(options, model.GetTree().GetRoot(), active), c.expected)
        << "active set of " << c.active.size() << " nodes, first " << c.active.back();
  }
  // A leaf writes nothing.
  std::set<tree_800::Node const*> all;
  adapter.ActivatePath(model.Find(7), &all);
  EXPECT_EQ(adapter.ExportActiveSubtree(options, model.Find(7), all), "");
}

TEST(ActivatePath, AddsTheNodeAndItsAncestors) {
  refhost::Model const model = outputtest::CompositionModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  std::set<tree_800::Node const*> active;
  adapter.ActivatePath(nullptr, &active);
  EXPECT_TRUE(active.empty());
  adapter.ActivatePath(model.Find(7), &active);
  adapter.ActivatePath(model.Find(3), &active);
  std::set<tree_800::Node const*> const expected = {model.Find(0), model.Find(1), model.Find(3),
                                                    model.Find(5), model.Find(7)};
  EXPECT_EQ(active, expected);
}

TEST(ExportRules, WritesAlternativesInBranchOrderWhateverTheSelectionOrder) {
  refhost::Model const model = outputtest::CompositionModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  RuleExportOptions const options = Options(DIALECT_SQL, 0);
  EXPECT_EQ(Export(adapter, options, Select(model, {7, 3, 6})),
            Export(adapter, options, Select(model, {3, 6, 7})));
}

// Every option set the driver distinguishes, and some it does not.
std::vector<RuleExportOptions> AllOptions() {
  std::vector<RuleExportOptions> all;
  for (int dialect = 0; dialect <= 3; ++dialect) {
    for (int update = 0; update <= 1; ++update) {
      for (int edgeMode = 0; edgeMode <= 2; ++edgeMode) {
        RuleExportOptions options = Options(dialect, update, edgeMode, edgeMode == 1);
        options.fnUseVariableLabels = edgeMode == 2;
        options.fnUseValueLabels = edgeMode == 2;
        all.push_back(options);
      }
    }
  }
  return all;
}

TEST(ExportRules, OneAdapterAnswersAsFreshAdaptersDo) {
  refhost::Model const model = outputtest::RichModel();
  std::vector<std::vector<unsigned int>> const selections = {{4}, {12, 9}, {14, 7, 10}, {0}};
  RulesOutputAdapter const shared(&model.GetTree(), &model.GetMetadata());
  for (RuleExportOptions const& options : AllOptions()) {
    for (auto const& ids : selections) {
      RulesOutputAdapter const fresh(&model.GetTree(), &model.GetMetadata());
      RulesNodeSelection const selection = Select(model, ids);
      EXPECT_EQ(Export(shared, options, selection), Export(fresh, options, selection))
          << "dialect " << options.fnDialect << ", update " << options.fnUpdateMode << ", edge "
          << options.fnEdgeMode << ", first node " << ids.front();
    }
  }
}

TEST(ExportRules, FetchesANodesSplitRulesOncePerAdapter) {
  refhost::Model const model = outputtest::RichModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  RulesNodeSelection const selection = Select(model, {4, 12, 7, 14, 9, 10});
  // A dialect that writes nothing builds the chains all the same.
  EXPECT_EQ(Export(adapter, Options(3, 0), selection), "");
  std::string first;
  for (char const* operation : {"GetSplitRule", "GetSurrogate"}) {
    // Armed to throw on the next call: no later export may make one.
    refhost::FaultGuard const guard(operation, 1);
    if (first.empty()) first = Export(adapter, Options(DIALECT_SQL, 0), selection);
    for (RuleExportOptions const& options : AllOptions()) {
      adapter.ExportRules(options, selection);
      adapter.ExportRules(options, Select(model, {13}));
    }
    EXPECT_FALSE(refhost::FaultFired()) << operation;
  }
  EXPECT_EQ(Export(adapter, Options(DIALECT_SQL, 0), selection), first);

  // A fresh adapter does fetch them.
  refhost::FaultGuard const guard("GetSurrogate", 1);
  RulesOutputAdapter const fresh(&model.GetTree(), &model.GetMetadata());
  EXPECT_THROW(fresh.ExportRules(Options(DIALECT_SQL, 0), selection), std::runtime_error);
}

TEST(ExportEdge, BuildsOneChainForAllEdgesOfANode) {
  refhost::Model const model = outputtest::RichModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  RuleExportOptions const options = Options(DIALECT_VELD, 0);
  std::string const first = adapter.ExportEdge(options, model.Find(0), 0);
  refhost::FaultGuard const guard("GetSplitRule", 1);
  std::string const second = adapter.ExportEdge(options, model.Find(0), 2);
  EXPECT_FALSE(refhost::FaultFired());
  EXPECT_NE(first, second);
  EXPECT_EQ(adapter.ExportEdge(options, model.Find(0), 0), first);
}

TEST(ExportRules, LeavesTheCallersSelectionUnchanged) {
  refhost::Model const model = outputtest::RichModel();
  refhost::Model const other = outputtest::RichModel();  // same ids, other node objects
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());

  RulesNodeSelection neverSynchronised = Select(model, {4, 9});
  RulesNodeSelection synchronisedElsewhere = Select(model, {4, 9});
  synchronisedElsewhere.Synchronize(&other.GetTree());
  for (RulesNodeSelection const* selection : {&neverSynchronised, &synchronisedElsewhere}) {
    RulesNodeSelection const before = *selection;
    std::string const text = Export(adapter, Options(DIALECT_SQL, 0), *selection);
    EXPECT_NE(text, "SELECT * FROM <TABLE>;");  // the nodes were found in the adapter's tree
    EXPECT_EQ(selection->EnumerateNodes(), before.EnumerateNodes());
    EXPECT_EQ(selection->EnumerateNodeIds(), before.EnumerateNodeIds());
  }
  EXPECT_TRUE(neverSynchronised.EnumerateNodes().empty());
  EXPECT_EQ(synchronisedElsewhere.EnumerateNodes().front().first, other.Find(4));
}

TEST(ExportRules, WrapsOnlyVeldText) {
  // A selection of many leaves gives a condition far longer than a line.
  refhost::Model const model = outputtest::RichModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  RulesNodeSelection const selection = Select(model, {4, 6, 11, 13, 7, 14, 9});
  std::string const condition = [&] {
    std::set<tree_800::Node const*> active;
    for (unsigned int id : {4u, 6u, 11u, 13u, 7u, 14u, 9u})
      adapter.ActivatePath(model.Find(id), &active);
    return adapter.ExportActiveSubtree(Options(DIALECT_SQL, 0), model.GetTree().GetRoot(), active);
  }();
  ASSERT_GT(condition.size(), 600u);
  EXPECT_EQ(Export(adapter, Options(DIALECT_SQL, 0), selection),
            "SELECT * FROM <TABLE>\nWHERE " + condition + ";");

  std::string const veld = Export(adapter, Options(DIALECT_VELD, 0), selection);
  std::set<tree_800::Node const*> active;
  for (unsigned int id : {4u, 6u, 11u, 13u, 7u, 14u, 9u})
    adapter.ActivatePath(model.Find(id), &active);
  std::string const veldCondition =
      adapter.ExportActiveSubtree(Options(DIALECT_VELD, 0), model.GetTree().GetRoot(), active);
  EXPECT_EQ(veld, TreeOut_800::WrapString(adapter.ExportVELDSelect(veldCondition, selection), 256));
  std::size_t lineStart = 0;
  int lines = 0;
  for (std::size_t i = 0; i < veld.size(); ++i) {
    if (veld[i] != '\n') continue;
    EXPECT_LE(i - lineStart, 257u);  // prefix, 253 characters, closing quote and "+"
    lineStart = i + 1;
    ++lines;
  }
  EXPECT_GT(lines, 4);
}

}  // namespace

namespace {

TEST(ExportRules, FramesEveryDialectAndModeOnAMixedTree) {
  // Nominal, ordinal and ordered-string splits with surrogates and
  // user-missing values; several leaves, one leaf, the root alone.
  refhost::Model const model = outputtest::RichModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  std::string const veldEnd = ").\nFILTER BY filter_$.\nEXECUTE.\n";
  std::string const genericError = "\nExportGenericUpdate ERROR: >1 nodes to update\n";
  struct Case {
    int dialect;
    int update;
    std::vector<unsigned int> nodes;
    std::string begin;  // the whole text when `end` is null
    char const* end;
  };
  const Case kCases[] = {
      {0, 0, {12, 9, 14}, "SELECT * FROM <TABLE>\nWHERE (", ");"},
      {0, 1, {12, 9, 14}, "\nExportSQLlUpdate ERROR: >1 nodes to update\n", nullptr},
      {1, 0, {12, 9, 14}, "COMPUTE filter_$ = ((", veldEnd.c_str()},
      {1, 1, {12, 9, 14}, "\nExportVELDUpdate ERROR: >1 nodes to update\n", nullptr},
      {2, 0, {12, 9, 14}, genericError, nullptr},
      {2, 1, {12, 9, 14}, genericError, nullptr},
      {0,
       1,
       {14},
       "UPDATE <TABLE>\n\tSET nod_001 = 14,\tpre_001 = 'high',\tprb_001 = 0.200000\nWHERE ((",
       ");"},
      {1,
       1,
       {14},
       "DO IF ((",
       ".\nCOMPUTE nod_001 = 14.\nCOMPUTE pre_001 = 'high'.\n"
       "COMPUTE prb_001 = 0.200000.\nEND IF.\nEXECUTE.\n"},
      {2,
       1,
       {14},
       "IF ((",
       "\nTHEN\n\tNode = 14\n\tPrediction = 'high'\n\tProbability = 0.200000\n"},
      {0, 0, {0}, "SELECT * FROM <TABLE>;", nullptr},
      {0,
       1,
       {0},
       "UPDATE <TABLE>\n\tSET nod_001 = 0,\tpre_001 = 'low',\tprb_001 = 0.500000;",
       nullptr},
      {1, 0, {0}, "COMPUTE filter_$ = (1" + veldEnd, nullptr},
      {1,
       1,
       {0},
       "DO IF (1).\nCOMPUTE nod_001 = 0.\nCOMPUTE pre_001 = 'low'.\n"
       "COMPUTE prb_001 = 0.500000.\nEND IF.\nEXECUTE.\n",
       nullptr},
      {2,
       0,
       {0},
       "IF (1)\nTHEN\n\tNode = 0\n\tPrediction = 'low'\n\tProbability = 0.500000\n",
       nullptr},
  };
  for (Case const& c : kCases) {
    std::string const text = Export(adapter, Options(c.dialect, c.update), Select(model, c.nodes));
    std::string const where = "dialect " + std::to_string(c.dialect) + ", update " +
                              std::to_string(c.update) + ", first node " +
                              std::to_string(c.nodes.front()) + ":\n" + text;
    if (c.end == nullptr) {
      EXPECT_EQ(text, c.begin) << where;
      continue;
    }
    std::string const end = c.end;
    ASSERT_GE(text.size(), c.begin.size() + end.size()) << where;
    EXPECT_EQ(text.substr(0, c.begin.size()), c.begin) << where;
    EXPECT_EQ(text.substr(text.size() - end.size()), end) << where;
  }
  // Select and update statements carry the same condition.
  std::string const select = Export(adapter, Options(0, 0), Select(model, {14}));
  std::string const update = Export(adapter, Options(0, 1), Select(model, {14}));
  std::string const condition = select.substr(select.find("\nWHERE "));
  EXPECT_EQ(update.substr(update.find("\nWHERE ")), condition);
}

}  // namespace
