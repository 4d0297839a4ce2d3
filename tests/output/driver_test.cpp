// The export driver: the region examples, composition of the active subtree,
// the chain cache, the caller's selection, wrapping, and host faults.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "output/linewrap.h"
#include "outputmodels.h"
#include "refhost/builder.h"
#include "tests/support/faults.h"
#include "tests/support/objectcounts.h"

namespace {

using outputtest::Export;
using outputtest::Options;
using outputtest::Select;
using TreeOut_800::DIALECT_GENERIC;
using TreeOut_800::DIALECT_SQL;
using TreeOut_800::DIALECT_VELD;
using TreeOut_800::RuleExportOptions;
using TreeOut_800::RulesNodeSelection;
using TreeOut_800::RulesOutputAdapter;
using NodeSet = std::set<tree_800::Node const*>;

TEST(ExportRules, WritesTheRegionExamplesAndEmptyConditions) {
  std::string const child0Sql = "(region = 1 OR region = 2)";
  std::string const child1Sql = "(region = 3)";
  std::string const missing3 = "region <> 1  AND  region <> 2  AND  region <> 3";
  std::string const genericError = "\nExportGenericUpdate ERROR: >1 nodes to update\n";
  auto filter = [](std::string const& condition) {
    return "COMPUTE filter_$ = (" + condition + ").\nFILTER BY filter_$.\nEXECUTE.\n";
  };
  // The update texts for node 2 ('high', 0.75) and the root ('low', 0.6).
  std::string const high = "2,\tpre_001 = 'high',\tprb_001 = 0.750000",
                    low = "0,\tpre_001 = 'low',\tprb_001 = 0.600000";
  std::string const ifHigh = "THEN\n\tNode = 2\n\tPrediction = 'high'\n\tProbability = 0.750000\n";
  std::string const ifLow = "THEN\n\tNode = 0\n\tPrediction = 'low'\n\tProbability = 0.600000\n";
  std::string const setHigh =
      "COMPUTE nod_001 = 2.\nCOMPUTE pre_001 = 'high'.\nCOMPUTE prb_001 = 0.750000.\n";
  std::string const setLow =
      "COMPUTE nod_001 = 0.\nCOMPUTE pre_001 = 'low'.\nCOMPUTE prb_001 = 0.600000.\n";
  auto doIf = [](std::string const& condition, std::string const& set) {
    return "DO IF (" + condition + ").\n" + set + "END IF.\nEXECUTE.\n";
  };
  std::string const sql = "SELECT * FROM <TABLE>", update = "UPDATE <TABLE>\n\tSET nod_001 = ";
  int const SQL = DIALECT_SQL, VELD = DIALECT_VELD, GEN = DIALECT_GENERIC;
  struct Case {
    std::vector<unsigned int> nodes;
    int dialect, updateMode;
    std::string expected;
  } const kCases[] = {
      {{1}, SQL, 0, sql + "\nWHERE " + child0Sql + ";"},
      {{1}, VELD, 0, filter("(VALUE(region) EQ 1 OR VALUE(region) EQ 2)")},
      {{1, 2}, SQL, 0, sql + "\nWHERE (" + child0Sql + " OR " + child1Sql + ");"},
      {{1, 2}, GEN, 0, genericError},
      {{1, 2}, GEN, 1, genericError},
      {{3}, SQL, 0, sql + "\nWHERE ((region IS NULL OR region = 9) OR " + missing3 + ");"},
      {{2}, GEN, 1, "IF (region = 3)\n" + ifHigh},
      {{2}, SQL, 1, update + high + "\nWHERE " + child1Sql + ";"},
      {{2}, VELD, 1, doIf("VALUE(region) EQ 3", setHigh)},
      {{1}, 3, 0, ""},
      {{1}, -1, 1, ""},
      // Nothing selected, or the root alone: no condition.
      {{}, SQL, 0, sql + ";"},
      {{0}, SQL, 0, sql + ";"},
      {{}, VELD, 0, filter("1")},
      {{0}, VELD, 0, filter("1")},
      {{}, GEN, 0, genericError},
      {{0}, GEN, 0, "IF (1)\n" + ifLow},
      {{}, SQL, 1, "\nExportSQLlUpdate ERROR: >1 nodes to update\n"},
      {{0}, SQL, 1, update + low + ";"},
      {{}, VELD, 1, "\nExportVELDUpdate ERROR: >1 nodes to update\n"},
      {{0}, VELD, 1, doIf("1", setLow)},
  };
  refhost::Model const model = outputtest::RegionModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  int row = 0;
  for (Case const& c : kCases) {
    EXPECT_EQ(Export(adapter, Options(c.dialect, c.updateMode), Select(model, c.nodes)), c.expected)
        << "row " << row++;
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
  std::string const AND = "  AND  ", OR = " OR ";
  struct Case {
    std::vector<unsigned int> active;
    std::string expected;
  } const kCases[] = {
      {{0, 1, 3}, E(0, 0) + AND + E(1, 0)},
      {{0, 2}, E(0, 1)},
      {{0, 1, 3, 2}, "(" + E(0, 0) + AND + E(1, 0) + OR + E(0, 1) + ")"},
      {{0, 1, 3, 5, 6, 7},
       "(" + E(0, 0) + AND + E(1, 0) + OR + E(0, 2) + AND + "(" + E(5, 0) + OR + E(5, 1) + "))"},
      {{0}, ""},
      {{0, 1}, E(0, 0)},  // an active node without active children: no AND
  };
  for (Case const& c : kCases) {
    NodeSet active;
    for (unsigned int id : c.active) active.insert(model.Find(id));
    EXPECT_EQ(adapter.ExportActiveSubtree(options, model.GetTree().GetRoot(), active), c.expected)
        << c.active.size() << " active nodes";
  }
  // ActivatePath adds a node and its ancestors; a leaf writes nothing.
  NodeSet active;
  adapter.ActivatePath(nullptr, &active);
  EXPECT_TRUE(active.empty());
  adapter.ActivatePath(model.Find(7), &active);
  adapter.ActivatePath(model.Find(3), &active);
  EXPECT_EQ(active,
            NodeSet({model.Find(0), model.Find(1), model.Find(3), model.Find(5), model.Find(7)}));
  EXPECT_EQ(adapter.ExportActiveSubtree(options, model.Find(7), active), "");
  // Alternatives come in branch order whatever the selection order.
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
        options.fnUseVariableLabels = options.fnUseValueLabels = edgeMode == 2;
        all.push_back(options);
      }
    }
  }
  return all;
}

