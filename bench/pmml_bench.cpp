// PMML loading: generated trees of 10^3, 10^4 and 10^5 nodes (binary splits
// with one surrogate and class distributions on every node, as rpart writes
// them), and scikit-learn's deep tree of the shared models (TREEOUT_MODELS
// names their folder) beside pugixml parsing the same file alone. Counters:
// nodes per second, and the peak heap the load adds per node (measured once,
// outside the timed loop).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include "bench/alloccount.h"
#include "refhost/pmml/pmmlmodel.h"

namespace {

std::string ReadFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string SharedModels() {
  char const* dir = std::getenv("TREEOUT_MODELS");
  return dir != nullptr ? dir : TREEOUT_SHARED_MODELS;
}

std::string DeepModel() { return SharedModels() + "/trained/sk_synth_deep_class/model.pmml"; }

// A complete binary tree of at least `nodes` nodes over four continuous fields.
std::string GeneratedDocument(int nodes) {
  std::ostringstream out;
  out << R"(<?xml version="1.0"?><PMML version="4.4" xmlns="http://www.dmg.org/PMML-4_4">)"
      << "<DataDictionary>";
  for (int f = 0; f < 4; ++f)
    out << "<DataField name=\"x" << f << R"(" optype="continuous" dataType="double"/>)";
  out << R"(<DataField name="y" optype="categorical" dataType="string"><Value value="a"/><Value value="b"/></DataField>)"
      << "</DataDictionary>"
      << R"(<TreeModel functionName="classification" missingValueStrategy="defaultChild"><MiningSchema>)";
  for (int f = 0; f < 4; ++f) out << "<MiningField name=\"x" << f << "\"/>";
  out << R"(<MiningField name="y" usageType="target"/></MiningSchema>)";
  int depth = 0;
  while ((2 << depth) - 1 < nodes) ++depth;  // levels 0..depth
  // Node ids as rpart numbers them: children of n are 2n and 2n + 1.
  struct Writer {
    std::ostringstream& out;
    int depth;
    void Node(long id, int level, bool left, int field, double cut) {
      out << "<Node id=\"" << id << "\" score=\"" << (id % 3 ? "a" : "b") << '"';
      if (level < depth) out << " defaultChild=\"" << 2 * id << '"';
      out << '>';
      if (level == 0) {
        out << "<True/>";
      } else {
        char const* op = left ? "lessThan" : "greaterOrEqual";
        out << R"(<CompoundPredicate booleanOperator="surrogate"><SimplePredicate field="x)"
            << field << "\" operator=\"" << op << "\" value=\"" << cut
            << "\"/><SimplePredicate field=\"x" << (field + 1) % 4 << "\" operator=\"" << op
            << "\" value=\"" << cut * 2 << "\"/></CompoundPredicate>";
      }
      out << R"(<ScoreDistribution value="a" recordCount=")" << 10 + id % 7
          << R"("/><ScoreDistribution value="b" recordCount=")" << 3 + id % 5 << "\"/>";
      if (level < depth) {
        Node(2 * id, level + 1, true, level % 4, id * 0.5);
        Node(2 * id + 1, level + 1, false, level % 4, id * 0.5);
      }
      out << "</Node>";
    }
  } writer{out, depth};
  writer.Node(1, 0, false, 0, 0);
  out << "</TreeModel></PMML>";
  return out.str();
}

// The heap that loading `path` adds at its peak (operator new's bytes, as
// the allocator rounds them).
double PeakLoadBytes(std::string const& path) {
  TrackBytes(true);
  {
    refhost::PmmlModel model = refhost::LoadPmmlFile(path);
    benchmark::DoNotOptimize(model);
  }
  double const peak = static_cast<double>(PeakBytes());
  TrackBytes(false);
  return peak;
}

void LoadFile(benchmark::State& state, std::string const& path) {
  if (!std::ifstream(path)) return state.SkipWithError(("no " + path).c_str());
  std::size_t nodes = 0;
  for (auto _ : state) {
    std::optional<refhost::PmmlModel> model(refhost::LoadPmmlFile(path));
    nodes = model->GetModel().GetTree().Size();
    state.PauseTiming();  // freeing the model is no part of loading it
    model.reset();
    state.ResumeTiming();
  }
  double const n = static_cast<double>(nodes);
  state.counters["nodes"] = n;
  state.counters["nodes_per_second"] =
      benchmark::Counter(n, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["peak_bytes_per_node"] = PeakLoadBytes(path) / n;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * ReadFile(path).size()));
}

void BM_PmmlLoadGenerated(benchmark::State& state) {
  std::string const path = "/tmp/treeout_bench_" + std::to_string(state.range(0)) + ".pmml";
  std::ofstream(path) << GeneratedDocument(static_cast<int>(state.range(0)));
  LoadFile(state, path);
  std::remove(path.c_str());
}
BENCHMARK(BM_PmmlLoadGenerated)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_PmmlLoadDeepTree(benchmark::State& state) { LoadFile(state, DeepModel()); }
BENCHMARK(BM_PmmlLoadDeepTree)->Unit(benchmark::kMillisecond);

// pugixml alone: reading the file and parsing it into its DOM.
void BM_PugixmlParseDeepTree(benchmark::State& state) {
  std::string const path = DeepModel();
  if (!std::ifstream(path)) return state.SkipWithError("no deep tree: set TREEOUT_MODELS");
  for (auto _ : state) {
    pugi::xml_document document;
    pugi::xml_parse_result const parsed = document.load_file(path.c_str());
    benchmark::DoNotOptimize(parsed);
  }
}
BENCHMARK(BM_PugixmlParseDeepTree)->Unit(benchmark::kMillisecond);

}  // namespace
