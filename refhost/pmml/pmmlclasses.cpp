// Classes and outcomes for the general construction. A field's values fall
// into classes that every atom of the node treats alike: category codes with
// the same truth in every atom, or runs of numbers between the atoms' bounds
// (one run per class, so that each class is one range). One representative
// value per class stands for it; the outcome of every combination of
// classes (the cases) is found by evaluating the children's predicates on
// the representatives, in PMML's three-valued logic.
#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "host/systemmissing.h"
#include "refhost/pmml/pmmlcompound.h"

namespace refhost::pmml::compound {
namespace {

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

}  // namespace

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

void Construction::Classes() {
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

int Construction::OutcomeOf(std::vector<double> const& values) const {
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

void Construction::Outcomes() {
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
void Construction::Each(Domain const& domain, F f) const {
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

std::vector<int> Construction::OutcomesOver(Domain const& domain) const {
  std::vector<int> seen;
  Each(domain, [&](int o) {
    if (std::find(seen.begin(), seen.end(), o) == seen.end()) seen.push_back(o);
    return true;
  });
  return seen;
}

std::vector<int> Construction::TableOver(Domain const& domain) const {
  std::vector<int> table;
  Each(domain, [&](int o) {
    table.push_back(o);
    return true;
  });
  return table;
}

Domain Construction::With(Domain domain, std::size_t f, int cls) {
  std::fill(domain[f].begin(), domain[f].end(), 0);
  domain[f][static_cast<std::size_t>(cls)] = 1;
  return domain;
}

// Whether every record of `domain` stops, and a stop at a node whose first
// rule is on field `f` predicts as it should: for a missing value of `f`
// the missing value strategy, for a present one no true child.
bool Construction::StopsConsistently(Domain const& domain, std::size_t f) const {
  for (int cls = 0; cls < fnClasses[f].count; ++cls) {
    if (!domain[f][static_cast<std::size_t>(cls)]) continue;
    for (int o : OutcomesOver(With(domain, f, cls))) {
      if (o >= 0) return false;
      if (fnRules.stopsDiffer && o != (cls == 0 ? kStopMissing : kStopNoChild)) return false;
    }
  }
  return true;
}

}  // namespace refhost::pmml::compound
