// The general construction: a node whose children's predicates the simple
// splits cannot say (and/or/xor over several fields, isMissing and
// isNotMissing anywhere, sets of several ranges, chains that mix fields) is
// loaded as a small tree of splits that test one field each.
//
// 1. Each field the predicates name has classes: values that every atom of
//    the node treats alike (category codes with the same truth in every
//    atom; runs of numbers between the atoms' bounds), plus the missing
//    value as class 0.
// 2. For every combination of classes the document's rules give an outcome:
//    the first child whose predicate is TRUE, unless an UNKNOWN comes first
//    (then the missing value strategy decides), or a stop when no child is
//    true.
// 3. A host node is a list of rules, each on one field, tried in order, then
//    a default child, then a stop. The construction first places, field by
//    field, the classes whose outcome is the same child whatever the other
//    fields hold (an `or` over fields needs nothing more); when no class can
//    be placed so, it branches on a field into added nodes, one per group of
//    classes that leave the same outcomes, and goes on in each.
// 4. The host (and the rule text with it) sends a value that a rule leaves
//    on to the next rule, as it does a missing value. So a rule places a
//    missing value only when it places every value (else the values it
//    leaves would go with the missing one); a rule on numbers gives each
//    child one range (a child that takes two runs of numbers is two
//    children); and a record stops only where the node's first field tells
//    why (missing: the missing value strategy; present: no true child), so
//    that what it predicts follows. Values whose records stop beside a
//    placed missing value go to a stopper, an added node whose one split
//    places nothing (its one child no record reaches).
// 5. A document child reached from two places is copied with its subtree;
//    every copy reports as its original.
#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>
#include <map>
#include <memory>

#include "host/splitrule.h"
#include "host/systemmissing.h"
#include "refhost/ordinalsplit.h"
#include "refhost/pmml/pmmlrouting.h"

namespace refhost::pmml {
namespace {

int const kStopMissing = -1;  // an UNKNOWN came first: the missing value strategy stops it
int const kStopNoChild = -2;  // no child's predicate is true
std::size_t const kMaxCases = std::size_t{1} << 16;

struct FieldClasses {
  int field = -1;
  bool categorical = false;
  int count = 1;  // classes, the missing one (0) included
  std::vector<double> representative;
  std::vector<int> codeClass;  // categorical: code -> class
  std::vector<Range> pieces;   // numeric: elementary ranges, ascending
  std::vector<int> pieceClass;
};

void CollectAtoms(Pred const& pred, std::vector<std::vector<Pred const*>>& byField,
                  std::vector<int>& order) {
  if (pred.kind == Pred::kAtom || pred.kind == Pred::kIsMissing ||
      pred.kind == Pred::kIsNotMissing) {
    auto& atoms = byField[static_cast<std::size_t>(pred.field)];
    if (atoms.empty()) order.push_back(pred.field);
    atoms.push_back(&pred);  // missing tests only make the field count
    return;
  }
  for (Pred const& part : pred.parts) CollectAtoms(part, byField, order);
}

FieldClasses Classify(FieldDef const& def, std::vector<Pred const*> const& atoms) {
  FieldClasses fc;
  fc.field = def.index;
  fc.categorical = def.categorical;
  fc.representative.push_back(systemMissingValue());
  std::map<std::vector<bool>, int> classOf;
  auto const classFor = [&](std::vector<bool> const& signature, double representative) {
    auto const [it, added] = classOf.emplace(signature, fc.count);
    if (added) {
      ++fc.count;
      fc.representative.push_back(representative);
    }
    return it->second;
  };
  if (def.categorical) {
    fc.codeClass.assign(def.categories.size() + 1, 0);
    for (std::size_t c = 1; c <= def.categories.size(); ++c) {
      std::vector<bool> signature;
      for (Pred const* a : atoms) {
        if (a->kind == Pred::kAtom) signature.push_back(a->codes[c]);
      }
      fc.codeClass[c] = classFor(signature, static_cast<double>(c));
    }
    return fc;
  }
  std::vector<double> points;
  for (Pred const* a : atoms) {
    for (Range const& r : a->numbers.ranges) {
      if (r.hasLower) points.push_back(r.lower);
      if (r.hasUpper) points.push_back(r.upper);
    }
  }
  std::sort(points.begin(), points.end());
  points.erase(std::unique(points.begin(), points.end()), points.end());
  double const inf = std::numeric_limits<double>::infinity();
  // A class of numbers is one run of pieces, so that every class is one
  // range: the rule text says a range per child.
  std::vector<bool> last;
  auto const addPiece = [&](Range const& piece, double representative) {
    std::vector<bool> signature;
    for (Pred const* a : atoms) {
      if (a->kind == Pred::kAtom) signature.push_back(a->numbers.Contains(representative));
    }
    if (fc.pieces.empty() || signature != last) {
      ++fc.count;
      fc.representative.push_back(representative);
    }
    last = signature;
    fc.pieces.push_back(piece);
    fc.pieceClass.push_back(fc.count - 1);
  };
  double lower = -inf;
  for (std::size_t i = 0; i <= points.size(); ++i) {
    double const upper = i < points.size() ? points[i] : inf;
    double const inside = lower == -inf ? (upper == inf ? 0 : std::nextafter(upper, -inf))
                                        : std::nextafter(lower, inf);
    if (inside < upper && inside > lower) {
      Range gap = Range::All();
      if (lower != -inf) {
        gap.hasLower = true;
        gap.lower = lower;
        gap.lowerOpen = true;
      }
      if (upper != inf) {
        gap.hasUpper = true;
        gap.upper = upper;
        gap.upperOpen = true;
      }
      addPiece(gap, inside);
    }
    if (i < points.size()) addPiece(Range::Between(upper, false, upper, false), upper);
    lower = upper;
  }
  return fc;
}

// Allowed classes per field.
using Domain = std::vector<std::vector<char>>;

// A rule of one host node: per class of its field, the slot it sends that
// class to (-1: none); class 0 is the missing value.
struct Rule {
  int fieldPos = -1;  // -1: a rule on the fallback field that places nothing
  std::vector<int> slotOfClass;
  Domain domain;  // what reaches the rule, for classes that never do
};

// A target of a node's slot: a document child (>= 0) or an added node
// (-1 - index into the plan's nodes).
struct PlanNode {
  int stopField = -1;  // a stopper: a split on this field that places nothing
  Domain domain;
  std::vector<Rule> rules;
  std::vector<int> slots;  // targets
  int defaultSlot = -1;
};

class Construction {
 public:
  Construction(std::vector<ChildSpec>& children, int declaredDefault, Fields const& fields,
               RoutingRules const& rules, Where const& at)
      : fnChildren(children),
        fnDefault(declaredDefault),
        fnFields(fields),
        fnRules(rules),
        fnAt(at) {}

