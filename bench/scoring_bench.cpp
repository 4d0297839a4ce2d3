// Record scoring throughput on a complete tree of depth 12 over 20 variables
// (10 numeric, 10 categorical), with a count of heap allocations per record.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/alloccount.h"
#include "refhost/builder.h"
#include "refhost/records.h"
#include "scoring/rulefactory.h"

namespace {

constexpr int kDepth = 12;
constexpr int kVariables = 20;
std::vector<mdt_800::Variant> const kCategories = {"a", "b", "c", "d", "e", "f"};

// Node ids in heap order: node n has children 2n + 1 and 2n + 2. Even
// variables are numeric, odd ones categorical.
refhost::Model DeepTree() {
  refhost::ModelBuilder b;
  for (int v = 0; v < kVariables; ++v) {
    if (v % 2 == 0) {
      b.Scale("x" + std::to_string(v));
    } else {
      b.Nominal("c" + std::to_string(v), kCategories);
    }
  }
  std::mt19937 rng(12);
  unsigned int const inner = (1u << kDepth) - 1;
  for (unsigned int n = 0; n < inner; ++n) {
    int const v = static_cast<int>(rng() % kVariables);
    refhost::NodeSpec& node = b.Node(n);
    if (v % 2 == 0) {
      node.SplitOrdinal(v, {static_cast<double>(rng() % 100)});
    } else {
      node.SplitCodes(v, {{1, 2, 3}, {4, 5, 6}});
    }
    node.Surrogate(refhost::Split::Cuts((v + 2) % kVariables & ~1, {50.0})).DefaultChild(0);
    node.Children({2 * n + 1, 2 * n + 2});
  }
  return b.Build();
}

std::vector<refhost::Record> Records(int count) {
  std::mt19937 rng(34);
  std::vector<refhost::Record> records;
  for (int r = 0; r < count; ++r) {
    std::vector<mdt_800::Variant> values;
    for (int v = 0; v < kVariables; ++v) {
      if (rng() % 20 == 0) {
        values.emplace_back();  // missing: surrogates and default children are used
      } else if (v % 2 == 0) {
        values.emplace_back(static_cast<double>(rng() % 100));
      } else {
        values.push_back(kCategories[rng() % kCategories.size()]);
      }
    }
    records.push_back(refhost::MakeRecord(values));
  }
  return records;
}

void BM_Score(benchmark::State& state) {
  refhost::Model model = DeepTree();
  std::vector<refhost::Record> const records = Records(4096);
  std::unique_ptr<TreeOut_800::RecordClassifier> classifier(
      TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetTree(), &model.GetMetadata()));
  std::size_t i = 0;
  long const before = AllocationCount();
  for (auto _ : state) {
    benchmark::DoNotOptimize(classifier->Score(records[i]));
    i = (i + 1) % records.size();
  }
  long const allocations = AllocationCount() - before;
  state.SetItemsProcessed(state.iterations());
  state.counters["allocs_per_record"] =
      static_cast<double>(allocations) / static_cast<double>(state.iterations());
}
BENCHMARK(BM_Score);

}  // namespace
