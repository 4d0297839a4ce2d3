// On random trees (the real models are the engine corpus's), the one-pass
// SQL, the SELECT and the UPDATE, run by SQLite, PostgreSQL and DuckDB over
// probe records, gives every record the node, prediction and probability
// that the host's scoring gives it, records that stop at inner nodes
// included, under each stop setting, in one expression and in inline and
// materialised stages. So do the per-leaf update statements followed by the
// stop statements.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>

#include "../output/outputmodels.h"
#include "engines.h"
#include "onepasscheck.h"
#include "refhost/builder.h"
#include "tests/support/faults.h"
#include "tests/support/objectcounts.h"

namespace {

using mdt_800::Variant;
using onepasstest::Outcome;
using onepasstest::Records;
using testsupport::EngineKind;
using TreeOut_800::OnePassSettings;
using TreeOut_800::OnePassWriter;

TreeOut_800::RuleExportOptions Options(int dialect, int update) {
  return outputtest::Options(dialect, update, 0, 1);
}

// Settings 0-3: the two stop settings in every combination; odd ones force
// stages of two levels, and 3 numbers the nodes with repeated numbers.
OnePassSettings Settings(refhost::Model const& model, int combination) {
  OnePassSettings settings;
  settings.fnStopMissing = combination & 1;
  settings.fnStopOther = (combination >> 1) & 1;
  settings.fnMaxNesting = combination % 2 == 1 ? 2 : 0;
  if (combination == 3) {
    for (tree_800::PrefixNodeIterator it(model.GetTree().GetRoot()); it.HasMore();) {
      tree_800::Node const* node = it.Next();
      settings.fnNodeNumbers[node] = 1000 + static_cast<int>(node->GetId() % 4);
    }
  }
  return settings;
}

// A chain of `levels` inner nodes: each sends x up to its cut to a leaf and
// the rest on. The cuts repeat every 100 levels (see the 100,000-level test).
refhost::Model Chain(unsigned levels) {
  refhost::ModelBuilder b;
  int const x = b.Scale("x");
  b.ContinuousTarget("t");
  for (unsigned level = 0; level < levels; ++level) {
    b.Node(2 * level).SplitOrdinal(x, {level % 100 + 0.5}).Children({2 * level + 1, 2 * level + 2});
    b.Node(2 * level).PredictValue(level / 3.0);
    b.Node(2 * level + 1).PredictValue(-1.0 * level);
  }
  b.Node(2 * levels).PredictValue(1e300);
  return b.Build();
}

// A chain whose every split has eight surrogates: each one nests the edge's
// condition a level deeper, so the edges themselves take much of the room in
// SQLite's parser beside the nested CASEs.
refhost::Model SurrogateChain(unsigned levels) {
  refhost::ModelBuilder b;
  int const x = b.Scale("x");
  for (int s = 1; s <= 8; ++s) b.Scale("s" + std::to_string(s)).Missing({-1.0});
  b.ClassTarget("t", {"p", "q"});
  for (unsigned level = 0; level < levels; ++level) {
    refhost::NodeSpec& node = b.Node(2 * level).SplitOrdinal(x, {level + 0.5});
    for (int s = 1; s <= 8; ++s) node.Surrogate(refhost::Split::Cuts(x + s, {level + 0.25 * s}));
    node.Children({2 * level + 1, 2 * level + 2});
    b.Node(2 * level).Predict(1, {0.75, 0.25});
    b.Node(2 * level + 1).Predict(2, {0.125, 0.875});
  }
  b.Node(2 * levels).Predict(1, {1.0, 0.0});
  return b.Build();
}

std::vector<std::function<refhost::Model()>> BuiltModels() {
  std::vector<std::function<refhost::Model()>> models = {[] { return SurrogateChain(16); }};
  for (unsigned seed = 1; seed <= 16; ++seed) {
    models.push_back([seed] { return onepasstest::RandomModel(seed, static_cast<int>(seed % 4)); });
  }
  return models;
}

// Each leaf's update statement, then the stop statements.
std::string LeafUpdates(refhost::Model const& model, OnePassSettings const& settings) {
  TreeOut_800::RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  std::string script;
  for (tree_800::PrefixNodeIterator it(model.GetTree().GetRoot()); it.HasMore();) {
    tree_800::Node const* node = it.Next();
    if (node->GetNumChildren() > 0) continue;
    TreeOut_800::RulesNodeSelection selection;
    auto const numbered = settings.fnNodeNumbers.find(node);
    selection.AddNode(node, numbered == settings.fnNodeNumbers.end()
                                ? static_cast<int>(node->GetId())
                                : numbered->second);
    script += adapter.ExportRules(Options(0, 1), selection).Str() + "\n";
  }
  return script + OnePassWriter(&model.GetTree(), &model.GetMetadata())
                      .ExportStopStatements(Options(0, 1), settings)
                      .Str();
}

class OnePassSql : public testing::TestWithParam<EngineKind> {};

// Every built model under every combination of settings in SQLite; in the
// other engines one combination per model, which SQLite also runs as leaf
// updates and stop statements.
TEST_P(OnePassSql, GivesEveryRecordTheHostsAnswer) {
  testsupport::Engine* engine = testsupport::EngineForTest(GetParam());
  if (engine == nullptr) return;
  auto const models = BuiltModels();
  int staged = 0;  // texts in inline stages
  for (std::size_t m = 0; m < models.size(); ++m) {
    refhost::Model const model = models[m]();
    Records const records = testsupport::ProbeRows(model, 400, static_cast<unsigned>(m), true);
    OnePassWriter const writer(&model.GetTree(), &model.GetMetadata());
    for (int combination = 0; combination < 4; ++combination) {
      if (GetParam() != EngineKind::kSqlite && combination != static_cast<int>(m % 4)) continue;
      OnePassSettings const settings = Settings(model, combination);
      auto const expected = onepasstest::HostOutcomes(model, records, settings,
                                                      onepasstest::BySettings(model, settings));
      for (int update : {0, 1}) {
        std::string const text = writer.ExportOnePass(Options(0, update), settings).Str();
        staged += text.find("stg_002(key_001) AS (SELECT CASE key_001") != std::string::npos;
        onepasstest::ExpectSameOutcomes(
            expected, onepasstest::EngineOutcomes(*engine, model, records, text, update != 0),
            records,
            engine->Name() + ", model " + std::to_string(m) + ", settings " +
                std::to_string(combination) + ":\n" + text);
        if (HasFailure()) return;
      }
      if (GetParam() != EngineKind::kSqlite || combination != static_cast<int>(m % 4)) continue;
      std::string const script = LeafUpdates(model, settings);
      // The leaves' statements write probabilities with six decimals.
      onepasstest::ExpectSameOutcomes(
          expected, onepasstest::EngineOutcomes(*engine, model, records, script, true), records,
          "leaf updates, model " + std::to_string(m) + ":\n" + script, 1e-6);
    }
  }
  EXPECT_GT(staged, 8);  // forced two-level stages split most trees
  // A chain of 20 stages is materialised.
  refhost::Model const chain = Chain(40);
  Records const records = testsupport::ProbeRows(chain, 100, 3, true);
  OnePassSettings settings;
  settings.fnMaxNesting = 2;
  std::string const text = OnePassWriter(&chain.GetTree(), &chain.GetMetadata())
                               .ExportOnePass(Options(0, 0), settings)
                               .Str();
  EXPECT_NE(text.find("stg_020(key_001) AS MATERIALIZED"), std::string::npos);
  onepasstest::ExpectSameOutcomes(
      onepasstest::HostOutcomes(chain, records, settings, onepasstest::BySettings(chain, settings)),
      onepasstest::EngineOutcomes(*engine, chain, records, text, false), records, text);
}

INSTANTIATE_TEST_SUITE_P(Engines, OnePassSql,
                         testing::Values(EngineKind::kSqlite, EngineKind::kPostgres,
                                         EngineKind::kDuckdb),
                         [](testing::TestParamInfo<EngineKind> const& info) {
                           return std::string(testsupport::EngineKindName(info.param));
                         });

// A chain of 100,000 levels: the text is made without recursion, in time
// linear in the depth, splits into stages and runs in SQLite. The cuts repeat
// every 100 levels: SQLite compiles each distinct number once and finds it
// again by a search through those before it, so 100,000 distinct cuts alone
// would take it minutes.
TEST(OnePassSqlite, HundredThousandLevelChainRunsInStages) {
  testsupport::Engine* engine = testsupport::EngineForTest(EngineKind::kSqlite);
  if (engine == nullptr) return;
  auto timed = [](refhost::Model const& model, OnePassSettings const& settings, double* seconds) {
    auto const start = std::chrono::steady_clock::now();
    std::string text = OnePassWriter(&model.GetTree(), &model.GetMetadata())
                           .ExportOnePass(Options(0, 0), settings)
                           .Str();
    *seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return text;
  };
  OnePassSettings const settings;
  refhost::Model const small = Chain(10000);
  refhost::Model const model = Chain(100000);
  double smallSeconds = 0, seconds = 0;
  std::string const smallText = timed(small, settings, &smallSeconds);
  std::string const text = timed(model, settings, &seconds);
  EXPECT_LT(text.size(), 11 * smallText.size());
  EXPECT_LT(seconds, 30 * smallSeconds + 1.0) << smallSeconds << " s for 10,000 levels";
  EXPECT_NE(text.find("stg_1000(key_001) AS MATERIALIZED (SELECT CASE key_001"), std::string::npos);
  Records const records = {{0.5, Variant()},     {Variant(), Variant()}, {70000.0, Variant()},
                           {99999.5, Variant()}, {1e9, Variant()},       {-1.0, Variant()}};
  onepasstest::ExpectSameOutcomes(
      onepasstest::HostOutcomes(model, records, settings, onepasstest::BySettings(model, settings)),
      onepasstest::EngineOutcomes(*engine, model, records, text, false), records, "the chain");
}

// A host operation that throws part-way reaches the caller; everything the
// writer obtained from the host is released, and the same writer then writes
// what a fresh one does.
TEST(OnePassWriter, HostFaultsPassThroughAndNothingLeaks) {
  refhost::Model const model = onepasstest::RandomModel(5, 0);
  OnePassSettings settings;
  settings.fnStopMissing = TreeOut_800::STOP_NO_PREDICTION;
  auto write = [&](OnePassWriter const& writer) {
    return writer.ExportOnePass(Options(0, 0), settings).Str() +
           writer.ExportStopStatements(Options(1, 1), settings).Str();
  };
  std::string const expected = write(OnePassWriter(&model.GetTree(), &model.GetMetadata()));
  int faults = 0;
  for (char const* operation : {"GetSplitRule", "GetSurrogate", "GetMappedValues", "GetIterator",
                                "Next", "Decode", "GetItems", "Format", "EncodedValues"}) {
    for (long nth = 1;; ++nth) {
      long const before = refhost::LiveObjects();
      bool fired = false;
      {
        OnePassWriter const writer(&model.GetTree(), &model.GetMetadata());
        {
          refhost::FaultGuard const guard(operation, nth);
          try {
            write(writer);
          } catch (std::runtime_error const&) {
          }
          fired = refhost::FaultFired();
        }
        EXPECT_EQ(write(writer), expected) << operation << " call " << nth;
      }
      EXPECT_EQ(refhost::LiveObjects(), before) << operation << " call " << nth;
      if (!fired) break;
      ++faults;
    }
  }
  EXPECT_GT(faults, 100);
}

}  // namespace
