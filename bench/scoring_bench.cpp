// Record scoring throughput, with a count of heap allocations per record: a
// complete tree of depth 12 over 20 variables (10 numeric, 10 categorical),
// scikit-learn's deep tree of the shared models (TREEOUT_MODELS names their
// folder) and the Audit tree, each over records built beforehand.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "bench/alloccount.h"
#include "cli/csvreader.h"
#include "cli/recordreader.h"
#include "refhost/builder.h"
#include "refhost/pmml/pmmlmodel.h"
#include "refhost/records.h"
#include "scoring/rulefactory.h"

namespace {

using Classifier = std::unique_ptr<TreeOut_800::RecordClassifier>;

Classifier MakeClassifier(refhost::Model const& model) {
  return Classifier(
      TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetTree(), &model.GetMetadata()));
}

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

// Scores the records one at a time, round and round.
void ScoreEach(benchmark::State& state, TreeOut_800::RecordClassifier const& classifier,
               std::vector<refhost::Record> const& records) {
  std::size_t i = 0;
  long const before = AllocationCount();
  for (auto _ : state) {
    benchmark::DoNotOptimize(classifier.Score(records[i]));
    if (++i == records.size()) i = 0;
  }
  long const allocations = AllocationCount() - before;
  state.SetItemsProcessed(state.iterations());
  state.counters["allocs_per_record"] =
      static_cast<double>(allocations) / static_cast<double>(state.iterations());
  state.counters["records_per_iteration"] = 1;
}

void BM_Score(benchmark::State& state) {
  refhost::Model model = DeepTree();
  ScoreEach(state, *MakeClassifier(model), Records(4096));
}
BENCHMARK(BM_Score);

// The records of a CSV file as the tool reads them for `model`.
std::vector<refhost::Record> ReadRecords(refhost::PmmlModel const& model, std::string const& path) {
  std::ifstream in(path);
  treeout_cli::CsvReader csv(in);
  std::vector<std::string> fields;
  std::vector<refhost::Record> records;
  if (!csv.Next(&fields)) return records;
  treeout_cli::RecordReader const reader(model, fields);
  while (csv.Next(&fields)) {
    records.push_back(reader.Make(fields, static_cast<int>(records.size()) + 1));
  }
  return records;
}

std::string SharedModels() {
  char const* dir = std::getenv("TREEOUT_MODELS");
  return dir != nullptr ? dir : TREEOUT_SHARED_MODELS;
}

// A PMML model with records of a CSV file; `ok` is false when either is missing.
struct LoadedModel {
  explicit LoadedModel(std::string const& model, std::string const& data) {
    if (!std::ifstream(model) || !std::ifstream(data)) return;
    pmml.emplace(refhost::LoadPmmlFile(model));
    records = ReadRecords(*pmml, data);
    ok = !records.empty();
  }
  std::optional<refhost::PmmlModel> pmml;
  std::vector<refhost::Record> records;
  bool ok = false;
};

LoadedModel const& DeepModel() {
  static LoadedModel const loaded(SharedModels() + "/trained/sk_synth_deep_class/model.pmml",
                                  SharedModels() + "/trained/sk_synth_deep_class/data_20k.csv");
  return loaded;
}

LoadedModel const& AuditModel() {
  static LoadedModel const loaded(std::string(TREEOUT_TEST_DATA) + "/external/AuditTree.xml",
                                  std::string(TREEOUT_TEST_DATA) + "/external/Audit.csv");
  return loaded;
}

void BM_ScoreDeepTree(benchmark::State& state) {
  LoadedModel const& deep = DeepModel();
  if (!deep.ok) return state.SkipWithError("no sk_synth_deep_class: set TREEOUT_MODELS");
  ScoreEach(state, *MakeClassifier(deep.pmml->GetModel()), deep.records);
}
BENCHMARK(BM_ScoreDeepTree);

void BM_ScoreAudit(benchmark::State& state) {
  LoadedModel const& audit = AuditModel();
  if (!audit.ok) return state.SkipWithError("no Audit tree or records");
  ScoreEach(state, *MakeClassifier(audit.pmml->GetModel()), audit.records);
}
BENCHMARK(BM_ScoreAudit);

// ScoreBatch over all records at once; items are records.
void BM_ScoreBatchDeepTree(benchmark::State& state) {
  LoadedModel const& deep = DeepModel();
  if (!deep.ok) return state.SkipWithError("no sk_synth_deep_class: set TREEOUT_MODELS");
  Classifier const classifier = MakeClassifier(deep.pmml->GetModel());
  std::vector<tree_800::NodeImp const*> nodes(deep.records.size());
  long const before = AllocationCount();
  for (auto _ : state) {
    classifier->ScoreBatch(deep.records.data(), deep.records.size(), nodes.data());
    benchmark::DoNotOptimize(nodes.data());
  }
  long const allocations = AllocationCount() - before;
  double const records = static_cast<double>(state.iterations() * deep.records.size());
  state.SetItemsProcessed(static_cast<int64_t>(records));
  state.counters["allocs_per_record"] = static_cast<double>(allocations) / records;
  state.counters["records_per_iteration"] = static_cast<double>(deep.records.size());
}
BENCHMARK(BM_ScoreBatchDeepTree);

}  // namespace
