// The SELECT that ExportRules writes, run by SQLite over every combination of
// probe values (missing, user-missing, unknown categories, values on the cuts),
// returns exactly the records whose path through the tree (as the classifier
// drops them) passes through one of the selected nodes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
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

using refhost::Range;
using refhost::Split;
using TreeOut_800::RulesNodeSelection;
using TreeOut_800::RulesOutputAdapter;
using Variant = mdt_800::Variant;
using Node = tree_800::Node;

// Probe values of the rich model's predictors (a Variant without content is
// a missing value), and of the random trees' extra predictor `score`: values
// on cuts whose exact text needs 17 digits, 1e-300 and the low value.
std::vector<std::vector<Variant>> Pools(bool withScore) {
  Variant const none;
  double const low = std::nextafter(-std::numeric_limits<double>::max(), 0.0);
  std::vector<std::vector<Variant>> pools = {
      {none, 999.0, -5.0, 29.9, 30.0, 30.000001, 45.0, 50.0, 50.5, 69.0, 70.0, 70.5, 90.0},
      {none, 9.0, 1.0, 2.0, 3.0, 4.0, 5.0, 7.0},
      {none, "red", "green", "blue", "other", "purple", "it's"},
      {none, "S", "M", "L", "XL", "XXL"},
      {none, -1.0, -2.0, -0.5, 0.0, 999.99, 1000.0, 1000.5, 2500.0, 2500.01, 5000.0, 7000.0},
      {none},  // the target
  };
  if (withScore) {
    pools.push_back({none, low, std::nextafter(low, 0.0), 0.0, 1e-300, 2e-300,
                     2.4511689320206642e-2, std::nextafter(2.4511689320206642e-2, 1.0),
                     0.30000000000000004, 0.3, 5.0, 10.0, 15.0, 20.0, 25.0});
  }
  return pools;
}

