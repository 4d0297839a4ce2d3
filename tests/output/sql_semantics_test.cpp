// Whole-path SQL means what the tree does: the SELECT that ExportRules writes
// for a node selection, run by SQLite over a table of records, returns exactly
// the records whose path through the tree (as the classifier drops them)
// passes through one of the selected nodes. Records probe missing values,
// user-missing values, unknown categories and values exactly on the cuts.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "output/rulesoutputadapter.h"
#include "outputmodels.h"
#include "refhost/records.h"
#include "scoring/rulefactory.h"

namespace {

using refhost::Split;
using TreeOut_800::RulesNodeSelection;
using TreeOut_800::RulesOutputAdapter;
using Variant = mdt_800::Variant;

// The record values tried for each variable of the rich model, in model
// order; a Variant without content is a missing value.
std::vector<std::vector<Variant>> ValuePools() {
  Variant const none;
  return {
      {none, 999.0, -5.0, 29.9, 30.0, 30.000001, 45.0, 50.0, 50.5, 69.0, 70.0, 70.5, 90.0},
      {none, 9.0, 1.0, 2.0, 3.0, 4.0, 5.0, 7.0},
      {none, "red", "green", "blue", "other", "purple"},
      {none, "S", "M", "L", "XL", "XXL"},
      {none, -1.0, -2.0, -0.5, 0.0, 999.99, 1000.0, 1000.5, 2500.0, 2500.01, 5000.0, 7000.0},
  };
}

std::vector<refhost::Record> AllRecords() {
  auto const pools = ValuePools();
  std::vector<refhost::Record> records;
  std::vector<std::size_t> at(pools.size(), 0);
  for (;;) {
    std::vector<Variant> values;
    for (std::size_t v = 0; v < pools.size(); ++v) values.push_back(pools[v][at[v]]);
    values.push_back(Variant());  // the target
    records.push_back(refhost::MakeRecord(values));
    std::size_t v = 0;
    while (v < pools.size() && ++at[v] == pools[v].size()) at[v++] = 0;
    if (v == pools.size()) return records;
  }
}

// An in-memory SQLite table `records` with column `id` and one column per
// predictor of the rich model.
class RecordTable {
 public:
  explicit RecordTable(std::vector<refhost::Record> const& records) {
    sqlite3_open(":memory:", &fnDb);
    Exec(
        "CREATE TABLE records (id INTEGER, age REAL, region REAL, color TEXT, size TEXT, "
        "income REAL)");
    Exec("BEGIN");
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(fnDb, "INSERT INTO records VALUES (?, ?, ?, ?, ?, ?)", -1, &insert, nullptr);
    for (std::size_t i = 0; i < records.size(); ++i) {
      sqlite3_bind_int64(insert, 1, static_cast<sqlite3_int64>(i));
      for (int v = 0; v < 5; ++v) {
        Variant const& value = records[i][v + 1];
        if (value.GetType() == Variant::TYPE_STRING) {
          sqlite3_bind_text(insert, v + 2, static_cast<std::string const&>(value).c_str(), -1,
                            SQLITE_TRANSIENT);
        } else if (value.GetType() == Variant::TYPE_NONE) {
          sqlite3_bind_null(insert, v + 2);
        } else {
          sqlite3_bind_double(insert, v + 2, static_cast<double>(value));
        }
      }
      sqlite3_step(insert);
      sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    Exec("COMMIT");
  }
  ~RecordTable() { sqlite3_close(fnDb); }
  RecordTable(RecordTable const&) = delete;
  RecordTable& operator=(RecordTable const&) = delete;

  // The ids of the rows that a "SELECT * FROM <TABLE> ..." statement returns;
  // an SQL error is returned in `error`.
  std::set<long> Select(std::string statement, std::string* error) const {
    statement.replace(statement.find("<TABLE>"), 7, "records");
    std::set<long> ids;
    sqlite3_stmt* query = nullptr;
    if (sqlite3_prepare_v2(fnDb, statement.c_str(), -1, &query, nullptr) != SQLITE_OK) {
      *error = sqlite3_errmsg(fnDb);
      return ids;
    }
    while (sqlite3_step(query) == SQLITE_ROW) ids.insert(sqlite3_column_int64(query, 0));
    sqlite3_finalize(query);
    return ids;
  }

 private:
  void Exec(char const* sql) { sqlite3_exec(fnDb, sql, nullptr, nullptr, nullptr); }
  sqlite3* fnDb = nullptr;
};

// For each record, the nodes its path passes through: where the classifier
// stops it, and that node's ancestors.
std::vector<std::set<tree_800::Node const*>> Paths(refhost::Model const& model,
                                                   std::vector<refhost::Record> const& records) {
  std::unique_ptr<TreeOut_800::RecordClassifier> const classifier(
      TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetTree(), &model.GetMetadata()));
  std::vector<std::set<tree_800::Node const*>> paths;
  for (refhost::Record const& record : records) {
    std::set<tree_800::Node const*> path;
    for (tree_800::Node const* node = classifier->Score(record); node != nullptr;
         node = node->GetParent()) {
      path.insert(node);
    }
    paths.push_back(std::move(path));
  }
  return paths;
}

std::vector<tree_800::Node const*> Leaves(tree_800::Node const* node) {
  if (node->GetNumChildren() <= 0) return {node};
  std::vector<tree_800::Node const*> leaves;
  for (int i = 0; i < node->GetNumChildren(); ++i) {
    auto const below = Leaves(node->GetChild(i));
    leaves.insert(leaves.end(), below.begin(), below.end());
  }
  return leaves;
}

std::string Text(Variant const& value) {
  switch (value.GetType()) {
    case Variant::TYPE_STRING:
      return "'" + static_cast<std::string const&>(value) + "'";
    case Variant::TYPE_NONE:
      return "(missing)";
    default:
      return std::to_string(static_cast<double>(value));
  }
}

// The first records that only one side selects, with their values and the
// node where the classifier stops them.
std::string Differences(std::set<long> const& selected, std::set<long> const& expected,
                        std::vector<refhost::Record> const& records,
                        std::vector<std::set<tree_800::Node const*>> const& paths) {
  std::string text;
  int shown = 0;
  for (std::size_t r = 0; r < records.size() && shown < 6; ++r) {
    bool const bySql = selected.count(static_cast<long>(r)) != 0;
    if (bySql == (expected.count(static_cast<long>(r)) != 0)) continue;
    ++shown;
    text += bySql ? "selected, not routed there:" : "routed there, not selected:";
    for (int v = 1; v <= 5; ++v) text += " " + Text(records[r][v]);
    unsigned int deepest = 0;
    std::size_t depth = 0;
    for (auto const* node : paths[r]) {
      std::size_t d = 0;
      for (auto const* p = node; p != nullptr; p = p->GetParent()) ++d;
      if (d > depth) {
        depth = d;
        deepest = node->GetId();
      }
    }
    text += " -> node " + std::to_string(deepest) + "\n";
  }
  return text;
}

// Checks every leaf alone, and some selections of several nodes, of `model`
// over every combination of the probe values, or over `sample` of them.
void CheckModel(refhost::Model const& model, unsigned seed, std::size_t sample = 0) {
  std::vector<refhost::Record> records = AllRecords();
  std::mt19937 random(seed);
  if (sample != 0) {
    std::shuffle(records.begin(), records.end(), random);
    records.resize(sample);
  }
  RecordTable const table(records);
  auto const paths = Paths(model, records);
  RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());

