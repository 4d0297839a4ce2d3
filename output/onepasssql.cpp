// The SQL one-pass statement. A nested CASE mirrors the tree and yields, for
// each record, the key of its outcome (node i with its prediction: 2i; node i
// without prediction: 2i + 1). The keys index a VALUES table of node numbers,
// predictions and probabilities, joined once per record, so the tree's text
// is written once rather than once per output column. A tree deeper than one
// expression holds is scored in stages inside a scalar subquery: a chain of
// common table expressions, each carrying the key or, for the records that go
// deeper, the negative code of the node where they continue.
// Beyond CASE, comparisons, IS NULL, AND/OR/NOT, CTEs and VALUES the text uses
// only a LEFT JOIN, UPDATE ... FROM, CAST, LIMIT/OFFSET and MATERIALIZED, which
// SQLite (3.35 on), PostgreSQL (12 on) and DuckDB share. The first VALUES row
// casts its numbers to DOUBLE PRECISION so that every engine types the column
// as a double.
#include <utility>
#include <vector>

#include "host/format.h"
#include "output/onepasstext.h"

namespace TreeOut_800 {
namespace {

// The most stages written as inline subqueries.
constexpr std::size_t kMaxInlineStages = 16;

std::string Number(long value) { return atg_800::Format(value); }

std::string StageName(std::size_t stage) {
  std::string digits = Number(static_cast<long>(stage) + 1);
  if (digits.size() < 3) digits.insert(0, 3 - digits.size(), '0');
  return "stg_" + digits;
}

class SqlWriter {
 public:
  SqlWriter(OnePassPlan const& plan, OnePassStages const& stages)
      : fnPlan(plan),
        fnStages(stages),
        fnUsed(2 * plan.Entries().size(), false),
        fnCode(plan.Entries().size(), 0) {
    for (auto const& starts : stages.starts) {
      for (std::size_t k = 0; k < starts.size(); ++k) {
        fnCode[static_cast<std::size_t>(starts[k])] = -static_cast<int>(k) - 1;
      }
    }
  }

  // The expression that gives a record's outcome key.
  std::string KeyExpression() {
    if (!fnStages.staged) return Nest(0, 0);
    // Each stage stays a subquery of its own: merged into the next stage, its
    // whole expression would be copied into both places that read its key.
    // A short chain is fenced by "LIMIT 1 OFFSET 0" and runs inline; a long
    // one is materialised, as SQLite runs long chains of inline subqueries in
    // time that grows faster than their length.
    bool const inline_ = fnStages.starts.size() <= kMaxInlineStages;
    std::string const open =
        inline_ ? "(key_001) AS (SELECT " : "(key_001) AS MATERIALIZED (SELECT ";
    std::string const close = inline_ ? " LIMIT 1 OFFSET 0)" : ")";
    std::string text = "(WITH " + StageName(0) + open + Nest(0, 0) + close;
    for (std::size_t stage = 1; stage < fnStages.starts.size(); ++stage) {
      text += ",\n" + StageName(stage) + open + "CASE key_001";
      for (int start : fnStages.starts[stage]) {
        text += "\nWHEN " + Number(fnCode[static_cast<std::size_t>(start)]) + " THEN " +
                Nest(start, static_cast<int>(stage));
      }
      text += "\nELSE key_001 END FROM " + StageName(stage - 1) + close;
    }
    return text + "\nSELECT key_001 FROM " + StageName(fnStages.starts.size() - 1) + ")";
  }

