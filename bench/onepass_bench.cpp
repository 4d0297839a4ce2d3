// One-pass scoring text: bytes per node and time to write the SQL statement
// for random trees of 10^3, 10^4 and 10^5 nodes; and the one-pass SELECT run
// by SQLite over the first 20,000 records of the 11,999-node scikit-learn
// tree, against the library's scoring of the same records (the counter
// x_score is SQLite's time over the library's).
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "output/onepasswriter.h"
#include "refhost/builder.h"
#include "refhost/numbertext.h"
#include "refhost/pmml/pmmlmodel.h"
#include "scoring/rulefactory.h"

namespace {

using TreeOut_800::OnePassSettings;
using TreeOut_800::OnePassWriter;
using TreeOut_800::RuleExportOptions;

RuleExportOptions Options(int dialect) {
  RuleExportOptions options;
  options.fnDialect = dialect;
  options.fnNumberFormat = 1;
  return options;
}

// A random binary tree of `nodes` nodes over ten numbers, one of them with a
// user-missing value, thresholds of 17 digits, random depth.
refhost::Model RandomTree(unsigned int nodes) {
  refhost::ModelBuilder b;
  for (int v = 0; v < 10; ++v) {
    auto var = b.Scale("f" + std::to_string(v));
    if (v == 0) var.Missing({-99.0});
  }
  b.ClassTarget("y", {"a", "b", "c"});
  std::mt19937 random(nodes);
  std::uniform_real_distribution<double> cut(-3.0, 3.0);
  std::vector<unsigned int> open = {0};
  unsigned int next = 1;
  while (next + 1 < nodes && !open.empty()) {
    std::size_t const at = random() % open.size();
    unsigned int const id = open[at];
    open[at] = open.back();
    open.pop_back();
    b.Node(id)
        .SplitOrdinal(static_cast<int>(random() % 10), {cut(random)})
        .Children({next, next + 1});
    open.push_back(next++);
    open.push_back(next++);
  }
  for (unsigned int id = 0; id < next; ++id) {
    double const p = static_cast<double>(random() % 1000) / 997.0;
    b.Node(id).Predict(1 + static_cast<int>(random() % 3), {p / 2, p / 2, 1 - p});
  }
  return b.Build();
}

void BM_OnePassText(benchmark::State& state) {
  refhost::Model const model = RandomTree(static_cast<unsigned int>(state.range(0)));
  int const dialect = static_cast<int>(state.range(1));
  OnePassWriter const writer(&model.GetTree(), &model.GetMetadata());
  std::size_t bytes = 0;
  for (auto _ : state) {
    std::string const text = writer.ExportOnePass(Options(dialect), OnePassSettings()).Str();
    bytes = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(bytes) * state.iterations());
  state.counters["bytes_per_node"] =
      static_cast<double>(bytes) / static_cast<double>(state.range(0));
}
BENCHMARK(BM_OnePassText)
    ->ArgsProduct({{1000, 10000, 100000}, {0, 1, 2}})
    ->ArgNames({"nodes", "dialect"})
    ->Unit(benchmark::kMillisecond);

struct DeepTree {
  refhost::PmmlModel pmml;
  std::vector<std::vector<double>> rows;  // the predictors of each record
  std::vector<refhost::Record> records;
};

// The shared model corpus: $TREEOUT_MODELS, else ../shared/models beside the
// source tree.
std::string DeepTreeFolder() {
  char const* models = std::getenv("TREEOUT_MODELS");
  return std::string(models != nullptr ? models : TREEOUT_SHARED_MODELS) +
         "/trained/sk_synth_deep_class";
}

DeepTree LoadDeepTree() {
  std::string const folder = DeepTreeFolder();
  DeepTree tree{refhost::LoadPmmlFile(folder + "/model.pmml"), {}, {}};
  std::ifstream in(folder + "/data_20k.csv");
  std::string line;
  std::getline(in, line);  // f00, ..., f09, y: the model's variables in order
  while (std::getline(in, line)) {
    std::stringstream fields(line);
    std::vector<double> values;
    std::vector<mdt_800::Variant> variants;
    for (std::string field; std::getline(fields, field, ',') && values.size() < 10;) {
      values.push_back(refhost::ParseDouble(field).value());
      variants.emplace_back(values.back());
    }
    variants.emplace_back();  // the target
    tree.rows.push_back(values);
    tree.records.push_back(refhost::MakeRecord(variants));
  }
  return tree;
}

double ScoreSeconds(DeepTree const& tree) {
  refhost::Model const& model = tree.pmml.GetModel();
  std::unique_ptr<TreeOut_800::RecordClassifier> const classifier(
      TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetTree(), &model.GetMetadata()));
  double best = 1e9;
  for (int run = 0; run < 5; ++run) {
    auto const start = std::chrono::steady_clock::now();
    for (auto const& record : tree.records) benchmark::DoNotOptimize(classifier->Score(record));
    best = std::min(
        best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  return best;
}

void BM_OnePassSqliteDeepTree(benchmark::State& state) {
  if (!std::ifstream(DeepTreeFolder() + "/model.pmml")) {
    state.SkipWithError("no model corpus: set TREEOUT_MODELS to the shared models folder");
    return;
  }
  DeepTree const tree = LoadDeepTree();
  refhost::Model const& model = tree.pmml.GetModel();
  std::string text = OnePassWriter(&model.GetTree(), &model.GetMetadata())
                         .ExportOnePass(Options(0), OnePassSettings())
                         .Str();
  text.replace(text.find("<TABLE>"), 7, "records");
  sqlite3* db = nullptr;
  sqlite3_open(":memory:", &db);
  sqlite3_exec(db,
               "CREATE TABLE records (f00 REAL, f01 REAL, f02 REAL, f03 REAL, f04 REAL, "
               "f05 REAL, f06 REAL, f07 REAL, f08 REAL, f09 REAL)",
               nullptr, nullptr, nullptr);
  sqlite3_stmt* insert = nullptr;
  sqlite3_prepare_v2(db, "INSERT INTO records VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)", -1, &insert,
                     nullptr);
  sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
  for (auto const& row : tree.rows) {
    for (int i = 0; i < 10; ++i)
      sqlite3_bind_double(insert, i + 1, row[static_cast<std::size_t>(i)]);
    sqlite3_step(insert);
    sqlite3_reset(insert);
  }
  sqlite3_finalize(insert);
  sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);

  double const scoreSeconds = ScoreSeconds(tree);
  double prepareSeconds = 0;
  double totalSeconds = 0;
  long rows = 0;
  for (auto _ : state) {
    auto const start = std::chrono::steady_clock::now();
    sqlite3_stmt* select = nullptr;
    if (sqlite3_prepare_v2(db, text.c_str(), -1, &select, nullptr) != SQLITE_OK) {
      state.SkipWithError(sqlite3_errmsg(db));
      break;
    }
    prepareSeconds +=
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    rows = 0;
    while (sqlite3_step(select) == SQLITE_ROW) ++rows;
    sqlite3_finalize(select);
    totalSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
  sqlite3_close(db);
  state.SetItemsProcessed(rows * state.iterations());
  state.counters["score_ms"] = scoreSeconds * 1e3;
  state.counters["prepare_ms"] = prepareSeconds * 1e3 / static_cast<double>(state.iterations());
  state.counters["x_score"] = totalSeconds / static_cast<double>(state.iterations()) / scoreSeconds;
}
BENCHMARK(BM_OnePassSqliteDeepTree)->Unit(benchmark::kMillisecond);

}  // namespace
