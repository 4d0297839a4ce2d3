// Builds a small credit-risk tree with the reference host's builder, prints
// it, and scores a few records through the library's record classifier.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "refhost/builder.h"
#include "refhost/records.h"
#include "scoring/rulefactory.h"

namespace {

refhost::Model SampleModel() {
  refhost::ModelBuilder b;
  int const age = b.Scale("age").Label("Age in years");
  int const region = b.Nominal("region", {"north", "south", "east", "west"});
  int const income = b.Scale("income").Missing({99999.0});
  b.ClassTarget("risk", {"low", "high"});
  b.Node(0).SplitOrdinal(age, {30.0}).MissingChild(0).Children({1, 2});
  b.Node(1)
      .SplitNominal(region, {{"north", "east"}, {"south", "west"}})
      .Surrogate(refhost::Split::Cuts(income, {40000.0}))
      .DefaultChild(1)
      .Children({3, 4});
  b.Node(2).Predict(1, {0.85, 0.15});
  b.Node(3).Predict(1, {0.7, 0.3});
  b.Node(4).Predict(2, {0.25, 0.75});
  return b.Build();
}

// One line per node, indented by depth: id, what the node predicts.
void Print(tree_800::Node const* node, int depth) {
  std::string line(2 * depth, ' ');
  line += "node " + std::to_string(node->GetId());
  if (tree_800::ClassStatistics const* stats = node->GetClassStatistics(0)) {
    int const code = stats->GetPredictedCategory();
    line += "  predicts code " + std::to_string(code) +
            " (p = " + std::to_string(stats->GetProbability(code)) + ")";
  }
  std::printf("%s\n", line.c_str());
  for (int i = 0; i < node->GetNumChildren(); ++i) Print(node->GetChild(i), depth + 1);
}

}  // namespace

int main() {
  refhost::Model model = SampleModel();
  std::printf("Tree (root splits age at 30; node 1 splits region, income as surrogate):\n");
  Print(model.GetTree().GetRoot(), 1);

  std::unique_ptr<TreeOut_800::RecordClassifier> classifier(
      TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetTree(), &model.GetMetadata()));
  struct Sample {
    char const* what;
    std::vector<mdt_800::Variant> values;  // age, region, income, risk
  };
  Sample const samples[] = {
      {"age 25, north", {25.0, "north", 30000.0, mdt_800::Variant()}},
      {"age 25, west", {25.0, "west", 30000.0, mdt_800::Variant()}},
      {"age 45", {45.0, "south", 80000.0, mdt_800::Variant()}},
      {"age missing, region unknown, income 52000",
       {mdt_800::Variant(), "mars", 52000.0, mdt_800::Variant()}},
      {"age 25, region missing, income user-missing",
       {25.0, mdt_800::Variant(), 99999.0, mdt_800::Variant()}},
  };
  std::printf("\nScores:\n");
  for (Sample const& s : samples) {
    tree_800::NodeImp const* node = classifier->Score(refhost::MakeRecord(s.values));
    std::printf("  %-46s -> node %u\n", s.what, node->GetId());
  }
  return 0;
}
