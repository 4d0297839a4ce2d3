// Rule-text throughput: one ExportRules call per leaf of a random tree of
// 10^5 nodes whose splits each carry two surrogates (update statements, each
// dialect), on a fresh adapter and on one that has made every edge's text
// before, and the VELD line wrapper on 1 to 10 MB of VELD text, with its
// cost against the text's length.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "output/linewrap.h"
#include "output/rulesoutputadapter.h"
#include "refhost/builder.h"

namespace {

using TreeOut_800::RuleExportOptions;
using TreeOut_800::RulesNodeSelection;
using TreeOut_800::RulesOutputAdapter;

constexpr unsigned int kNodes = 100000;

// Six predictors of every kind the translator knows: scale with and without
// user-missing values, numeric and string nominal, ordered strings.
refhost::Model BigTree() {
  refhost::ModelBuilder b;
  b.Scale("age").Missing({999.0});
  b.Scale("income").MissingRange(-1e9, -1.0);
  b.Nominal("region", {1L, 2L, 3L, 4L, 5L, 6L}).Missing({9L});
  b.Nominal("color", {"red", "green", "blue", "black", "white", "other"});
  b.OrderedCategories("size", {"XS", "S", "M", "L", "XL", "XXL"});
  b.Scale("score");
  b.ClassTarget("risk", {"low", "mid", "high"});

  std::mt19937 random(2017);
  auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  auto split = [&](int variable, int children) {
    switch (variable) {
      case 0:
      case 1:
      case 5: {
        std::set<double> cuts;
        while (static_cast<int>(cuts.size()) < children - 1) cuts.insert(pick(10000) / 100.0);
        return refhost::Split::Cuts(variable, {cuts.begin(), cuts.end()});
      }
      case 4: {
        std::vector<mdt_800::Variant> const levels = {"S", "M", "L", "XL"};
        int const first = pick(4 - (children - 1) + 1);
        return refhost::Split::CategoryCuts(
            variable, {levels.begin() + first, levels.begin() + first + children - 1});
      }
      default: {
        std::vector<std::vector<int>> codes(children);
        for (int code = 1; code <= 6; ++code) {
          codes[code <= children ? code - 1 : pick(children)].push_back(code);
        }
        return refhost::Split::Codes(variable, codes);
      }
    }
  };

  unsigned int next = 1;
  for (unsigned int id = 0; id < next && next < kNodes; ++id) {
    int const children = pick(4) == 0 ? 3 : 2;
    int const primary = pick(6);
    refhost::NodeSpec& node = b.Node(id).SplitBy(split(primary, children));
    node.Surrogate(split((primary + 1 + pick(5)) % 6, children));
    node.Surrogate(split((primary + 1 + pick(5)) % 6, children));
    node.DefaultChild(pick(children));
    std::vector<unsigned int> ids;
    for (int c = 0; c < children; ++c) ids.push_back(next++);
    node.Children(ids);
  }
  for (unsigned int id = 0; id < next; ++id) b.Node(id).Predict(1 + pick(3), {0.5, 0.3, 0.2});
  return b.Build();
}

struct Fixture {
  refhost::Model model = BigTree();
  std::vector<RulesNodeSelection> leaves;  // one selection per leaf

  Fixture() {
    for (tree_800::PrefixNodeIterator it(model.GetTree().GetRoot()); it.HasMore();) {
      tree_800::Node const* node = it.Next();
      if (node->GetNumChildren() > 0) continue;
      leaves.emplace_back();
      leaves.back().AddNode(node, static_cast<int>(node->GetId()));
    }
  }
};

Fixture const& Big() {
  static Fixture const fixture;
  return fixture;
}

// One pass: an update statement for every leaf, on a fresh adapter (so the
// pass includes building every node's chain once).
void BM_ExportEveryLeaf(benchmark::State& state) {
  Fixture const& f = Big();
  RuleExportOptions options;
  options.fnDialect = static_cast<int>(state.range(0));
  options.fnUpdateMode = 1;
  options.fnNumberFormat = 1;
  std::size_t bytes = 0;
  for (auto _ : state) {
    RulesOutputAdapter const adapter(&f.model.GetTree(), &f.model.GetMetadata());
    for (RulesNodeSelection const& leaf : f.leaves) {
      bytes += adapter.ExportRules(options, leaf).Str().size();
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * f.leaves.size()));
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
  state.counters["leaves"] = static_cast<double>(f.leaves.size());
  state.counters["MB_per_pass"] =
      static_cast<double>(bytes) / 1e6 / static_cast<double>(state.iterations());
}
BENCHMARK(BM_ExportEveryLeaf)
    ->ArgName("dialect")
    ->Arg(0)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);

// The same on one adapter that has written every edge before: what the
// statements cost once each edge's text is made.
void BM_ExportEveryLeafWarm(benchmark::State& state) {
  Fixture const& f = Big();
  RuleExportOptions options;
  options.fnDialect = static_cast<int>(state.range(0));
  options.fnUpdateMode = 1;
  options.fnNumberFormat = 1;
  RulesOutputAdapter const adapter(&f.model.GetTree(), &f.model.GetMetadata());
  for (RulesNodeSelection const& leaf : f.leaves) adapter.ExportRules(options, leaf);
  std::size_t bytes = 0;
  for (auto _ : state) {
    for (RulesNodeSelection const& leaf : f.leaves) {
      bytes += adapter.ExportRules(options, leaf).Str().size();
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * f.leaves.size()));
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
}
BENCHMARK(BM_ExportEveryLeafWarm)
    ->ArgName("dialect")
    ->Arg(0)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);

// `megabytes` of unwrapped VELD filter statements for leaves of the big tree.
std::string VeldText(std::size_t megabytes) {
  static std::string const pool = [] {
    Fixture const& f = Big();
    RulesOutputAdapter const adapter(&f.model.GetTree(), &f.model.GetMetadata());
    RuleExportOptions options;
    options.fnDialect = TreeOut_800::DIALECT_VELD;
    std::string text;
    for (std::size_t i = 0; text.size() < (10u << 20); i += 7) {
      RulesNodeSelection const& leaf = f.leaves[i % f.leaves.size()];
      RulesNodeSelection synchronised = leaf;
      synchronised.Synchronize(&f.model.GetTree());
      std::set<tree_800::Node const*> active;
      adapter.ActivatePath(synchronised.EnumerateNodes().front().first, &active);
      text += adapter.ExportVELDSelect(
          adapter.ExportActiveSubtree(options, f.model.GetTree().GetRoot(), active), leaf);
    }
    return text;
  }();
  return pool.substr(0, megabytes << 20);
}

void BM_WrapString(benchmark::State& state) {
  std::string const text = VeldText(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(TreeOut_800::WrapString(text, 256));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
  state.SetComplexityN(static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_WrapString)
    ->ArgName("MB")
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->Arg(8)
    ->Arg(10)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

}  // namespace