  // Plans the node's routing; false when no plan tells every stop for a
  // missing value from a stop with no true child.
  bool Plan() {
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

  // Makes the planned host nodes below `parent`.
  void Materialize(TreeNode& parent, NodeMaker& maker);

 private:
  // --- classes and outcomes ---

  void Classes() {
    std::vector<std::vector<Pred const*>> byField(fnFields.defs.size());
    std::vector<int> order;
    for (ChildSpec const& child : fnChildren) CollectAtoms(child.predicate, byField, order);
    std::size_t cases = 1;
    for (int field : order) {
      fnClasses.push_back(Classify(fnFields.defs[static_cast<std::size_t>(field)],
                                   byField[static_cast<std::size_t>(field)]));
      cases *= static_cast<std::size_t>(fnClasses.back().count);
      if (cases > kMaxCases) {
        fnAt.Fail("the predicates of its children combine more than " + std::to_string(kMaxCases) +
                  " cases of their fields' values; the loader maps at most that many per node");
      }
    }
    fnStride.assign(fnClasses.size(), 1);
    for (std::size_t i = 1; i < fnClasses.size(); ++i) {
      fnStride[i] = fnStride[i - 1] * fnClasses[i - 1].count;
    }
    fnCases = cases;
  }

  int OutcomeOf(std::vector<double> const& values) const {
    for (std::size_t k = 0; k < fnChildren.size(); ++k) {
      Truth const t = Evaluate(fnChildren[k].predicate, values.data());
      if (t == Truth::kTrue) return static_cast<int>(k);
      if (t == Truth::kUnknown) {
        switch (fnRules.missing) {
          case MissingStrategy::kNone:
            continue;
          case MissingStrategy::kDefaultChild:
            return fnDefault >= 0 ? fnDefault : kStopNoChild;
          default:
            return fnRules.stopsDiffer ? kStopMissing : kStopNoChild;
        }
      }
    }
    return kStopNoChild;
  }

  void Outcomes() {
    std::vector<double> values(fnFields.defs.size(), systemMissingValue());
    fnOutcome.resize(fnCases);
    for (std::size_t index = 0; index < fnCases; ++index) {
      for (std::size_t f = 0; f < fnClasses.size(); ++f) {
        int const cls = static_cast<int>(index / fnStride[f] % fnClasses[f].count);
        values[static_cast<std::size_t>(fnClasses[f].field)] = fnClasses[f].representative[cls];
      }
      fnOutcome[index] = OutcomeOf(values);
    }
  }

  // Calls f(outcome) for every case of `domain`, in one fixed order; stops
  // early when f returns false.
  template <typename F>
  void Each(Domain const& domain, F f) const {
    std::size_t const n = fnClasses.size();
    std::vector<int> digit(n, 0);
    for (std::size_t i = 0; i < n; ++i) {
      while (digit[i] < fnClasses[i].count && !domain[i][digit[i]]) ++digit[i];
      if (digit[i] == fnClasses[i].count) return;  // empty
    }
    for (;;) {
      std::size_t index = 0;
      for (std::size_t i = 0; i < n; ++i) index += fnStride[i] * digit[i];
      if (!f(fnOutcome[index])) return;
      std::size_t i = 0;
      for (; i < n; ++i) {
        do {
          ++digit[i];
        } while (digit[i] < fnClasses[i].count && !domain[i][digit[i]]);
        if (digit[i] < fnClasses[i].count) break;
        digit[i] = 0;
        while (!domain[i][digit[i]]) ++digit[i];
      }
      if (i == n) return;
    }
  }

  std::vector<int> OutcomesOver(Domain const& domain) const {
    std::vector<int> seen;
    Each(domain, [&](int o) {
      if (std::find(seen.begin(), seen.end(), o) == seen.end()) seen.push_back(o);
      return true;
    });
    return seen;
  }

  std::vector<int> TableOver(Domain const& domain) const {
    std::vector<int> table;
    Each(domain, [&](int o) {
      table.push_back(o);
      return true;
    });
    return table;
  }

  static Domain With(Domain domain, std::size_t f, int cls) {
    std::fill(domain[f].begin(), domain[f].end(), 0);
    domain[f][static_cast<std::size_t>(cls)] = 1;
    return domain;
  }

  // Whether every record of `domain` stops, and a stop at a node whose first
  // rule is on field `f` predicts as it should: for a missing value of `f`
  // the missing value strategy, for a present one no true child.
  bool StopsConsistently(Domain const& domain, std::size_t f) const {
    for (int cls = 0; cls < fnClasses[f].count; ++cls) {
      if (!domain[f][static_cast<std::size_t>(cls)]) continue;
      for (int o : OutcomesOver(With(domain, f, cls))) {
        if (o >= 0) return false;
        if (fnRules.stopsDiffer && o != (cls == 0 ? kStopMissing : kStopNoChild)) return false;
      }
    }
    return true;
  }

  // --- the plan ---

  static int SlotOf(PlanNode& node, int target) {
    for (std::size_t i = 0; i < node.slots.size(); ++i) {
      if (node.slots[i] == target) return static_cast<int>(i);
    }
    node.slots.push_back(target);
    return static_cast<int>(node.slots.size()) - 1;
  }

  int NewNode(Domain domain) {
    PlanNode node;
    node.domain = std::move(domain);
    fnPlan.push_back(std::move(node));
    return -1 - static_cast<int>(fnPlan.size() - 1);
  }

  // Plans node i; false when the greedy placement left stops it cannot
  // tell apart (then the caller plans it again without).
  bool Plan(std::size_t i, bool greedy) {
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

  Rule Fallback(Domain const& domain) const {
    Rule rule;
    rule.domain = domain;
    return rule;
  }

  // Places, on one field, the classes whose outcome is one child whatever
  // the other fields hold. Narrows `domain` to what is left.
  bool Place(std::size_t i, Domain& domain) {
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
  std::vector<int> Slots(std::size_t i, std::size_t f, Domain const& domain,
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
  bool Branch(std::size_t i, Domain const& domain) {
    for (std::size_t f = 0; f < fnClasses.size(); ++f) {
      if (TryBranch(i, f, domain)) return true;
    }
    return false;
  }

  // A field whose classes tell stops for a missing value from stops with no
  // true child, for records of `domain` that all stop; -1 when none does.
  int StopperField(Domain const& domain) const {
    for (std::size_t g = 0; g < fnClasses.size(); ++g) {
      if (StopsConsistently(domain, g)) return static_cast<int>(g);
    }
    return -1;
  }

  bool TryBranch(std::size_t i, std::size_t f, Domain const& domain) {
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

  // --- host nodes ---

  // The host rule for one planned rule.
  void AddRules(TreeNode& node, Rule const& rule, int slots, bool primary) {
    auto add = [&](std::unique_ptr<tree_800::SplitRuleImp> split) {
      if (primary) {
        node.SetPrimary(std::move(split));
        primary = false;
      } else {
        node.AddSurrogate(std::move(split));
      }
    };
    if (rule.fieldPos < 0) {
      // On the fallback field: everything to one slot, or nothing.
      if (fnRules.fallbackField < 0) {
        fnAt.Fail("its children's predicates name no field and the model has no field to split on");
      }
      FieldDef const& def = fnFields.defs[static_cast<std::size_t>(fnRules.fallbackField)];
      int const all = rule.slotOfClass.empty() ? -1 : rule.slotOfClass[0];
      if (def.categorical) {
        auto split = std::make_unique<tree_800::NSplitRule>(def.index, 0);
        for (std::size_t c = 1; all >= 0 && c <= def.categories.size(); ++c) {
          split->SetCatMapping(static_cast<int>(c), all);
        }
        split->SetNumChildren(slots);
        split->SetMissingValueMapping(all);
        add(std::move(split));
      } else {
        std::vector<Range> ranges(static_cast<std::size_t>(slots),
                                  Range::Between(0, true, 0, false));
        if (all >= 0) ranges[static_cast<std::size_t>(all)] = Writable(Range::All());
        add(std::make_unique<OrdinalSplit>(def.index, std::move(ranges), all));
      }
      return;
    }
    FieldClasses const& fc = fnClasses[static_cast<std::size_t>(rule.fieldPos)];
    FieldDef const& def = fnFields.defs[static_cast<std::size_t>(fc.field)];
    int const missing = rule.slotOfClass[0];
    if (fc.categorical) {
      auto split = std::make_unique<tree_800::NSplitRule>(def.index, 0);
      for (std::size_t c = 1; c < fc.codeClass.size(); ++c) {
        int const slot = rule.slotOfClass[static_cast<std::size_t>(fc.codeClass[c])];
        if (slot >= 0) split->SetCatMapping(static_cast<int>(c), slot);
      }
      split->SetNumChildren(slots);
      split->SetMissingValueMapping(missing);
      add(std::move(split));
      return;
    }
    // Per piece: a slot, -1 (the rule leaves it), or -2 (no record reaches).
    std::vector<int> slotOf;
    for (int cls : fc.pieceClass) {
      bool const reaches =
          rule.domain[static_cast<std::size_t>(rule.fieldPos)][static_cast<std::size_t>(cls)] != 0;
      slotOf.push_back(reaches ? rule.slotOfClass[static_cast<std::size_t>(cls)] : -2);
    }
    // Runs of pieces per slot; pieces no record reaches join the run before.
    std::vector<std::vector<std::pair<std::size_t, std::size_t>>> runs(
        static_cast<std::size_t>(slots));
    int current = -1;
    for (std::size_t p = 0; p < slotOf.size(); ++p) {
      int const s = slotOf[p];
      if (s == -2 && current >= 0) {
        runs[static_cast<std::size_t>(current)].back().second = p;
        continue;
      }
      if (s < 0) {
        current = -1;
        continue;
      }
      auto& mine = runs[static_cast<std::size_t>(s)];
      if (current == s) {
        mine.back().second = p;
      } else {
        mine.emplace_back(p, p);
      }
      current = s;
    }
    // Each slot has one run by construction (Slots).
    std::vector<Range> ranges(static_cast<std::size_t>(slots), Range::Between(0, true, 0, false));
    for (std::size_t s = 0; s < runs.size(); ++s) {
      if (runs[s].empty()) continue;
      Range const& lo = fc.pieces[runs[s].front().first];
      Range const& hi = fc.pieces[runs[s].back().second];
      Range r = Range::All();
      r.hasLower = lo.hasLower;
      r.lower = lo.lower;
      r.lowerOpen = lo.lowerOpen;
      r.hasUpper = hi.hasUpper;
      r.upper = hi.upper;
      r.upperOpen = hi.upperOpen;
      ranges[s] = def.hasUserMissing ? CodeSpace(Writable(r)) : Writable(r);
    }
    add(std::make_unique<OrdinalSplit>(def.index, std::move(ranges), missing));
  }

  void MaterializeImpl(TreeNode& parent, NodeMaker& maker) {
    std::vector<bool> used(fnChildren.size(), false);
    std::vector<TreeNode*> hosts(fnPlan.size(), nullptr);
    hosts[0] = &parent;
    // Children are reached in plan order; the first route to a document
    // child takes the child itself, later ones a copy.
    for (std::size_t i = 0; i < fnPlan.size(); ++i) {
      for (int target : fnPlan[i].slots) {
        if (target < 0) hosts[static_cast<std::size_t>(-1 - target)] = maker.Added(parent);
      }
    }
    for (std::size_t i = 0; i < fnPlan.size(); ++i) {
      PlanNode& plan = fnPlan[i];
      TreeNode& node = *hosts[i];
      if (plan.stopField >= 0) {
        // One child that no value reaches, so that the node is no leaf.
        FieldDef const& def = fnFields.defs[static_cast<std::size_t>(plan.stopField)];
        if (def.categorical) {
          auto split = std::make_unique<tree_800::NSplitRule>(def.index, 0);
          split->SetNumChildren(1);
          node.SetPrimary(std::move(split));
        } else {
          node.SetPrimary(std::make_unique<OrdinalSplit>(
              def.index, std::vector<Range>{Range::Between(0, true, 0, false)}, -1));
        }
        node.AddChild(maker.Added(parent));
        continue;
      }
      if (i == 0) {
        // Children that no rule reaches stay below the node, unreachable.
        for (std::size_t k = 0; k < fnChildren.size(); ++k) {
          if (std::find(plan.slots.begin(), plan.slots.end(), static_cast<int>(k)) ==
              plan.slots.end()) {
            bool referenced = false;
            for (PlanNode const& other : fnPlan) {
              referenced = referenced || std::find(other.slots.begin(), other.slots.end(),
                                                   static_cast<int>(k)) != other.slots.end();
            }
            if (!referenced) plan.slots.push_back(static_cast<int>(k));
          }
        }
      }
      int const slots = static_cast<int>(plan.slots.size());
      bool primary = true;
      for (Rule const& rule : plan.rules) {
        AddRules(node, rule, slots, primary);
        primary = false;
      }
      node.SetDefaultChild(plan.defaultSlot);
      for (int target : plan.slots) {
        if (target < 0) {
          node.AddChild(hosts[static_cast<std::size_t>(-1 - target)]);
        } else if (!used[static_cast<std::size_t>(target)]) {
          used[static_cast<std::size_t>(target)] = true;
          node.AddChild(fnChildren[static_cast<std::size_t>(target)].host);
        } else {
          node.AddChild(maker.Copy(*fnChildren[static_cast<std::size_t>(target)].host));
        }
      }
    }
  }

  std::vector<ChildSpec>& fnChildren;
  int fnDefault;
  Fields const& fnFields;
  RoutingRules const& fnRules;
  Where const& fnAt;
  std::vector<FieldClasses> fnClasses;
  std::vector<std::size_t> fnStride;
  std::size_t fnCases = 1;
  std::vector<int> fnOutcome;
  std::vector<PlanNode> fnPlan;
};

void Construction::Materialize(TreeNode& parent, NodeMaker& maker) {
  MaterializeImpl(parent, maker);
}

}  // namespace

bool BuildCompoundRouting(TreeNode& parent, Where const& at, std::vector<ChildSpec>& children,
                          int declaredDefault, Fields const& fields, RoutingRules const& rules,
                          NodeMaker& maker) {
  Construction strict(children, declaredDefault, fields, rules, at);
  if (strict.Plan()) {
    strict.Materialize(parent, maker);
    return true;
  }
  // Some records stop with every field the node tests missing yet no child
  // true (isNotMissing or False parts): no split can tell why they stop, so
  // the node stops them all alike, as for a missing value.
  RoutingRules merged = rules;
  merged.stopsDiffer = false;
  Construction loose(children, declaredDefault, fields, merged, at);
  if (!loose.Plan()) at.Fail("the loader cannot map the predicates of its children");
  loose.Materialize(parent, maker);
  return false;
}

}  // namespace refhost::pmml
