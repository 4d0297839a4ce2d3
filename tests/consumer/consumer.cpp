// Uses the public classes as a host application would: rule text for one
// leaf and the score of one record.
#include <cstdio>
#include <memory>
#include <string>

#include "output/rulesoutputadapter.h"
#include "refhost/builder.h"
#include "refhost/records.h"
#include "ruletext/ruleexportoptions.h"
#include "scoring/rulefactory.h"
#include "selection/rulesnodeselection.h"

int main() {
  refhost::ModelBuilder b;
  int const age = b.Scale("age");
  b.ClassTarget("risk", {"low", "high"});
  b.Node(0).SplitOrdinal(age, {30.0}).Children({1, 2});
  b.Node(1).Predict(1, {0.9, 0.1});
  b.Node(2).Predict(2, {0.2, 0.8});
  refhost::Model model = b.Build();

  TreeOut_800::RulesOutputAdapter adapter(&model.GetTree(), &model.GetMetadata());
  TreeOut_800::RulesNodeSelection selection;
  selection.AddNode(model.Find(2), 2);
  TreeOut_800::RuleExportOptions options;
  std::string const text = adapter.ExportRules(options, selection).Str();

  std::unique_ptr<TreeOut_800::RecordClassifier> classifier(
      TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetTree(), &model.GetMetadata()));
  unsigned int const node = classifier->Score(refhost::MakeRecord({45.0, "low"}))->GetId();

  std::printf("%s\nnode %u\n", text.c_str(), node);
  return text.rfind("SELECT * FROM <TABLE>", 0) == 0 && node == 2 ? 0 : 1;
}
