// The room model: a nested CASE level costs about 5 parser entries in the
// THEN of its first WHEN and 7 in a later one; an edge costs about 3 per
// bracket level it opens. Budgets leave room for the statement around the
// expression (more for a later stage, which sits in a dispatch CASE inside a
// subquery) and a safety margin; they were measured against SQLite 3.40.
#include "output/onepassstages.h"

#include <algorithm>
#include <string>

namespace TreeOut_800 {
namespace {

constexpr int kSingleExpressionRoom = 78;
constexpr int kFirstStageRoom = 72;
constexpr int kLaterStageRoom = 62;

int BranchUnits(int branch) { return branch == 0 ? 5 : 7; }

// The deepest bracket nesting of `text`, brackets inside quoted strings not
// counted (a doubled quote stays inside its string).
int BracketDepth(std::string const& text) {
  int depth = 0;
  int deepest = 0;
  char quote = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char const c = text[i];
    if (quote != 0) {
      if (c == quote) {
        if (i + 1 < text.size() && text[i + 1] == quote) {
          ++i;
        } else {
          quote = 0;
        }
      }
    } else if (c == '\'' || c == '"') {
      quote = c;
    } else if (c == '(') {
      deepest = std::max(deepest, ++depth);
    } else if (c == ')') {
      --depth;
    }
  }
  return deepest;
}

int ConditionUnits(std::string const& text) { return 3 + 3 * BracketDepth(text); }

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