  // The VALUES table of the outcomes that the key expression can give.
  std::string OutcomeTable() const {
    bool const classification = fnPlan.IsClassification();
    auto const& entries = fnPlan.Entries();
    bool const numeric = !entries.empty() && entries[0].node->GetValueStatistics(0) != nullptr &&
                         (entries[0].prediction.empty() || entries[0].prediction[0] != '\'');
    std::string text = "WITH out_001(key_001, nod_001, pre_001";
    text += classification ? ", prb_001) AS (VALUES" : ") AS (VALUES";
    bool first = true;
    for (std::size_t key = 0; key < fnUsed.size(); ++key) {
      if (!fnUsed[key]) continue;
      OnePassPlan::Entry const& entry = entries[key / 2];
      bool const none = key % 2 == 1;
      std::string prediction = none || entry.prediction.empty() ? "NULL" : entry.prediction;
      std::string probability = none ? "NULL" : entry.probability;
      if (first) {
        if (numeric) prediction = "CAST(" + prediction + " AS DOUBLE PRECISION)";
        probability = "CAST(" + probability + " AS DOUBLE PRECISION)";
      }
      text += first ? "\n(" : ",\n(";
      text += Number(static_cast<long>(key)) + ", " + Number(entry.number) + ", " + prediction;
      if (classification) text += ", " + probability;
      text += ")";
      first = false;
    }
    return text + ")\n";
  }

 private:
  std::string Key(std::size_t index, bool none) {
    std::size_t const key = 2 * index + (none ? 1 : 0);
    fnUsed[key] = true;
    return Number(static_cast<long>(key));
  }

  // The outcome of a record that no child of `index` takes.
  std::string StopKey(std::size_t index) {
    OnePassPlan::Entry const& entry = fnPlan.Entries()[index];
    if (entry.missing.empty()) return Key(index, fnPlan.StopsWithoutPrediction(false));
    return "CASE WHEN " + entry.missing + " THEN " +
           Key(index, fnPlan.StopsWithoutPrediction(true)) + " ELSE " +
           Key(index, fnPlan.StopsWithoutPrediction(false)) + " END";
  }

  // The nested CASE of the part of the subtree under `start` that `stage`
  // writes; nodes of a later stage give their continuation code. An explicit
  // stack of (node, next child) replaces recursion.
  std::string Nest(int start, int stage) {
    auto const& entries = fnPlan.Entries();
    if (entries[static_cast<std::size_t>(start)].children.empty()) {
      return Key(static_cast<std::size_t>(start), false);
    }
    std::string text = "CASE";
    std::vector<std::pair<std::size_t, std::size_t>> open = {{static_cast<std::size_t>(start), 0}};
    while (!open.empty()) {
      std::size_t const index = open.back().first;
      std::size_t const branch = open.back().second++;
      OnePassPlan::Entry const& entry = entries[index];
      if (branch == entry.children.size()) {
        text += "\nELSE " + StopKey(index) + " END";
        open.pop_back();
        continue;
      }
      std::size_t const child = static_cast<std::size_t>(entry.children[branch]);
      text += "\nWHEN " + entry.edges[branch] + " THEN ";
      if (fnStages.stageOf[child] != stage) {
        text += Number(fnCode[child]);
      } else if (entries[child].children.empty()) {
        text += Key(child, false);
      } else {
        text += "CASE";
        open.emplace_back(child, 0);
      }
    }
    return text;
  }

  OnePassPlan const& fnPlan;
  OnePassStages const& fnStages;
  std::vector<bool> fnUsed;  // the outcome keys written so far
  std::vector<int> fnCode;   // continuation code of each stage's start
};

}  // namespace

std::string OnePassSql(OnePassPlan const& plan, OnePassStages const& stages, bool update) {
  SqlWriter writer(plan, stages);
  std::string const key = writer.KeyExpression();
  std::string text = writer.OutcomeTable();
  bool const classification = plan.IsClassification();
  if (update) {
    text += "UPDATE <TABLE>\n\tSET nod_001 = out_001.nod_001,\tpre_001 = out_001.pre_001";
    if (classification) text += ",\tprb_001 = out_001.prb_001";
    return text + "\nFROM out_001\nWHERE out_001.key_001 = " + key + ";";
  }
  text += "SELECT tab_001.*, out_001.nod_001, out_001.pre_001";
  if (classification) text += ", out_001.prb_001";
  return text + "\nFROM <TABLE> AS tab_001 LEFT JOIN out_001 ON out_001.key_001 = " + key + ";";
}

}  // namespace TreeOut_800