TEST(ExportRules, CachesEachNodesChainOncePerAdapter) {
  refhost::Model const model = outputtest::RichModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  std::vector<std::vector<unsigned int>> const selections = {{4, 12, 7, 14, 9, 10}, {4}, {12, 9},
                                                             {14, 7, 10},           {0}, {13}};
  std::vector<std::string> fresh;  // what fresh adapters write, per options and selection
  for (RuleExportOptions const& options : AllOptions()) {
    for (auto const& ids : selections) {
      RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
      fresh.push_back(Export(adapter, options, Select(model, ids)));
    }
  }
  // One edge builds the chain for all edges of its node.
  std::string const edge0 = adapter.ExportEdge(Options(DIALECT_VELD, 0), model.Find(0), 0);
  {
    refhost::FaultGuard const guard("GetSplitRule", 1);
    EXPECT_NE(adapter.ExportEdge(Options(DIALECT_VELD, 0), model.Find(0), 2), edge0);
    EXPECT_FALSE(refhost::FaultFired());
  }
  // A dialect that writes nothing builds the chains all the same; later
  // exports, whatever the options, call the host no more and write what
  // fresh adapters write.
  for (auto const& ids : selections)
    EXPECT_EQ(Export(adapter, Options(3, 0), Select(model, ids)), "");
  for (char const* operation : {"GetSplitRule", "GetSurrogate"}) {
    refhost::FaultGuard const guard(operation, 1);
    std::size_t i = 0;
    for (RuleExportOptions const& options : AllOptions()) {
      for (auto const& ids : selections) {
        EXPECT_EQ(Export(adapter, options, Select(model, ids)), fresh[i++])
            << "dialect " << options.fnDialect << ", update " << options.fnUpdateMode << ", edge "
            << options.fnEdgeMode << ", first node " << ids.front();
      }
    }
    EXPECT_FALSE(refhost::FaultFired()) << operation;
  }
  // A fresh adapter does fetch them.
  refhost::FaultGuard const guard("GetSurrogate", 1);
  RulesOutputAdapter const other(&model.GetTree(), &model.GetMetadata());
  EXPECT_THROW(other.ExportRules(Options(DIALECT_SQL, 0), Select(model, selections[0])),
               std::runtime_error);
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
  // Many leaves: a condition far longer than a line.
  refhost::Model const model = outputtest::RichModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  std::vector<unsigned int> const ids = {4, 6, 11, 13, 7, 14, 9};
  RulesNodeSelection const selection = Select(model, ids);
  NodeSet active;
  for (unsigned int id : ids) adapter.ActivatePath(model.Find(id), &active);
  auto condition = [&](int dialect) {
    return adapter.ExportActiveSubtree(Options(dialect, 0), model.GetTree().GetRoot(), active);
  };
  ASSERT_GT(condition(DIALECT_SQL).size(), 600u);
  EXPECT_EQ(Export(adapter, Options(DIALECT_SQL, 0), selection),
            "SELECT * FROM <TABLE>\nWHERE " + condition(DIALECT_SQL) + ";");
  std::string const veld = Export(adapter, Options(DIALECT_VELD, 0), selection);
  EXPECT_EQ(veld, TreeOut_800::WrapString(
                      adapter.ExportVELDSelect(condition(DIALECT_VELD), selection), 256));
  EXPECT_GT(std::count(veld.begin(), veld.end(), '\n'), 4);  // wrapped
}

