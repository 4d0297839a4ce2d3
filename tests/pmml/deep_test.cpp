// A chain of 100,000 levels loads from a file (read in blocks, so tokens
// cross block ends) without recursion, routes records to its deepest node,
// and loads in time linear in its depth.
#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "pmmlcheck.h"
#include "refhost/records.h"

namespace {

// Node k (k = 0 .. depth - 1) sends x < k + 1 to a leaf and the rest on.
std::string Chain(int depth) {
  std::ostringstream out;
  out << R"(<PMML version="4.4"><DataDictionary><DataField name="x" optype="continuous" dataType="double"/>)"
      << R"(<DataField name="y" optype="categorical" dataType="string"><Value value="a"/><Value value="b"/></DataField>)"
      << R"(</DataDictionary><TreeModel functionName="classification"><MiningSchema><MiningField name="x"/><MiningField name="y" usageType="target"/></MiningSchema>)"
      << "\n";
  out << R"(<Node id="0" score="a"><True/>)"
      << "\n";
  for (int k = 0; k < depth; ++k) {
    out << "<Node id=\"" << 2 * k + 1
        << R"(" score="a"><SimplePredicate field="x" operator="lessThan" value=")" << k + 1
        << "\"/></Node>\n";
    out << "<Node id=\"" << 2 * k + 2
        << R"(" score="b"><SimplePredicate field="x" operator="greaterOrEqual" value=")" << k + 1
        << "\"/>\n";
  }
  for (int k = 0; k < depth; ++k) out << "</Node>";
  out << "</Node></TreeModel></PMML>\n";
  return out.str();
}

double LoadSeconds(std::string const& path, int depth) {
  std::ofstream(path) << Chain(depth);
  double best = 1e9;
  for (int i = 0; i < 3; ++i) {
    auto const start = std::chrono::steady_clock::now();
    refhost::PmmlModel const model = refhost::LoadPmmlFile(path);
    best = std::min(
        best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  return best;
}

TEST(DeepTrees, AChainOf100000LevelsLoadsInLinearTime) {
  int const depth = 100000;
  std::string const path = pmmltest::TempPath("chain.pmml");
  std::string const text = Chain(depth);
  std::ofstream(path) << text;
  refhost::PmmlModel const model = refhost::LoadPmmlFile(path);
  refhost::Model const& m = model.GetModel();
  EXPECT_EQ(m.GetTree().Size(), 2u * depth + 1);
  auto const route = [&](refhost::Model const& tree, double x) {
    return tree.Route(refhost::MakeRecord({mdt_800::Variant(x), mdt_800::Variant()}));
  };
  EXPECT_EQ(route(m, 0.5), 1u);                      // the first leaf
  EXPECT_EQ(route(m, depth - 0.5), 2u * depth - 1);  // the last leaf
  EXPECT_EQ(route(m, depth), 2u * depth);            // the deepest inner node's other child
  // The file read in blocks gives the tree that the whole text gives.
  refhost::PmmlModel const fromText = refhost::LoadPmml(text);
  EXPECT_EQ(fromText.GetModel().GetTree().Size(), m.GetTree().Size());
  EXPECT_EQ(route(fromText.GetModel(), 77777.5), route(m, 77777.5));
  // Ten times the depth: about ten times the time, well under a hundred.
  double const small = LoadSeconds(path, 5000);
  double const large = LoadSeconds(path, 50000);
  EXPECT_LT(large, 30 * small) << small << " s and " << large << " s";
  std::remove(path.c_str());
}

}  // namespace