// Every combination of the pools' values, or `sample` records drawn at random.
std::vector<std::vector<Variant>> Records(std::vector<std::vector<Variant>> const& pools,
                                          std::size_t sample, std::mt19937& random) {
  std::vector<std::vector<Variant>> all;
  if (sample != 0) {
    for (std::size_t r = 0; r < sample; ++r) {
      all.emplace_back();
      for (auto const& pool : pools) all.back().push_back(pool[random() % pool.size()]);
    }
    return all;
  }
  std::vector<std::size_t> at(pools.size(), 0);
  for (std::size_t v = 0; v < pools.size();) {
    std::vector<Variant> values;
    for (std::size_t p = 0; p < pools.size(); ++p) values.push_back(pools[p][at[p]]);
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

// Selections of `model` to check: every leaf alone (every node of a small
// tree), each inner node's children together (a complete sibling set) and
// all but the last of them, and some random sets of several nodes.
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

// Each selection's SELECT, run by SQLite over the probe records, returns
// exactly the records whose path passes through one of the nodes asked for.
void CheckModel(refhost::Model const& model, unsigned seed, std::vector<int> const& numberFormats,
                std::size_t sample = 0) {
  std::mt19937 random(seed);
  bool const withScore = model.GetMetadata().GetVariables().size() > 6;
  std::vector<std::vector<Variant>> const values = Records(Pools(withScore), sample, random);
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
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
  for (int numberFormat : numberFormats) {
    for (auto const& nodes : Selections(model, random)) {
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
      std::vector<int> expected;
      for (std::size_t r = 0; r < values.size(); ++r) {
        if (std::any_of(nodes.begin(), nodes.end(),
                        [&](Node const* node) { return paths[r].count(node) != 0; })) {
          expected.push_back(static_cast<int>(r));
        }
      }
      if (selected == expected) continue;
      std::vector<int> differ;
      std::set_symmetric_difference(selected.begin(), selected.end(), expected.begin(),
                                    expected.end(), std::back_inserter(differ));
      FAIL() << "number format " << numberFormat << ", " << nodes.size() << " nodes, first "
             << nodes.front()->GetId() << ":\n"
             << sql << "\nfirst record only one side selects: " << Describe(values[differ[0]])
             << (std::binary_search(selected.begin(), selected.end(), differ[0]) ? "(by SQL)"
                                                                                 : "(by the tree)");
    }
  }
}

TEST(WholePathSql, SelectsWhatTheTreeRoutesOnTheRichTree) {
  CheckModel(outputtest::RichModel(), 1, {1, 0});
}

// Random trees over the rich model's variables and `score`: every split
// kind, 0 to 2 surrogates or a missing-value child, random default children
// (or none, so that records stop at inner nodes), single children, children
// that no value reaches, categories and ranges that no child takes, and cuts
// that need every digit.
refhost::Model RandomModel(unsigned seed) {
  std::mt19937 random(seed);
  auto pick = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };
  refhost::ModelBuilder b;
  b.Scale("age").Missing({999.0});
  b.Nominal("region", {1L, 2L, 3L, 4L, 5L}).Missing({9L});
  b.Nominal("color", {"red", "green", "blue", "it's"});
  b.OrderedCategories("size", {"S", "M", "L", "XL"});
  b.Scale("income").MissingRange(-1e9, -1.0);
  b.ClassTarget("risk", {"low", "high"});
  b.Scale("score");
  int const score = 6;
  // Ranges with room between them: (a, b] on the encoded age and income.
  auto gappy = [&](int variable, int children) {
    std::vector<double> ends = variable == 0   ? std::vector<double>{20, 30, 45, 50, 70, 80}
                               : variable == 4 ? std::vector<double>{0, 1000, 2500, 5000, 6000}
                                               : std::vector<double>{0, 1e-300, 5, 10, 20, 25};
    std::shuffle(ends.begin(), ends.end(), random);
    ends.resize(2 * children);
    std::sort(ends.begin(), ends.end());
    std::vector<Range> ranges;
    for (int c = 0; c < children; ++c) {
      bool const coded = variable != score;
      ranges.push_back(pick(6) == 0 ? Range::Between(0, true, 0, false)  // reaches nothing
                                    : Range::Between(ends[2 * c], coded || pick(2) == 0,
                                                     ends[2 * c + 1], !coded && pick(2) == 0));
    }
    return Split::Ranges(variable, ranges);
  };
  // A split of `variable` into `children` children.
  auto split = [&](int variable, int children) {
    if ((variable == 0 || variable == 4 || variable == score) && pick(3) == 0) {
      return gappy(variable, children);
    }
    if (variable == 0 || variable == 4 || variable == 3 || variable == score) {
      std::vector<double> pool =
          variable == 0   ? std::vector<double>{20, 30, 45, 50, 70}
          : variable == 4 ? std::vector<double>{0, 1000, 2500, 5000}
          : variable == 3
              ? std::vector<double>{0, 1, 2}
              : std::vector<double>{std::nextafter(-std::numeric_limits<double>::max(), 0.0),
                                    1e-300, 2.4511689320206642e-2, 0.30000000000000004, 10};
      std::shuffle(pool.begin(), pool.end(), random);
      pool.resize(children - 1);
      std::sort(pool.begin(), pool.end());
      if (variable != 3) return Split::Cuts(variable, pool);
      std::vector<Variant> sizes;
      for (double rank : pool) sizes.push_back(std::string(1, "SML"[static_cast<int>(rank)]));
      return Split::CategoryCuts(variable, sizes);
    }
    // Codes: each child its own first code, the rest at random, some to no child.
    std::vector<std::vector<int>> perChild(children);
    for (int code = 1; code <= (variable == 1 ? 5 : 4); ++code) {
      int const to = code <= children && pick(5) != 0 ? code - 1 : pick(children + 1);
      if (to < children) perChild[to].push_back(code);
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
    int const children = pick(5) == 0 ? 1 : 2 + pick(2);
    int const primary = pick(6) == 5 ? score : pick(5);
    Split first = split(primary, children);
    bool const missingChild = pick(3) == 0;
    if (missingChild) first.Missing(pick(children));
    refhost::NodeSpec& node = b.Node(id).SplitBy(first);
    // Surrogates beside a missing-value child would never be asked.
    for (int s = missingChild ? 3 : 1 + pick(3); s < 3; ++s) {
      int const other = (primary == score ? pick(5) : primary + 1 + pick(4)) % 5;
      node.Surrogate(split(pick(4) == 0 ? score : other, children));
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
  for (unsigned seed = 1; seed <= 24; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    CheckModel(RandomModel(seed), seed, {1}, 4000);
    if (HasFatalFailure()) return;
  }
}

}  // namespace