TEST(ExportRules, ReleasesEverythingWhenTheHostThrows) {
  refhost::Model const model = outputtest::RichModel();
  RuleExportOptions labels = Options(1, 0, 0, 1);
  labels.fnUseValueLabels = labels.fnUseVariableLabels = 1;
  struct Export {
    RuleExportOptions options;
    RulesNodeSelection selection;
  } const exports[] = {
      {Options(0, 0), Select(model, {4, 12, 7, 14, 9, 10})},
      {labels, Select(model, {4, 6, 11, 13, 15})},
      {Options(1, 1), Select(model, {14})},
      {Options(0, 1, 0, 1), Select(model, {11})},
      {Options(2, 0, 2), Select(model, {7})},
  };
  std::vector<std::string> expected;
  {
    RulesOutputAdapter const reference(&model.GetTree(), &model.GetMetadata());
    for (auto const& e : exports)
      expected.push_back(outputtest::Export(reference, e.options, e.selection));
  }
  int faults = 0;
  for (char const* operation :
       {"GetSplitRule", "GetSurrogate", "GetMappedValues", "GetIterator", "Next", "Decode",
        "GetItems", "Format", "FormatRulesDate", "GetValueLabel", "GetFirstInterval",
        "GetFirstValue", "EncodedValues", "Encode"}) {
    for (long nth = 1;; ++nth) {
      long const before = refhost::LiveObjects();
      bool fired = false;
      {
        RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
        refhost::FaultGuard const guard(operation, nth);
        std::size_t done = 0;
        try {
          for (; done < expected.size(); ++done) {
            adapter.ExportRules(exports[done].options, exports[done].selection);
          }
        } catch (std::runtime_error const&) {
        }
        fired = refhost::FaultFired();
        refhost::ClearFaults();
        ASSERT_EQ(done < expected.size(), fired) << operation << " call " << nth;
        // The same adapter now writes what a fresh one does.
        for (std::size_t i = 0; i < expected.size(); ++i) {
          EXPECT_EQ(outputtest::Export(adapter, exports[i].options, exports[i].selection),
                    expected[i])
              << operation << " call " << nth << ", export " << i;
        }
      }
      EXPECT_EQ(refhost::LiveObjects(), before)
          << operation << " call " << nth << ": " << refhost::LiveObjectsReport();
      if (!fired) break;
      ++faults;
    }
  }
  EXPECT_GT(faults, 100);  // the exports reach the host often enough to mean something
}

// A chain `levels` deep: node i sends x <= i to a leaf and the rest on to
// node i + 1; the deepest leaf, id 2 * levels, ends the chain.
refhost::Model Chain(unsigned int levels) {
  refhost::ModelBuilder b;
  int const x = b.Scale("x");
  b.ClassTarget("risk", {"low", "high"});
  for (unsigned int i = 0; i < levels; ++i) {
    unsigned int const next = i + 1 < levels ? i + 1 : 2 * levels;
    b.Node(i).SplitOrdinal(x, {static_cast<double>(i)}).Children({levels + i, next});
  }
  return b.Build();
}

// The deepest leaf's statement of a chain ten times deeper takes about ten
// times as long (best of two runs each, bound generous for a busy machine);
// text that copied what lies below each level would take a hundred times.
// The depth needs no call stack.
TEST(ExportRules, DeepChainsTakeTimeLinearInTheirDepth) {
  unsigned int const depth = 10000;
  auto run = [](refhost::Model const& model, unsigned int levels, int dialect, std::string* text,
                int rounds = 2) {
    double best = 1e9;
    for (int round = 0; round < rounds; ++round) {
      auto const start = std::chrono::steady_clock::now();
      RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
      *text = Export(adapter, Options(dialect, 0), Select(model, {2 * levels}));
      best = std::min(
          best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
  };
  refhost::Model const shallow = Chain(depth), deep = Chain(10 * depth);
  std::string text;
  double const shallowTime = run(shallow, depth, DIALECT_SQL, &text);
  double const deepTime = run(deep, 10 * depth, DIALECT_SQL, &text);
  std::size_t edges = 0;  // "x > i" on every level, to the next node or the deepest leaf
  for (std::size_t at = text.find("x > "); at != std::string::npos; at = text.find("x > ", at + 1))
    ++edges;
  EXPECT_EQ(edges, 10 * depth);
  EXPECT_LT(deepTime, 30 * shallowTime + 0.05) << shallowTime << " s, then " << deepTime << " s";
  run(deep, 10 * depth, DIALECT_VELD, &text, 1);
  std::string const end = "\nFILTER BY filter_$.\nEXECUTE.\n";
  EXPECT_EQ(text.substr(text.size() - end.size()), end);
}

}  // namespace
