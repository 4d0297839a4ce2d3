// The SELECT that ExportRules writes, run by SQLite (always), PostgreSQL and
// DuckDB (when they start) over probe records, returns exactly the records
// whose path through the tree, as the classifier drops them, passes through
// one of the selected nodes. Probes sit on every cut (17-digit ones too) and
// carry NULLs, user-missing values, unseen categories, quotes and dates.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "engines.h"
#include "host/format.h"
#include "outputmodels.h"
#include "refhost/dates.h"
#include "refhost/records.h"
#include "scoring/rulefactory.h"

namespace {

using refhost::Range;
using refhost::Split;
using testsupport::EngineKind;
using Variant = mdt_800::Variant;
using Node = tree_800::Node;

double const kLow = std::nextafter(-std::numeric_limits<double>::max(), 0.0);
double const kOdd = 2.4511689320206642e-2;  // needs 17 digits, as do kLow and 0.1 + 0.2
double Day(char const* iso) { return refhost::DateNumberFromIso(iso); }

// Cut points per variable of the random trees, and probe values per variable
// name: every cut, its neighbours, missing and user-missing values.
std::vector<double> Cuts(std::string const& name) {
  if (name == "age") return {20, 30, 45, 50, 70, 80};
  if (name == "income") return {0, 1000, 2500, 5000, 6000};
  if (name == "visit") return {Day("2000-01-01"), Day("2010-06-15"), Day("2017-10-21")};
  return {kLow, 1e-300, kOdd, 0.1 + 0.2, 10, 25};
}
std::vector<Variant> Probes(std::string const& name) {
  Variant const null;
  if (name == "region") return {null, 9.0, 1.0, 2.0, 3.0, 4.0, 5.0, 7.0};
  if (name == "color") return {null, "red", "green", "blue", "other", "it's", "say \"no\"", "mars"};
  if (name == "size") return {null, "S", "M", "L", "XL", "XXL"};
  // Bins are written by their ends, which a record on a child's boundary
  // crosses (see the edge texts): the probes stay off the bin cuts.
  if (name == "bins") return {null, 0.0, 17.99, 18.01, 64.99, 65.01, 90.0};
  std::vector<Variant> probes = {null};
  if (name == "age") probes.insert(probes.end(), {999.0, 96.9, 97.0, 97.5, 98.0, 98.1, 90.0});
  if (name == "income") probes.insert(probes.end(), {-1e9, -2.0, -1.0, -0.5, 2000.0});
  if (name == "visit") probes.push_back(Day("1999-12-31"));
  if (name == "score") probes.insert(probes.end(), {2e-300, 5.0, 15.0, 20.0});
  if (name == "risk") return probes;
  for (double cut : Cuts(name)) {
    // Dates are written to the second: their neighbours are a second away.
    double const step = name == "visit" ? 1 : 0;
    for (double near : {step ? cut - step : std::nextafter(cut, -INFINITY), cut,
                        step ? cut + step : std::nextafter(cut, INFINITY)}) {
      probes.push_back(near == -std::numeric_limits<double>::max() ? cut : near);
    }
    if (name == "age" || name == "income") probes.push_back(cut + 0.5);
  }
  return probes;
}

// A random tree over every kind of predictor: 0 to 2 surrogates or a
// missing-value child, random default children (or none, so that records stop
// at inner nodes), single children, children no value reaches, categories and
// ranges that no child takes.
refhost::Model RandomModel(unsigned seed) {
  std::mt19937 random(seed);
  auto pick = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };
  refhost::ModelBuilder b;
  std::vector<std::string> names;
  auto add = [&](refhost::VarRef ref, char const* name) {
    names.push_back(name);
    return ref;
  };
  add(b.Scale("age"), "age").Missing({999.0}).MissingRange(97, 98);
  add(b.Nominal("region", {1L, 2L, 3L, 4L, 5L}), "region").Missing({9L});
  add(b.Nominal("color", {"red", "green", "blue", "it's", "say \"no\""}), "color");
  add(b.OrderedCategories("size", {"S", "M", "L", "XL"}), "size");
  add(b.Scale("income"), "income").MissingRange(-1e9, -1.0);
  add(b.Scale("score"), "score");
  add(b.Scale("visit"), "visit").Date();
  add(b.Binned("bins", {18, 65}), "bins");
  b.ClassTarget("risk", {"low", "high"});
  auto split = [&](int variable, int children) {
    std::string const& name = names[variable];
    if (name == "region" || name == "color") {
      // Each child its own first code, the rest at random, some to no child.
      std::vector<std::vector<int>> perChild(children);
      for (int code = 1; code <= 5; ++code) {
        int const to = code <= children && pick(5) != 0 ? code - 1 : pick(children + 1);
        if (to < children) perChild[to].push_back(code);
      }
      return Split::Codes(variable, perChild);
    }
    bool const coded = name == "size" || name == "bins";
    // Codes that exist: a range's end on no code decodes to nothing useful.
    std::vector<double> ends = name == "size"   ? std::vector<double>{1, 2, 3, 4}
                               : name == "bins" ? std::vector<double>{1, 2, 3}
                                                : Cuts(name);
    std::shuffle(ends.begin(), ends.end(), random);
    if (pick(3) == 0 && 2 * children <= static_cast<int>(ends.size())) {
      // Ranges with room between them, some reaching nothing: (a, b] on codes
      // and on variables with user-missing values.
      bool const halfOpen = coded || name == "age" || name == "income";
      ends.resize(2 * children);
      std::sort(ends.begin(), ends.end());
      std::vector<Range> ranges;
      for (int c = 0; c < children; ++c) {
        ranges.push_back(pick(6) == 0 ? Range::Between(0, true, 0, false)
                                      : Range::Between(ends[2 * c], halfOpen || pick(2) == 0,
                                                       ends[2 * c + 1], !halfOpen && pick(2) == 0));
      }
      return Split::Ranges(variable, ranges);
    }
    if (name == "size") {
      std::vector<Variant> cuts = {"S", "M", "L"};
      std::shuffle(cuts.begin(), cuts.end(), random);
      cuts.resize(children - 1);
      std::sort(cuts.begin(), cuts.end(), [](Variant const& a, Variant const& c) {
        return std::string("SML").find(static_cast<std::string const&>(a)[0]) <
               std::string("SML").find(static_cast<std::string const&>(c)[0]);
      });
      return Split::CategoryCuts(variable, cuts);
    }
    if (coded) ends = {1, 2};
    ends.resize(children - 1);
    std::sort(ends.begin(), ends.end());
    return Split::Cuts(variable, ends);
  };
  int const predictors = static_cast<int>(names.size());
  unsigned int nextId = 1;
  std::vector<std::pair<unsigned int, int>> open = {{0, 0}};  // (id, depth)
  while (!open.empty()) {
    auto const [id, depth] = open.back();
    open.pop_back();
    b.Node(id).Predict(1 + pick(2), {0.5, 0.5});
    if (depth >= 4 || (depth > 0 && pick(4) == 0)) continue;
    int const children = pick(5) == 0 ? 1 : 2 + pick(2);
    int const primary = pick(predictors);
    Split first = split(primary, children);
    bool const missingChild = pick(3) == 0;
    if (missingChild) first.Missing(pick(children));
    refhost::NodeSpec& node = b.Node(id).SplitBy(first);
    // Surrogates beside a missing-value child would never be asked.
    for (int s = missingChild ? 3 : 1 + pick(3); s < 3; ++s) {
      node.Surrogate(split((primary + 1 + pick(predictors - 1)) % predictors, children));
    }
    if (pick(3) != 0) node.DefaultChild(pick(children));
    std::vector<unsigned int> ids;
    for (int c = 0; c < children; ++c) {
      ids.push_back(nextId);
      open.push_back({nextId++, depth + 1});
    }
    node.Children(ids);
  }
  return b.Build();
}

