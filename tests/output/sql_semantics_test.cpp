// The SELECT that ExportRules writes, run by SQLite over every combination of
// probe values (missing, user-missing, unknown categories, values on the cuts),
// returns exactly the records whose path through the tree (as the classifier
// drops them) passes through one of the selected nodes.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "../support/sqliterecords.h"
#include "outputmodels.h"
#include "refhost/records.h"
#include "scoring/rulefactory.h"

namespace {

using refhost::Split;
using TreeOut_800::RulesNodeSelection;
using TreeOut_800::RulesOutputAdapter;
using Variant = mdt_800::Variant;
using Node = tree_800::Node;

// Every combination of the probe values of the rich model's predictors; a
// Variant without content is a missing value; the target is missing.
std::vector<std::vector<Variant>> AllValues() {
  Variant const none;
  std::vector<std::vector<Variant>> const pools = {
      {none, 999.0, -5.0, 29.9, 30.0, 30.000001, 45.0, 50.0, 50.5, 69.0, 70.0, 70.5, 90.0},
      {none, 9.0, 1.0, 2.0, 3.0, 4.0, 5.0, 7.0},
      {none, "red", "green", "blue", "other", "purple"},
      {none, "S", "M", "L", "XL", "XXL"},
      {none, -1.0, -2.0, -0.5, 0.0, 999.99, 1000.0, 1000.5, 2500.0, 2500.01, 5000.0, 7000.0},
  };
  std::vector<std::vector<Variant>> all;
  std::vector<std::size_t> at(pools.size(), 0);
  for (std::size_t v = 0; v < pools.size();) {
    std::vector<Variant> values;
    for (std::size_t p = 0; p < pools.size(); ++p) values.push_back(pools[p][at[p]]);
    values.push_back(none);
    all.push_back(values);
    for (v = 0; v < pools.size() && ++at[v] == pools[v].size(); ++v) at[v] = 0;
  }
  return all;
}

std::string Describe(std::vector<Variant> const& values) {
  std::string text;
  for (Variant const& value : values) {
    text += value.GetType() == Variant::TYPE_STRING ? static_cast<std::string const&>(value)
            : value.GetType() == Variant::TYPE_NONE ? std::string("(missing)")
                                                    : std::to_string(static_cast<double>(value));
    text += " ";
  }
  return text;
}

// Every leaf alone and some random selections of several nodes of `model`,
// over all probe records or `sample` of them.
void CheckModel(refhost::Model const& model, unsigned seed, std::size_t sample = 0) {
  std::mt19937 random(seed);
  std::vector<std::vector<Variant>> values = AllValues();
  if (sample != 0) {
    std::shuffle(values.begin(), values.end(), random);
    values.resize(sample);
  }
  testsupport::SqliteRecords table(model.GetMetadata().GetVariables());
  std::unique_ptr<TreeOut_800::RecordClassifier> const classifier(
      TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetTree(), &model.GetMetadata()));
  std::vector<std::set<Node const*>> paths;  // the nodes each record's path passes through
  for (auto const& record : values) {
    table.Insert(record);
    paths.emplace_back();
    for (Node const* n = classifier->Score(refhost::MakeRecord(record)); n; n = n->GetParent()) {
      paths.back().insert(n);
    }
  }
  std::vector<std::vector<Node const*>> selections;
  std::vector<Node const*> all;
  for (tree_800::PrefixNodeIterator it(model.GetTree().GetRoot()); it.HasMore();) {
    all.push_back(it.Next());
    if (all.back()->GetNumChildren() <= 0) selections.push_back({all.back()});
  }
  for (int i = 0; i < 8; ++i) {
    std::shuffle(all.begin(), all.end(), random);
    selections.emplace_back(all.begin(),
                            all.begin() + std::min<std::size_t>(2 + i % 3, all.size()));
  }
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  for (int numberFormat : {1, 0}) {
    for (auto const& nodes : selections) {
      RulesNodeSelection selection;
      for (Node const* node : nodes) selection.AddNode(node, 1);
      std::string const sql =
          outputtest::Export(adapter, outputtest::Options(0, 0, 0, numberFormat), selection);
      std::string where = "1";
      if (sql != "SELECT * FROM <TABLE>;") {
        ASSERT_EQ(sql.rfind("SELECT * FROM <TABLE>\nWHERE ", 0), 0u) << sql;
        where = sql.substr(27, sql.size() - 28);
      }
      std::vector<int> const selected = table.Select(where);
      // Complete sibling sets merge into their parent: the records meant are
      // those that pass through one of the synchronised selection's nodes.
      selection.Synchronize(&model.GetTree());
      std::vector<int> expected;
      for (std::size_t r = 0; r < values.size(); ++r) {
        for (auto const& entry : selection.EnumerateNodes()) {
          if (paths[r].count(entry.first) != 0) {
            expected.push_back(static_cast<int>(r));
            break;
          }
        }
      }
      if (selected == expected) continue;
      std::vector<int> differ;
      std::set_symmetric_difference(selected.begin(), selected.end(), expected.begin(),
                                    expected.end(), std::back_inserter(differ));
      FAIL() << "number format " << numberFormat << ", first node " << nodes.front()->GetId()
             << ":\n"
             << sql << "\nfirst record only one side selects: " << Describe(values[differ[0]])
             << (std::binary_search(selected.begin(), selected.end(), differ[0]) ? "(by SQL)"
                                                                                 : "(by the tree)");
    }
  }
}

