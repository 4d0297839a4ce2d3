// A chain of 100,000 levels loads from a file (read in blocks, so tokens
// cross block ends) without recursion, routes records to its deepest node,
// and loads in time linear in its depth.
#include <chrono>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "refhost/pmml/pmmlmodel.h"
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

double LoadSeconds(std::string const& path) {
  auto const start = std::chrono::steady_clock::now();
  refhost::PmmlModel const model = refhost::LoadPmmlFile(path);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(DeepTrees, AChainOf100000LevelsLoads) {
  int const depth = 100000;
  std::string const path = ::testing::TempDir() + "/chain.pmml";
  std::string const text = Chain(depth);
  std::ofstream(path) << text;
  refhost::PmmlModel const model = refhost::LoadPmmlFile(path);
  refhost::Model const& m = model.GetModel();
  EXPECT_EQ(m.GetTree().Size(), 2u * depth + 1);
  auto const route = [&](double x) {
    return m.Route(refhost::MakeRecord({mdt_800::Variant(x), mdt_800::Variant()}));
  };
  EXPECT_EQ(route(0.5), 1u);                      // the first leaf
  EXPECT_EQ(route(depth - 0.5), 2u * depth - 1);  // the last leaf
  EXPECT_EQ(route(depth), 2u * depth);            // the deepest inner node's other child
  // The file read in blocks gives the tree that the whole text gives.
  refhost::PmmlModel const fromText = refhost::LoadPmml(text);
  EXPECT_EQ(fromText.GetModel().GetTree().Size(), m.GetTree().Size());
  EXPECT_EQ(fromText.GetModel().Route(
                refhost::MakeRecord({mdt_800::Variant(77777.5), mdt_800::Variant()})),
            route(77777.5));
}

TEST(DeepTrees, LoadTimeGrowsLinearlyWithDepth) {
  std::string const small = ::testing::TempDir() + "/chain_small.pmml";
  std::string const large = ::testing::TempDir() + "/chain_large.pmml";
  std::ofstream(small) << Chain(5000);
  std::ofstream(large) << Chain(50000);
  double bestSmall = 1e9;
  double bestLarge = 1e9;
  for (int i = 0; i < 3; ++i) {
    bestSmall = std::min(bestSmall, LoadSeconds(small));
    bestLarge = std::min(bestLarge, LoadSeconds(large));
  }
  // Ten times the depth: about ten times the time, well under a hundred.
  EXPECT_LT(bestLarge, 30 * bestSmall) << bestSmall << " s and " << bestLarge << " s";
}

}  // namespace
