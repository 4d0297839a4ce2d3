// The export driver's own choices: the writer per dialect and mode, wrapping
// of VELD text only, the composition of the active subtree, the caller's
// selection left alone, chains kept per adapter, and everything released when
// the host throws part-way.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "output/linewrap.h"
#include "outputmodels.h"
#include "tests/support/faults.h"
#include "tests/support/objectcounts.h"

namespace {

using outputtest::Export;
using outputtest::Options;
using outputtest::Select;
using TreeOut_800::RuleExportOptions;
using TreeOut_800::RulesNodeSelection;
using TreeOut_800::RulesOutputAdapter;
using NodeSet = std::set<tree_800::Node const*>;
using Writer = std::string (RulesOutputAdapter::*)(std::string, RulesNodeSelection const&) const;

// The writer for each dialect and mode, given the subtree's condition; only
// VELD text is wrapped, however long the condition. Other dialects give "".
TEST(ExportRules, ChoosesTheWriterByDialectAndMode) {
  struct Case {
    int dialect, update;
    Writer writer;
    bool wrapped;
  } const kCases[] = {
      {0, 0, &RulesOutputAdapter::ExportSQLSelect, false},
      {0, 1, &RulesOutputAdapter::ExportSQLUpdate, false},
      {1, 0, &RulesOutputAdapter::ExportVELDSelect, true},
      {1, 1, &RulesOutputAdapter::ExportVELDUpdate, true},
      {2, 0, &RulesOutputAdapter::ExportGenericSelect, false},
      {2, 1, &RulesOutputAdapter::ExportGenericSelect, false},
      {3, 0, nullptr, false},
      {-1, 1, nullptr, false},
  };
  refhost::Model const model = outputtest::RichModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  for (std::vector<unsigned int> const& ids : {std::vector<unsigned int>{14}, {4, 6, 11, 13, 7}}) {
    RulesNodeSelection synchronised = Select(model, ids);
    synchronised.Synchronize(&model.GetTree());
    NodeSet active;
    for (unsigned int id : ids) adapter.ActivatePath(model.Find(id), &active);
    for (Case const& c : kCases) {
      RuleExportOptions const options = Options(c.dialect, c.update);
      std::string const condition =
          adapter.ExportActiveSubtree(options, model.GetTree().GetRoot(), active);
      ASSERT_GT(condition.size(), 300u);
      std::string expected = c.writer ? (adapter.*c.writer)(condition, synchronised) : "";
      if (c.wrapped) expected = TreeOut_800::WrapString(expected, 256);
      EXPECT_EQ(Export(adapter, options, Select(model, ids)), expected)
          << "dialect " << c.dialect << ", update " << c.update << ", " << ids.size() << " nodes";
    }
  }
}

// Root 0 -> 1, 2, 5; 1 -> 3, 4; 5 -> 6, 7, 8: alternatives in branch order,
// bracketed when there are two or more, each edge joined to its subtree.
TEST(ExportActiveSubtree, ComposesEdgesAlongTheActiveNodes) {
  refhost::Model const model = outputtest::CompositionModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  RuleExportOptions const options = Options(0, 0);
  auto E = [&](unsigned int parent, int branch) {
    return adapter.ExportEdge(options, model.Find(parent), branch);
  };
  std::string const AND = "  AND  ", OR = " OR ";
  struct Case {
    std::vector<unsigned int> selected;
    std::string expected;
  } const kCases[] = {
      {{3}, E(0, 0) + AND + E(1, 0)},
      {{1}, E(0, 0)},  // an active node without active children: no AND
      {{0}, ""},
      {{7, 3, 2},
       "(" + E(0, 0) + AND + E(1, 0) + OR + E(0, 1) + OR + E(0, 2) + AND + E(5, 1) + ")"},
      {{6, 3, 7},
       "(" + E(0, 0) + AND + E(1, 0) + OR + E(0, 2) + AND + "(" + E(5, 0) + OR + E(5, 1) + "))"},
  };
  for (Case const& c : kCases) {
    NodeSet active;
    for (unsigned int id : c.selected) adapter.ActivatePath(model.Find(id), &active);
    EXPECT_EQ(adapter.ExportActiveSubtree(options, model.GetTree().GetRoot(), active), c.expected)
        << c.selected.size() << " nodes, first " << c.selected[0];
  }
  // Every edge has a text of its own, so a wrong edge shows.
  EXPECT_EQ(std::set<std::string>({E(0, 0), E(0, 1), E(0, 2), E(1, 0), E(5, 0), E(5, 1)}).size(),
            6u);
  NodeSet active;
  adapter.ActivatePath(nullptr, &active);
  EXPECT_TRUE(active.empty());
}

// The copy is synchronised with the adapter's tree; the caller's is untouched.
TEST(ExportRules, LeavesTheCallersSelectionUnchanged) {
  refhost::Model const model = outputtest::RichModel(), other = outputtest::RichModel();
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  RulesNodeSelection selection = Select(model, {4, 9});
  selection.Synchronize(&other.GetTree());
  RulesNodeSelection const before = selection;
  EXPECT_NE(Export(adapter, Options(0, 0), selection), "SELECT * FROM <TABLE>;");
  EXPECT_EQ(selection.EnumerateNodes(), before.EnumerateNodes());
  EXPECT_EQ(selection.EnumerateNodeIds(), before.EnumerateNodeIds());
}

// Every option set the driver tells apart; later exports reuse the chains (the
// host is not asked for rules again) and write what fresh adapters write.
TEST(ExportRules, KeepsEachNodesChainForTheAdaptersLife) {
  refhost::Model const model = outputtest::RichModel();
  std::vector<std::vector<unsigned int>> const selections = {{4, 12, 7, 14, 9, 10}, {4}, {13}};
  std::vector<std::pair<RuleExportOptions, std::string>> fresh;
  for (int dialect = 0; dialect <= 2; ++dialect) {
    for (int edgeMode = 0; edgeMode <= 2; ++edgeMode) {
      RuleExportOptions options = Options(dialect, edgeMode == 1, edgeMode, edgeMode == 1);
      options.fnUseVariableLabels = options.fnUseValueLabels = edgeMode == 2;
      for (auto const& ids : selections) {
        RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
        fresh.emplace_back(options, Export(adapter, options, Select(model, ids)));
      }
    }
  }
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  // An unknown dialect writes nothing but builds the chains all the same.
  for (auto const& ids : selections)
    EXPECT_EQ(Export(adapter, Options(3, 0), Select(model, ids)), "");
  for (char const* operation : {"GetSplitRule", "GetSurrogate"}) {
    refhost::FaultGuard const guard(operation, 1);
    for (std::size_t i = 0; i < fresh.size(); ++i) {
      EXPECT_EQ(Export(adapter, fresh[i].first, Select(model, selections[i % 3])), fresh[i].second)
          << "options " << i / 3 << ", selection " << i % 3;
    }
    EXPECT_FALSE(refhost::FaultFired()) << operation;
  }
  refhost::FaultGuard const guard("GetSurrogate", 1);  // a fresh adapter does ask
  RulesOutputAdapter const other(&model.GetTree(), &model.GetMetadata());
  EXPECT_THROW(other.ExportRules(Options(0, 0), Select(model, selections[0])), std::runtime_error);
}

// Each host operation made to throw on each of its calls in turn: the export
// throws, nothing obtained from the host is left alive, and the adapter then
// writes what a fresh one writes.
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
      {Options(2, 0, 2), Select(model, {7})},
  };
  std::vector<std::string> expected;
  RulesOutputAdapter const reference(&model.GetTree(), &model.GetMetadata());
  for (auto const& e : exports)
    expected.push_back(outputtest::Export(reference, e.options, e.selection));
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