// Selections to check: every leaf alone (every node of a small tree), each
// inner node's children together (a complete sibling set) and all but the
// last of them, and random sets of several nodes.
std::vector<std::vector<Node const*>> Selections(refhost::Model const& model,
                                                 std::mt19937& random) {
  std::vector<std::vector<Node const*>> selections;
  std::vector<Node const*> all;
  for (tree_800::PrefixNodeIterator it(model.GetTree().GetRoot()); it.HasMore();) {
    all.push_back(it.Next());
  }
  for (Node const* node : all) {
    int const n = node->GetNumChildren();
    if (n <= 0 || all.size() <= 15) selections.push_back({node});
    if (n <= 0 || random() % 2 != 0) continue;
    std::vector<Node const*> children;
    for (int i = 0; i < n; ++i) children.push_back(node->GetChild(i));
    selections.push_back(children);
    if (n >= 2) selections.emplace_back(children.begin(), children.end() - 1);
  }
  for (int i = 0; i < 8; ++i) {
    std::shuffle(all.begin(), all.end(), random);
    selections.emplace_back(all.begin(),
                            all.begin() + std::min<std::size_t>(2 + i % 3, all.size()));
  }
  return selections;
}

// Loads `records` probe records of `model` into the engine and checks the
// SELECT of every selection against the classifier's paths.
void CheckModel(testsupport::Engine& engine, refhost::Model const& model, unsigned seed,
                std::size_t records) {
  std::mt19937 random(seed);
  std::vector<testsupport::Column> columns;
  std::vector<std::vector<Variant>> pools;
  for (mdt_800::Variable const& v : model.GetMetadata().GetVariables()) {
    bool const text = v.GetStorageType() == mdt_800::Variable::STORAGE_STRING || v.IsDate();
    columns.push_back(
        {v.GetName(), text ? testsupport::Column::kText : testsupport::Column::kDouble});
    pools.push_back(Probes(v.GetName()));
  }
  std::unique_ptr<TreeOut_800::RecordClassifier> const classifier(
      TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetTree(), &model.GetMetadata()));
  std::vector<testsupport::Row> rows;
  std::vector<std::set<Node const*>> paths;  // the nodes each record's path passes through
  for (std::size_t r = 0; r < records; ++r) {
    std::vector<Variant> values;
    rows.emplace_back();
    for (std::size_t v = 0; v < pools.size(); ++v) {
      values.push_back(pools[v][random() % pools[v].size()]);
      Variant const& value = values.back();
      if (value.GetType() == Variant::TYPE_STRING) {
        rows.back().push_back(static_cast<std::string const&>(value));
      } else if (value.GetType() == Variant::TYPE_NONE) {
        rows.back().push_back(std::monostate());
      } else if (model.GetMetadata().GetVariables()[v].IsDate()) {
        rows.back().push_back(atg_800::FormatRulesDate(static_cast<double>(value), true));
      } else {
        rows.back().push_back(static_cast<double>(value));
      }
    }
    paths.emplace_back();
    for (Node const* n = classifier->Score(refhost::MakeRecord(values)); n; n = n->GetParent()) {
      paths.back().insert(n);
    }
  }
  engine.Load("records", columns, rows);
  TreeOut_800::RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  for (auto const& nodes : Selections(model, random)) {
    TreeOut_800::RulesNodeSelection selection;
    for (Node const* node : nodes) selection.AddNode(node, 1);
    std::string sql = outputtest::Export(adapter, outputtest::Options(0, 0, 0, 1), selection);
    sql.replace(sql.find("<TABLE>"), 7, "records");
    std::vector<long> expected;
    for (std::size_t r = 0; r < rows.size(); ++r) {
      if (std::any_of(nodes.begin(), nodes.end(),
                      [&](Node const* node) { return paths[r].count(node) != 0; })) {
        expected.push_back(static_cast<long>(r));
      }
    }
    std::vector<long> const selected = engine.SelectIds(sql);
    if (selected == expected) continue;
    std::vector<long> differ;
    std::set_symmetric_difference(selected.begin(), selected.end(), expected.begin(),
                                  expected.end(), std::back_inserter(differ));
    std::string record;
    for (auto const& cell : rows[differ[0]]) record += testsupport::CellText(cell) + " | ";
    FAIL() << nodes.size() << " nodes, first " << nodes.front()->GetId() << ":\n"
           << sql << "\nfirst record only "
           << (std::binary_search(selected.begin(), selected.end(), differ[0]) ? "SQL" : "the tree")
           << " selects: " << record;
  }
}

class SqlEngines : public testing::TestWithParam<EngineKind> {};

TEST_P(SqlEngines, SelectWhatTheTreeRoutes) {
  testsupport::Engine* engine = testsupport::EngineForTest(GetParam());
  if (engine == nullptr) return;
  {
    SCOPED_TRACE("rich tree");
    CheckModel(*engine, outputtest::RichModel(), 0, 4000);
  }
  for (unsigned seed = 1; seed <= 24 && !HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    CheckModel(*engine, RandomModel(seed), seed, 3000);
  }
}

INSTANTIATE_TEST_SUITE_P(All, SqlEngines,
                         testing::Values(EngineKind::kSqlite, EngineKind::kPostgres,
                                         EngineKind::kDuckdb),
                         [](auto const& info) { return testsupport::EngineKindName(info.param); });

}  // namespace
