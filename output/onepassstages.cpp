// The room model: a nested CASE level costs about 5 parser entries in the
// THEN of its first WHEN and 7 in a later one; an edge costs what its
// brackets and pending operators hold at its deepest point. Budgets leave room for the statement
// around the expression (more for a later stage, which sits in a dispatch CASE inside a subquery)
// and a safety margin; they were measured against SQLite 3.40.
#include "output/onepassstages.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

namespace TreeOut_800 {
namespace {

constexpr int kSingleExpressionRoom = 78;
constexpr int kFirstStageRoom = 72;
constexpr int kLaterStageRoom = 62;

int BranchUnits(int branch) { return branch == 0 ? 5 : 7; }

// An estimate of the parser entries that the condition `text` holds at its
// deepest point: per open bracket one entry, two for each operator whose
// right side is still being read at that level (an OR, and an AND after it,
// as AND binds tighter), one for a NOT in front of a bracket, and three for
// the comparison being read. Quoted strings are skipped (a doubled quote stays
// inside its string).
int ConditionUnits(std::string const& text) {
  struct Level {
    int pending = 0;  // entries held by operators waiting for their right side
    bool andPending = false;
    bool negated = false;
  };
  std::vector<Level> levels(1);
  int held = 1;  // entries of the open levels
  int deepest = 0;
  auto word = [&](std::size_t i, char const* w, std::size_t n) {
    auto const letter = [](char c) {
      return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
    };
    return text.compare(i, n, w) == 0 && (i == 0 || !letter(text[i - 1])) &&
           (i + n >= text.size() || !letter(text[i + n]));
  };
  char quote = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char const c = text[i];
    Level& level = levels.back();
    if (quote != 0) {
      if (c == quote) {
        if (i + 1 < text.size() && text[i + 1] == quote) {
          ++i;
        } else {
          quote = 0;
        }
      }
      continue;
    }
    if (c == '\'' || c == '"') {
      quote = c;
    } else if (c == '(') {
      levels.emplace_back();
      held += 1;
    } else if (c == ')' && levels.size() > 1) {
      held -= 1 + levels.back().pending;
      levels.pop_back();
      if (levels.back().negated) {
        levels.back().negated = false;
        --levels.back().pending;
        --held;
      }
    } else if (word(i, "OR", 2)) {
      // An OR completes the ANDs before it: only the OR itself waits.
      held += 2 - level.pending;
      level.pending = 2;
      level.andPending = false;
    } else if (word(i, "AND", 3) && !level.andPending) {
      level.andPending = true;
      level.pending += 2;
      held += 2;
    } else if (word(i, "NOT", 3)) {
      level.negated = true;
      ++level.pending;
      ++held;
    }
    deepest = std::max(deepest, held + 3);
  }
  return deepest;
}

// The room an inner node's own CASE takes beyond the levels around it.
int NodeUnits(OnePassPlan::Entry const& entry) {
  int units = entry.missing.empty() ? 1 : 6 + ConditionUnits(entry.missing);
  for (std::string const& edge : entry.edges) units = std::max(units, ConditionUnits(edge));
  return 4 + units;
}

// Assigns stages in prefix order (a parent before its children). Returns
// false when one expression does not hold the whole tree and `staged` is false.
bool Assign(OnePassPlan const& plan, int maxNesting, bool staged, OnePassStages* out) {
  auto const& entries = plan.Entries();
  std::vector<int> units(entries.size(), 0);
  std::vector<int> levels(entries.size(), 0);
  out->staged = staged;
  out->stageOf.assign(entries.size(), 0);
  out->starts.assign(1, std::vector<int>{0});
  for (std::size_t i = 0; i < entries.size(); ++i) {
    OnePassPlan::Entry const& entry = entries[i];
    int stage = 0;
    if (entry.parent >= 0) {
      stage = out->stageOf[static_cast<std::size_t>(entry.parent)];
      units[i] = units[static_cast<std::size_t>(entry.parent)] + BranchUnits(entry.branch);
      levels[i] = levels[static_cast<std::size_t>(entry.parent)] + 1;
    }
    bool fits = entry.children.empty();
    if (!fits && maxNesting > 0) fits = levels[i] < maxNesting;
    if (!fits && maxNesting <= 0) {
      int const room = !staged      ? kSingleExpressionRoom
                       : stage == 0 ? kFirstStageRoom
                                    : kLaterStageRoom;
      fits = units[i] + NodeUnits(entry) <= room;
    }
    if (!fits && entry.parent >= 0) {
      if (!staged) return false;
      ++stage;
      units[i] = 0;
      levels[i] = 0;
      if (out->starts.size() <= static_cast<std::size_t>(stage)) out->starts.emplace_back();
      out->starts[static_cast<std::size_t>(stage)].push_back(static_cast<int>(i));
    }
    out->stageOf[i] = stage;
  }
  return true;
}

}  // namespace

OnePassStages PlanStages(OnePassPlan const& plan, int maxNesting) {
  OnePassStages stages;
  if (!Assign(plan, maxNesting, false, &stages)) Assign(plan, maxNesting, true, &stages);
  return stages;
}

}  // namespace TreeOut_800