// A chain `levels` deep: node i sends x <= i to a leaf and the rest on; the
// deepest leaf, id 2 * levels, ends it. Ten times the depth takes about ten
// times as long (copying the text below each level would take a hundred), and
// needs no call stack.
TEST(ExportRules, DeepChainsTakeTimeLinearInTheirDepth) {
  auto chain = [](unsigned int levels) {
    refhost::ModelBuilder b;
    int const x = b.Scale("x");
    for (unsigned int i = 0; i < levels; ++i) {
      unsigned int const next = i + 1 < levels ? i + 1 : 2 * levels;
      b.Node(i).SplitOrdinal(x, {static_cast<double>(i)}).Children({levels + i, next});
    }
    return b.Build();
  };
  std::string text;
  auto run = [&](refhost::Model const& model, unsigned int levels, int dialect) {
    double best = 1e9;  // of three runs, for a busy machine
    for (int round = 0; round < 3; ++round) {
      auto const start = std::chrono::steady_clock::now();
      RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
      text = Export(adapter, Options(dialect, 0), Select(model, {2 * levels}));
      std::chrono::duration<double> const took = std::chrono::steady_clock::now() - start;
      best = std::min(best, took.count());
    }
    return best;
  };
  unsigned int const depth = 5000;
  refhost::Model const shallow = chain(depth), deep = chain(10 * depth);
  double const shallowTime = run(shallow, depth, 1), deepTime = run(deep, 10 * depth, 1);
  // "x GT i" on level i, in order: each edge's own text, however many edges
  // the adapter keeps.
  std::size_t edges = 0, misplaced = 0;
  for (std::size_t at = text.find("GT"); at != std::string::npos; at = text.find("GT", at + 1))
    misplaced += std::strtoul(text.c_str() + at + 2, nullptr, 10) != edges++;
  EXPECT_EQ(edges, 10 * depth);
  EXPECT_EQ(misplaced, 0u);
  EXPECT_LT(deepTime, 40 * shallowTime + 0.1) << shallowTime << " s, then " << deepTime << " s";
}

}  // namespace
