// PMML loading: the largest model of the test data, and generated trees of
// 10^3 and 10^4 nodes (binary splits with one surrogate and class
// distributions on every node, as rpart writes them).
#include <fstream>
#include <sstream>
#include <string>

#include <benchmark/benchmark.h>

#include "refhost/pmml/pmmlmodel.h"

namespace {

std::string ReadFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

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

void Load(benchmark::State& state, std::string const& text) {
  std::size_t nodes = 0;
  for (auto _ : state) {
    refhost::PmmlModel model = refhost::LoadPmml(text);
    nodes = model.GetModel().GetTree().Size();
    benchmark::DoNotOptimize(nodes);
  }
  state.counters["nodes"] = static_cast<double>(nodes);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void BM_PmmlLoadLargestTestModel(benchmark::State& state) {
  Load(state, ReadFile(std::string(TREEOUT_TEST_DATA) + "/trained/rpart_cu_class/model.pmml"));
}
BENCHMARK(BM_PmmlLoadLargestTestModel)->Unit(benchmark::kMillisecond);

void BM_PmmlLoadGenerated(benchmark::State& state) {
  Load(state, GeneratedDocument(static_cast<int>(state.range(0))));
}
BENCHMARK(BM_PmmlLoadGenerated)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
