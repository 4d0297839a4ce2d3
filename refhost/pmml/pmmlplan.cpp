// The plan of the general construction: host nodes as lists of rules on one
// field each, tried in order, then a default child, then a stop. Node by
// node, the planner first places, field by field, the classes whose outcome
// is the same child whatever the other fields hold; when no class can be
// placed so, it branches on a field into added nodes, one per group of
// classes that leave the same outcomes, and goes on in each. A greedy plan
// that leaves stops it cannot tell apart is redone without placing.
#include <algorithm>

#include "refhost/pmml/pmmlcompound.h"

namespace refhost::pmml::compound {

// Plans the node's routing; false when no plan tells every stop for a
// missing value from a stop with no true child.
bool Construction::Plan() {
  Classes();
  Outcomes();
  PlanNode root;
  for (FieldClasses const& fc : fnClasses) root.domain.emplace_back(fc.count, 1);
  fnPlan.push_back(root);
  for (std::size_t i = 0; i < fnPlan.size(); ++i) {
    PlanNode saved = fnPlan[i];
    std::size_t const planned = fnPlan.size();
    if (!Plan(i, true)) {
      fnPlan.resize(planned);
      fnPlan[i] = saved;
      if (!Plan(i, false)) return false;
    }
  }
  return true;
}

int Construction::SlotOf(PlanNode& node, int target) {
  for (std::size_t i = 0; i < node.slots.size(); ++i) {
    if (node.slots[i] == target) return static_cast<int>(i);
  }
  node.slots.push_back(target);
  return static_cast<int>(node.slots.size()) - 1;
}

int Construction::NewNode(Domain domain) {
  PlanNode node;
  node.domain = std::move(domain);
  fnPlan.push_back(std::move(node));
  return -1 - static_cast<int>(fnPlan.size() - 1);
}

// Plans node i; false when the greedy placement left stops it cannot
// tell apart (then the caller plans it again without).
bool Construction::Plan(std::size_t i, bool greedy) {
  if (fnPlan[i].stopField >= 0) return true;
  Domain domain = fnPlan[i].domain;
  for (;;) {
    std::vector<int> const outcomes = OutcomesOver(domain);
    bool const allStops =
        std::all_of(outcomes.begin(), outcomes.end(), [](int o) { return o < 0; });
    if (outcomes.size() == 1 && outcomes[0] >= 0) {
      int const slot = SlotOf(fnPlan[i], outcomes[0]);
      if (fnPlan[i].rules.empty()) {
        // Every record goes to one child: a rule that sends every value
        // (and a missing one) there, which the rule text says as it is.
        Rule rule = Fallback(domain);
        rule.slotOfClass = {slot};
        fnPlan[i].rules.push_back(std::move(rule));
      } else {
        fnPlan[i].defaultSlot = slot;
      }
      return true;
    }
    if (allStops && !fnPlan[i].rules.empty()) {
      std::size_t const first = static_cast<std::size_t>(fnPlan[i].rules[0].fieldPos);
      return fnPlan[i].rules[0].fieldPos >= 0 && StopsConsistently(domain, first);
    }
    if (allStops && (!fnRules.stopsDiffer || fnClasses.empty())) {
      if (fnRules.stopsDiffer) return false;
      fnPlan[i].rules.push_back(Fallback(domain));
      return true;
    }
    if (greedy && Place(i, domain)) {
      if (std::none_of(domain.begin(), domain.end(), [](std::vector<char> const& d) {
            return std::find(d.begin(), d.end(), 1) == d.end();
          })) {
        continue;
      }
      return true;  // a rule placed every value
    }
    if (!fnPlan[i].rules.empty()) {
      int const fresh = NewNode(domain);
      fnPlan[i].defaultSlot = SlotOf(fnPlan[i], fresh);
      return true;
    }
    return Branch(i, domain);
  }
}

Rule Construction::Fallback(Domain const& domain) const {
  Rule rule;
  rule.domain = domain;
  return rule;
}

// Places, on one field, the classes whose outcome is one child whatever
// the other fields hold. Narrows `domain` to what is left.
bool Construction::Place(std::size_t i, Domain& domain) {
  int bestField = -1;
  std::vector<int> bestTarget;
  int bestCount = 0;
  bool bestTotal = false;
  for (std::size_t f = 0; f < fnClasses.size(); ++f) {
    std::vector<int> target(static_cast<std::size_t>(fnClasses[f].count), -1);
    int placed = 0;
    int present = 0;
    for (int cls = 1; cls < fnClasses[f].count; ++cls) {
      if (!domain[f][static_cast<std::size_t>(cls)]) continue;
      ++present;
      std::vector<int> const o = OutcomesOver(With(domain, f, cls));
      if (o.size() == 1 && o[0] >= 0) {
        target[static_cast<std::size_t>(cls)] = o[0];
        ++placed;
      }
    }
    bool total = placed == present && placed > 0;
    if (total && domain[f][0]) {
      std::vector<int> const o = OutcomesOver(With(domain, f, 0));
      total = o.size() == 1 && o[0] >= 0;
      if (total) target[0] = o[0];
    }
    if (placed > 0 &&
        (bestField < 0 || (total && !bestTotal) || (total == bestTotal && placed > bestCount))) {
      bestField = static_cast<int>(f);
      bestTarget = target;
      bestCount = placed;
      bestTotal = total;
    }
  }
  if (bestField < 0) return false;
  std::size_t const f = static_cast<std::size_t>(bestField);
  Rule rule;
  rule.fieldPos = bestField;
  rule.domain = domain;
  rule.slotOfClass = Slots(i, f, domain, bestTarget);
  for (std::size_t cls = 0; cls < bestTarget.size(); ++cls) {
    if (bestTarget[cls] >= 0) domain[f][cls] = 0;
  }
  fnPlan[i].rules.push_back(std::move(rule));
  return true;
}

// Slots of node i for a rule on field f that sends class c to target[c]
// (-1: nowhere). A categorical rule has one slot per target; a numeric
// rule one per run of classes (those no record reaches join either side),
// so that each child takes one range; a document child reached by two
// runs is copied.
std::vector<int> Construction::Slots(std::size_t i, std::size_t f, Domain const& domain,
                                     std::vector<int> const& target) {
  std::vector<int> slot(target.size(), -1);
  std::vector<int>& slots = fnPlan[i].slots;
  std::vector<bool> inRule;  // slots that a run of this rule already takes
  auto const runSlot = [&](int t) {
    for (std::size_t k = 0; k < slots.size(); ++k) {
      if (slots[k] == t && (k >= inRule.size() || !inRule[k])) return static_cast<int>(k);
    }
    slots.push_back(t);
    return static_cast<int>(slots.size()) - 1;
  };
  int lastTarget = -1;
  int lastSlot = -1;
  bool open = false;
  for (std::size_t cls = 1; cls < target.size(); ++cls) {
    if (!domain[f][cls]) continue;
    int const t = target[cls];
    if (t == -1) {
      open = false;
      continue;
    }
    if (fnClasses[f].categorical) {
      slot[cls] = SlotOf(fnPlan[i], t);
      continue;
    }
    if (!open || t != lastTarget) {
      lastSlot = runSlot(t);
      inRule.resize(slots.size(), false);
      inRule[static_cast<std::size_t>(lastSlot)] = true;
    }
    slot[cls] = lastSlot;
    lastTarget = t;
    open = true;
  }
  if (target[0] != -1) slot[0] = SlotOf(fnPlan[i], target[0]);
  return slot;
}

// Splits node i (which has no rule yet) on one field into children: a
// class with one child as its outcome goes to that child, a class whose
// records all stop (for reasons this field tells) goes nowhere, the others
// to added nodes, one per group of classes that leave the same outcomes
// (for numbers, per run of them). Where the rule must place the missing
// value, the stopping classes go to a stopper instead: an added node whose
// split places nothing, so the records stop there.
bool Construction::Branch(std::size_t i, Domain const& domain) {
  for (std::size_t f = 0; f < fnClasses.size(); ++f) {
    if (TryBranch(i, f, domain)) return true;
  }
  return false;
}

// A field whose classes tell stops for a missing value from stops with no
// true child, for records of `domain` that all stop; -1 when none does.
int Construction::StopperField(Domain const& domain) const {
  for (std::size_t g = 0; g < fnClasses.size(); ++g) {
    if (StopsConsistently(domain, g)) return static_cast<int>(g);
  }
  return -1;
}

bool Construction::TryBranch(std::size_t i, std::size_t f, Domain const& domain) {
  int const count = fnClasses[f].count;
  int allowed = 0;
  for (int cls = 0; cls < count; ++cls) allowed += domain[f][static_cast<std::size_t>(cls)];
  if (allowed < 2) return false;
  // What each class does: a child (>= 0), stop here (-1), a stopper on
  // field stopOn[c] (-4), or an added node (-2) with its outcome table.
  std::vector<int> kind(static_cast<std::size_t>(count), -3);
  std::vector<int> stopOn(static_cast<std::size_t>(count), -1);
  std::vector<std::vector<int>> tables(static_cast<std::size_t>(count));
  for (int cls = 0; cls < count; ++cls) {
    std::size_t const c = static_cast<std::size_t>(cls);
    if (!domain[f][c]) continue;
    Domain const sub = With(domain, f, cls);
    std::vector<int> const o = OutcomesOver(sub);
    if (o.size() == 1 && o[0] >= 0) {
      kind[c] = o[0];
    } else if (std::all_of(o.begin(), o.end(), [](int x) { return x < 0; })) {
      if (StopsConsistently(sub, f)) {
        kind[c] = -1;
      } else {
        kind[c] = -4;
        stopOn[c] = StopperField(sub);
        if (stopOn[c] < 0) return false;
      }
    } else {
      kind[c] = -2;
      tables[c] = TableOver(sub);
    }
  }
  // A rule that places the missing value places every value it leaves
  // too, so no value of such a rule may stop at its node.
  if (domain[f][0] && kind[0] != -1) {
    for (int cls = 1; cls < count; ++cls) {
      std::size_t const c = static_cast<std::size_t>(cls);
      if (kind[c] == -1) {
        kind[c] = -4;
        stopOn[c] = static_cast<int>(f);
      }
    }
  }
  // The targets, merging classes that go the same way: any two of a
  // categorical field, neighbouring present ones of a numeric field.
  bool const categorical = fnClasses[f].categorical;
  std::size_t const planned = fnPlan.size();
  std::vector<int> target(static_cast<std::size_t>(count), -1);
  std::vector<int> ways;
  int previous = -1;  // the last present class that reaches
  for (int cls = 0; cls < count; ++cls) {
    std::size_t const c = static_cast<std::size_t>(cls);
    if (kind[c] == -3) continue;
    int t = kind[c] >= 0 ? kind[c] : -1;
    if (kind[c] == -2 || kind[c] == -4) {
      auto const alike = [&](int other) {
        std::size_t const o = static_cast<std::size_t>(other);
        return kind[o] == kind[c] &&
               (kind[c] == -2 ? tables[o] == tables[c] : stopOn[o] == stopOn[c]);
      };
      int same = 0;  // 0: none (targets of added nodes are negative)
      if (categorical) {
        for (int other = 0; other < cls && same == 0; ++other) {
          if (alike(other)) same = target[static_cast<std::size_t>(other)];
        }
      } else if (cls > 0 && previous > 0 && alike(previous)) {
        same = target[static_cast<std::size_t>(previous)];
      }
      if (same != 0) {
        t = same;
        if (kind[c] == -2) fnPlan[static_cast<std::size_t>(-1 - t)].domain[f][c] = 1;
      } else {
        t = NewNode(With(domain, f, cls));
        if (kind[c] == -4) {
          fnPlan[static_cast<std::size_t>(-1 - t)].stopField =
              fnClasses[static_cast<std::size_t>(stopOn[c])].field;
        }
      }
    }
    target[c] = t;
    if (std::find(ways.begin(), ways.end(), t) == ways.end()) ways.push_back(t);
    if (cls > 0) previous = cls;
  }
  // A field that sends every class one way tells nothing here (the node
  // itself may stop every record).
  if (ways.size() < 2 && !(i == 0 && ways == std::vector<int>{-1})) {
    fnPlan.resize(planned);
    return false;
  }
  Rule rule;
  rule.fieldPos = static_cast<int>(f);
  rule.domain = domain;
  rule.slotOfClass = Slots(i, f, domain, target);
  fnPlan[i].rules.push_back(std::move(rule));
  return true;
}

}  // namespace refhost::pmml::compound