  std::vector<std::vector<tree_800::Node const*>> selections;
  for (tree_800::Node const* leaf : Leaves(model.GetTree().GetRoot())) selections.push_back({leaf});
  std::vector<tree_800::Node const*> all;
  for (tree_800::PrefixNodeIterator it(model.GetTree().GetRoot()); it.HasMore();)
    all.push_back(it.Next());
  for (int i = 0; i < 8; ++i) {
    std::shuffle(all.begin(), all.end(), random);
    selections.emplace_back(all.begin(), all.begin() + 2 + i % 3);
  }

  for (int numberFormat : {1, 0}) {
    for (auto const& nodes : selections) {
      RulesNodeSelection selection;
      for (tree_800::Node const* node : nodes) selection.AddNode(node, 1);
      std::string const sql =
          adapter.ExportRules(outputtest::Options(0, 0, 0, numberFormat), selection).Str();
      std::string error;
      std::set<long> const selected = table.Select(sql, &error);
      ASSERT_EQ(error, "") << sql;
      // The selection merges complete sibling sets into their parent: the
      // records meant are those that pass through one of its own nodes.
      selection.Synchronize(&model.GetTree());
      std::set<long> expected;
      for (std::size_t r = 0; r < records.size(); ++r) {
        auto const& entries = selection.EnumerateNodes();
        bool const reaches = std::any_of(entries.begin(), entries.end(), [&](auto const& entry) {
          return paths[r].count(entry.first) != 0;
        });
        if (reaches) expected.insert(static_cast<long>(r));
      }
      ASSERT_EQ(selected, expected)
          << "number format " << numberFormat << ", first node " << nodes.front()->GetId() << ":\n"
          << sql << "\n"
          << Differences(selected, expected, records, paths);
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
    switch (variable) {
      case 0:
      case 4: {
        std::vector<double> pool = variable == 0 ? std::vector<double>{20, 30, 45, 50, 70}
                                                 : std::vector<double>{0, 1000, 2500, 5000};
        std::shuffle(pool.begin(), pool.end(), random);
        pool.resize(children - 1);
        std::sort(pool.begin(), pool.end());
        return Split::Cuts(variable, pool);
      }
      case 3: {
        std::vector<Variant> pool = {"S", "M", "L"};
        std::shuffle(pool.begin(), pool.end(), random);
        pool.resize(children - 1);
        std::sort(pool.begin(), pool.end(), [](Variant const& a, Variant const& b) {
          auto rank = [](Variant const& v) {
            return std::string("SML").find(static_cast<std::string const&>(v)[0]);
          };
          return rank(a) < rank(b);
        });
        return Split::CategoryCuts(variable, pool);
      }
      default: {
        int const codes = variable == 1 ? 5 : 4;
        std::vector<std::vector<int>> perChild(children);
        for (int code = 1; code <= codes; ++code) {
          perChild[code <= children ? code - 1 : pick(children)].push_back(code);
        }
        return Split::Codes(variable, perChild);
      }
    }
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
    // The text of a chain whose primary split has a missing-value child does
    // not say what the tree does with records that the surrogates would
    // place; such nodes get no surrogates here.
    int const surrogates = missingChild ? 0 : pick(3);
    for (int s = 0; s < surrogates; ++s) {
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
