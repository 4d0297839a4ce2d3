#include "outputmodels.h"

namespace outputtest {

using refhost::Split;

refhost::Model RegionModel() {
  refhost::ModelBuilder b;
  int const region = b.Nominal("region", {1L, 2L, 3L, 4L, 5L}).Missing({9L});
  b.ClassTarget("risk", {"low", "high"});
  b.Node(0).SplitCodes(region, {{1, 2}, {3}, {4, 5}}).MissingChild(2).Children({1, 2, 3});
  b.Node(0).Predict(1, {0.6, 0.4});
  b.Node(1).Predict(1, {0.8, 0.2});
  b.Node(2).Predict(2, {0.25, 0.75});
  b.Node(3).Predict(1, {0.5, 0.5});
  return b.Build();
}

refhost::Model CompositionModel() {
  refhost::ModelBuilder b;
  int const p = b.Nominal("p", {"a", "b", "c"});
  int const q = b.Nominal("q", {"d", "e"});
  int const r = b.Nominal("r", {"f", "g", "h"});
  b.ClassTarget("t", {"x", "y"});
  b.Node(0).SplitCodes(p, {{1}, {2}, {3}}).Children({1, 2, 5});
  b.Node(1).SplitCodes(q, {{1}, {2}}).Children({3, 4});
  b.Node(5).SplitCodes(r, {{1}, {2}, {3}}).Children({6, 7, 8});
  for (unsigned int id = 0; id <= 8; ++id) b.Node(id).Predict(1 + id % 2, {0.5, 0.5});
  return b.Build();
}

refhost::Model RichModel() {
  refhost::ModelBuilder b;
  int const age = b.Scale("age").Missing({999.0});
  int const region = b.Nominal("region", {1L, 2L, 3L, 4L, 5L}).Missing({9L});
  int const color = b.Nominal("color", {"red", "green", "blue", "other"});
  int const size = b.OrderedCategories("size", {"S", "M", "L", "XL"});
  int const income = b.Scale("income").MissingRange(-1e9, -1.0);
  b.ClassTarget("risk", {"low", "mid", "high"});
  b.Node(0)
      .SplitOrdinal(age, {30.0, 50.0})
      .Surrogate(Split::Codes(region, {{1, 2}, {3}, {4, 5}}))
      .Surrogate(Split::Nominal(color, {{"red"}, {"green", "blue"}, {"other"}}))
      .DefaultChild(1)
      .Children({1, 2, 3});
  b.Node(1)
      .SplitNominal(color, {{"red"}, {"green", "blue"}, {"other"}})
      .MissingChild(2)
      .Children({4, 5, 6});
  b.Node(2)
      .SplitBy(Split::CategoryCuts(size, {"M"}))
      .Surrogate(Split::Cuts(income, {2500.0}))
      .DefaultChild(0)
      .Children({7, 8});
  // No default child: a record that neither rule places stops here.
  b.Node(3)
      .SplitCodes(region, {{1, 2, 3}, {4, 5}})
      .Surrogate(Split::Cuts(age, {70.0}))
      .Children({9, 10});
  b.Node(5).SplitOrdinal(income, {1000.0, 5000.0}).MissingChild(0).Children({11, 12, 13});
  b.Node(8)
      .SplitBy(Split::CategoryCuts(size, {"L"}).Missing(1))
      .Surrogate(Split::Nominal(color, {{"red", "green"}, {"blue", "other"}}))
      .Children({14, 15});
  for (unsigned int id = 0; id <= 15; ++id) b.Node(id).Predict(1 + id % 3, {0.5, 0.3, 0.2});
  return b.Build();
}

refhost::Model ThreeLeaves(Target target) {
  refhost::ModelBuilder b;
  int const x = b.Nominal("x", {"a", "b", "c"});
  if (target == Target::kClass) b.ClassTarget("risk", {"low", "high"});
  if (target == Target::kValue) b.ContinuousTarget("amount");
  if (target == Target::kDate) b.ContinuousTarget("due").Date();
  b.Node(0).SplitCodes(x, {{1}, {2}, {3}}).Children({1, 2, 3});
  for (unsigned int id : {0u, 1u, 2u, 3u}) {
    bool const two = id == 2;
    if (target == Target::kClass)
      b.Node(id).Predict(two ? 2 : 1, {two ? 0.3 : 0.9, two ? 0.7 : 0.1});
    if (target == Target::kValue) b.Node(id).PredictValue(two ? 12.5 : 1.0);
    if (target == Target::kDate) b.Node(id).PredictValue(two ? 13727923200.0 : 0.0);
  }
  return b.Build();
}

TreeOut_800::RuleExportOptions Options(int dialect, int updateMode, int edgeMode,
                                       int numberFormat) {
  TreeOut_800::RuleExportOptions options;
  options.fnDialect = dialect;
  options.fnUpdateMode = updateMode;
  options.fnEdgeMode = edgeMode;
  options.fnNumberFormat = numberFormat;
  return options;
}

TreeOut_800::RulesNodeSelection Select(refhost::Model const& model,
                                       std::vector<unsigned int> const& ids) {
  TreeOut_800::RulesNodeSelection selection;
  for (unsigned int id : ids) selection.AddNode(model.Find(id), static_cast<int>(id));
  return selection;
}

std::string Export(TreeOut_800::RulesOutputAdapter const& adapter,
                   TreeOut_800::RuleExportOptions const& options,
                   TreeOut_800::RulesNodeSelection const& selection) {
  return adapter.ExportRules(options, selection).Str();
}

}  // namespace outputtest