TEST(WholePathSql, SelectsWhatTheTreeRoutesOnTheRichTree) {
  CheckModel(outputtest::RichModel(), 1);
}

// Random trees over the rich model's variables: every split kind, 0 to 2
// surrogates or a missing-value child, random default children.
refhost::Model RandomModel(unsigned seed) {
  std::mt19937 random(seed);
  auto pick = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };
  refhost::ModelBuilder b;
  b.Scale("age").Missing({999.0});
  b.Nominal("region", {1L, 2L, 3L, 4L, 5L}).Missing({9L});
  b.Nominal("color", {"red", "green", "blue", "other"});
  b.OrderedCategories("size", {"S", "M", "L", "XL"});
  b.Scale("income").MissingRange(-1e9, -1.0);
  b.ClassTarget("risk", {"low", "high"});
  // A split of `variable` into `children` children.
  auto split = [&](int variable, int children) {
    if (variable == 0 || variable == 4 || variable == 3) {
      std::vector<double> pool = variable == 0   ? std::vector<double>{20, 30, 45, 50, 70}
                                 : variable == 4 ? std::vector<double>{0, 1000, 2500, 5000}
                                                 : std::vector<double>{0, 1, 2};
      std::shuffle(pool.begin(), pool.end(), random);
      pool.resize(children - 1);
      std::sort(pool.begin(), pool.end());
      if (variable != 3) return Split::Cuts(variable, pool);
      std::vector<Variant> sizes;
      for (double rank : pool) sizes.push_back(std::string(1, "SML"[static_cast<int>(rank)]));
      return Split::CategoryCuts(variable, sizes);
    }
    std::vector<std::vector<int>> perChild(children);
    for (int code = 1; code <= (variable == 1 ? 5 : 4); ++code) {
      perChild[code <= children ? code - 1 : pick(children)].push_back(code);
    }
    return Split::Codes(variable, perChild);
  };
  unsigned int nextId = 1;
  std::vector<std::pair<unsigned int, int>> open = {{0, 0}};  // (id, depth)
  while (!open.empty()) {
    auto const [id, depth] = open.back();
    open.pop_back();
    b.Node(id).Predict(1 + pick(2), {0.5, 0.5});
    if (depth >= 4 || (depth > 0 && pick(4) == 0)) continue;
    int const children = 2 + pick(2);
    int const primary = pick(5);
    Split first = split(primary, children);
    bool const missingChild = pick(3) == 0;
    if (missingChild) first.Missing(pick(children));
    refhost::NodeSpec& node = b.Node(id).SplitBy(first);
    // Surrogates beside a missing-value child would never be asked.
    for (int s = missingChild ? 3 : 1 + pick(3); s < 3; ++s) {
      node.Surrogate(split((primary + 1 + pick(4)) % 5, children));
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

TEST(WholePathSql, SelectsWhatTheTreeRoutesOnRandomTrees) {
  for (unsigned seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    CheckModel(RandomModel(seed), seed, 4000);
    if (HasFatalFailure()) return;
  }
}

}  // namespace
