// A node's split from its children's predicates, when they are simple.
//
// Each child's predicate is read as a chain: one predicate, or the parts of a
// surrogate compound; a compound of and/or/xor over one field folds into the
// set of values it holds for. Position j of every chain forms one host split
// (0 the primary, then the surrogates), all on one field. PMML gives a record
// to the first child whose predicate holds, so each child takes only what
// earlier children leave: category codes of a categorical field, or one range
// of a numeric field. `True` takes what is left, `False` nothing. A position
// of only True and False ends the chain: its first True child becomes the
// default child, and none keeps the record at the node. An `or` of isMissing
// and a predicate makes that child the primary split's missing-value child.
//
// The host sends a value that a split maps to no child on as it sends a
// missing value (as rpart does with a category no training record had);
// these splits keep that reading. Whatever does not fit this shape goes to
// the general construction (pmmlcompound.cpp).
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "host/splitrule.h"
#include "host/systemmissing.h"
#include "refhost/ordinalsplit.h"
#include "refhost/pmml/pmmlrouting.h"

namespace refhost::pmml {
namespace {

// A chain member: True, False, or an atom on one field.
struct Member {
  Pred::Kind kind = Pred::kFalse;
  Pred const* atom = nullptr;  // kAtom: the atom, or a folded compound in `folded`
  Pred folded;
  Where where;
  int Field() const { return kind == Pred::kAtom ? (atom ? atom->field : folded.field) : -1; }
  Pred const& Atom() const { return atom ? *atom : folded; }
};

struct Chain {
  std::vector<Member> members;
  int missingField = -1;  // the field of its isMissing test, if any
  Where missingAt;
};

// The field all atoms of `pred` test, -2 when there are several or a part
// that is no atom, and -1 for constants only.
int OneField(Pred const& pred) {
  if (pred.IsConstant()) return -1;
  if (pred.kind == Pred::kAtom) return pred.field;
  if (pred.kind != Pred::kAnd && pred.kind != Pred::kOr && pred.kind != Pred::kXor) return -2;
  int field = -1;
  for (Pred const& part : pred.parts) {
    int const f = OneField(part);
    if (f == -2 || (f >= 0 && field >= 0 && f != field)) return -2;
    if (f >= 0) field = f;
  }
  return field;
}

// The values of a one-field compound, as an atom; or a constant.
Pred FoldSet(Pred const& pred, int field, bool categorical, std::size_t codes) {
  if (pred.kind == Pred::kAtom) return pred;
  Pred out;
  out.kind = Pred::kAtom;
  out.field = field;
  out.where = pred.where;
  if (pred.IsConstant()) {
    bool const all = pred.kind == Pred::kTrue;
    if (categorical) {
      out.codes.assign(codes, all);
      out.codes[0] = false;
    } else if (all) {
      out.numbers = IntervalSet::All();
    }
    return out;
  }
  bool first = true;
  for (Pred const& part : pred.parts) {
    Pred const p = FoldSet(part, field, categorical, codes);
    if (first) {
      out.codes = p.codes;
      out.numbers = p.numbers;
      first = false;
      continue;
    }
    if (categorical) {
      for (std::size_t c = 1; c < codes; ++c) {
        bool const a = out.codes[c];
        bool const b = p.codes[c];
        out.codes[c] = pred.kind == Pred::kAnd ? a && b : pred.kind == Pred::kOr ? a || b : a != b;
      }
    } else if (pred.kind == Pred::kAnd) {
      out.numbers = out.numbers.Intersect(p.numbers);
    } else if (pred.kind == Pred::kOr) {
      out.numbers = out.numbers.Union(p.numbers);
    } else {
      out.numbers =
          out.numbers.Union(p.numbers).Intersect(out.numbers.Intersect(p.numbers).Complement());
    }
  }
  return out;
}

// `pred` as one chain member, when it is one.
std::optional<Member> AsMember(Pred const& pred, Fields const& fields) {
  Member m;
  m.where = pred.where;
  if (pred.IsConstant()) {
    m.kind = pred.kind;
    return m;
  }
  if (pred.kind == Pred::kAtom) {
    m.kind = Pred::kAtom;
    m.atom = &pred;
    return m;
  }
  int const field = OneField(pred);
  if (field < 0) return std::nullopt;  // several fields, or constants only
  // A compound over one field is UNKNOWN for a missing value when its
  // constants leave it so; then it is an atom on the values it holds for.
  std::vector<double> missing(fields.defs.size(), systemMissingValue());
  if (Evaluate(pred, missing.data()) != Truth::kUnknown) return std::nullopt;
  FieldDef const& def = fields.defs[static_cast<std::size_t>(field)];
  m.kind = Pred::kAtom;
  m.folded = FoldSet(pred, field, def.categorical, def.categories.size() + 1);
  return m;
}

std::optional<Chain> AsChain(Pred const& pred, Fields const& fields) {
  Chain chain;
  Pred const* body = &pred;
  if (pred.kind == Pred::kIsMissing) {
    chain.missingField = pred.field;
    chain.missingAt = pred.where;
    Member none;
    none.where = pred.where;
    chain.members.push_back(none);
    return chain;
  }
  if (pred.kind == Pred::kOr && pred.parts.size() == 2) {
    bool const first = pred.parts[0].kind == Pred::kIsMissing;
    bool const second = pred.parts[1].kind == Pred::kIsMissing;
    if (first != second) {
      Pred const& test = pred.parts[first ? 0 : 1];
      chain.missingField = test.field;
      chain.missingAt = test.where;
      body = &pred.parts[first ? 1 : 0];
    }
  }
  if (body->kind == Pred::kSurrogate) {
    for (Pred const& part : body->parts) {
      std::optional<Member> m = AsMember(part, fields);
      if (!m) return std::nullopt;
      chain.members.push_back(std::move(*m));
    }
    return chain;
  }
  std::optional<Member> m = AsMember(*body, fields);
  if (!m) return std::nullopt;
  chain.members.push_back(std::move(*m));
  return chain;
}

Range Empty() { return Range::Between(0, true, 0, false); }

Range Intersect(Range const& a, Range const& b) {
  Range r = a;
  if (b.hasLower && (!r.hasLower || b.lower > r.lower || (b.lower == r.lower && b.lowerOpen))) {
    r.lower = b.lower;
    r.hasLower = true;
    r.lowerOpen = b.lowerOpen;
  }
  if (b.hasUpper && (!r.hasUpper || b.upper < r.upper || (b.upper == r.upper && b.upperOpen))) {
    r.upper = b.upper;
    r.hasUpper = true;
    r.upperOpen = b.upperOpen;
  }
  return r;
}

// `a` without the values of `b`; nothing when that leaves two pieces.
std::optional<Range> Subtract(Range const& a, Range const& b) {
  if (a.IsEmpty() || b.IsEmpty()) return a;
  std::optional<Range> left;
  std::optional<Range> right;
  if (b.hasLower) {
    Range below = b.lowerOpen ? Range::AtMost(b.lower) : Range::Below(b.lower);
    Range piece = Intersect(a, below);
    if (!piece.IsEmpty()) left = piece;
  }
  if (b.hasUpper) {
    Range above = b.upperOpen ? Range::AtLeast(b.upper) : Range::Above(b.upper);
    Range piece = Intersect(a, above);
    if (!piece.IsEmpty()) right = piece;
  }
  if (left && right) return std::nullopt;
  if (left) return left;
  if (right) return right;
  return Empty();
}

// The one range of a member, when it has one.
std::optional<Range> RangeOf(Member const& m) {
  if (m.kind == Pred::kTrue) return Range::All();
  if (m.kind == Pred::kFalse) return Empty();
  std::vector<Range> const& ranges = m.Atom().numbers.ranges;
  if (ranges.empty()) return Empty();
  if (ranges.size() > 1) return std::nullopt;
  return ranges[0];
}

std::unique_ptr<tree_800::SplitRuleImp> CategorySplit(FieldDef const& field,
                                                      std::vector<Member const*> const& members) {
  std::size_t const n = field.categories.size();
  std::vector<bool> taken(n + 1, false);
  auto rule = std::make_unique<tree_800::NSplitRule>(field.index, 0);
  for (std::size_t i = 0; i < members.size(); ++i) {
    if (members[i]->kind == Pred::kFalse) continue;
    for (std::size_t code = 1; code <= n; ++code) {
      if (taken[code]) continue;
      if (members[i]->kind == Pred::kTrue || members[i]->Atom().codes[code]) {
        taken[code] = true;
        rule->SetCatMapping(static_cast<int>(code), static_cast<int>(i));
      }
    }
  }
  rule->SetNumChildren(static_cast<int>(members.size()));
  return rule;
}

std::optional<std::vector<Range>> RangeSplit(FieldDef const& field,
                                             std::vector<Member const*> const& members) {
  std::vector<Range> given;  // each child's own range, before earlier children take theirs
  std::vector<Range> ranges;
  given.reserve(members.size());
  ranges.reserve(members.size());
  for (Member const* m : members) {
    std::optional<Range> own = RangeOf(*m);
    if (!own) return std::nullopt;
    Range left = *own;
    for (Range const& earlier : given) {
      std::optional<Range> rest = Subtract(left, earlier);
      if (!rest) return std::nullopt;
      left = *rest;
    }
    given.push_back(*own);
    ranges.push_back(field.hasUserMissing ? CodeSpace(Writable(left))
                                          : (left.IsEmpty() ? Empty() : Writable(left)));
  }
  return ranges;
}

struct Splits {
  // Primary first; a numeric primary is null here and made from
  // primaryRanges once the missing-value child is known.
  std::vector<std::unique_ptr<tree_800::SplitRuleImp>> rules;
  std::vector<Range> primaryRanges;
  std::vector<int> fieldOf;
  int missingChild = -1;
  int defaultChild = -1;
};

// Whether the host's reading of the chains (position by position, each
// child taking what the ones before it leave) gives what PMML's reading
// gives (child by child, the first whose chain is true, where any strategy
// but none ends the walk at a child whose chain is UNKNOWN). `positions`
// counts the positions that test a field; one after them holds constants.
bool TriedInOrderAlike(std::vector<Chain> const& chains, std::size_t positions,
                       MissingStrategy strategy) {
  int first = -1;  // the first chain that tests a field
  bool trueEnd = false;
  for (std::size_t i = 0; i < chains.size(); ++i) {
    std::vector<Member> const& members = chains[i].members;
    bool const constant = members.size() == 1 && members[0].kind != Pred::kAtom;
    // A True child before the tests takes every record, missing or not; a
    // False that ends a chain early makes the child false, where the host
    // goes on to the next position.
    if (constant && members[0].kind == Pred::kTrue && first < 0) return false;
    for (std::size_t j = 0; j < members.size() && j < positions; ++j) {
      if (members[j].kind == Pred::kFalse && j + 1 < members.size()) return false;
      // True where other children test a field: PMML's child is true even
      // when the field is missing, where the host asks the next position.
      if (members[j].kind == Pred::kTrue && (j > 0 || positions > 1)) return false;
    }
    if (constant) continue;
    if (first < 0) first = static_cast<int>(i);
    if (strategy == MissingStrategy::kNone) continue;
    // An UNKNOWN child ends the walk: every child must test every position,
    // and a True after them all must be the first child's.
    if (members.size() < positions) return false;
    if (members.size() > positions && members[positions].kind == Pred::kTrue) {
      if (!trueEnd && static_cast<int>(i) != first) return false;
      trueEnd = true;
    }
  }
  return true;
}

// The simple splits, or nothing when the predicates need the general
// construction.
std::optional<Splits> SimpleSplits(std::vector<ChildSpec> const& children, int declaredDefault,
                                   Fields const& fields, MissingStrategy strategy) {
  std::vector<Chain> chains;
  chains.reserve(children.size());
  std::size_t length = 0;
  for (ChildSpec const& child : children) {
    std::optional<Chain> chain = AsChain(child.predicate, fields);
    if (!chain) return std::nullopt;
    length = std::max(length, chain->members.size());
    chains.push_back(std::move(*chain));
  }
  Splits out;
  out.defaultChild = strategy == MissingStrategy::kDefaultChild ? declaredDefault : -1;
  Member const none{};  // False: a chain that ends early places nothing further on
  std::vector<Member const*> members;
  members.reserve(chains.size());
  for (std::size_t j = 0; j < length; ++j) {
    members.clear();
    int field = -1;
    for (Chain const& chain : chains) {
      Member const& m = j < chain.members.size() ? chain.members[j] : none;
      int const f = m.Field();
      if (f >= 0 && field >= 0 && f != field) return std::nullopt;
      if (f >= 0) field = f;
      members.push_back(&m);
    }
    if (field < 0) {  // only True and False: the chain ends here
      if (j == 0) return std::nullopt;
      out.defaultChild = -1;
      for (std::size_t i = 0; i < members.size() && out.defaultChild < 0; ++i) {
        if (members[i]->kind == Pred::kTrue) out.defaultChild = static_cast<int>(i);
      }
      break;
    }
    FieldDef const& def = fields.defs[static_cast<std::size_t>(field)];
    if (def.categorical) {
      out.rules.push_back(CategorySplit(def, members));
    } else {
      std::optional<std::vector<Range>> ranges = RangeSplit(def, members);
      if (!ranges) return std::nullopt;
      if (j == 0) {
        out.primaryRanges = std::move(*ranges);
        out.rules.emplace_back();
      } else {
        out.rules.push_back(std::make_unique<OrdinalSplit>(field, std::move(*ranges), -1));
      }
    }
    out.fieldOf.push_back(field);
    // Without a missing-value strategy a missing value makes each predicate
    // false, so a True child takes it.
    if (j == 0 && strategy == MissingStrategy::kNone && length == 1) {
      for (std::size_t i = 0; i < members.size() && out.missingChild < 0; ++i) {
        if (members[i]->kind == Pred::kTrue) out.missingChild = static_cast<int>(i);
      }
    }
  }
  int explicitMissing = -1;
  for (std::size_t i = 0; i < chains.size(); ++i) {
    if (chains[i].missingField < 0) continue;
    if (chains[i].missingField != out.fieldOf[0] || explicitMissing >= 0) return std::nullopt;
    explicitMissing = static_cast<int>(i);
  }
  if (!TriedInOrderAlike(chains, out.rules.size(), strategy)) return std::nullopt;
  // PMML tries the children in order. One before the isMissing child that a
  // missing value leaves UNKNOWN ends the walk under every strategy but none,
  // and one that a surrogate makes true takes the record: then the host's
  // missing-value child would not mean the same.
  for (int i = 0; i < explicitMissing; ++i) {
    std::vector<Member> const& members = chains[static_cast<std::size_t>(i)].members;
    Pred::Kind const kind = members.size() == 1 ? members[0].kind : Pred::kTrue;
    if (kind != Pred::kFalse && (kind != Pred::kAtom || strategy != MissingStrategy::kNone)) {
      return std::nullopt;
    }
  }
  if (explicitMissing >= 0) out.missingChild = explicitMissing;
  return out;
}

}  // namespace

Range Writable(Range r) {
  if (!r.hasLower && !r.hasUpper) {
    // Above the double next to the lowest, not above the lowest itself: the
    // lowest is written as a number, and command-syntax interpreters read
    // that number as system-missing, which compares as missing.
    r.hasLower = true;
    r.lower = std::nextafter(std::numeric_limits<double>::lowest(), 0.0);
    r.lowerOpen = true;
  }
  return r;
}

Range CodeSpace(Range r) {
  if (r.IsEmpty()) return Range::Between(0, true, 0, false);
  double const down = -std::numeric_limits<double>::infinity();
  if (r.hasLower && !r.lowerOpen) {
    r.lower = std::nextafter(r.lower, down);
    r.lowerOpen = true;
  }
  if (r.hasUpper && r.upperOpen) {
    r.upper = std::nextafter(r.upper, down);
    r.upperOpen = false;
  }
  return r;
}

bool BuildRouting(TreeNode& parent, Where const& at, std::vector<ChildSpec>& children,
                  int declaredDefault, Fields const& fields, RoutingRules const& rules,
                  NodeMaker& maker) {
  std::optional<Splits> splits = SimpleSplits(children, declaredDefault, fields, rules.missing);
  if (!splits) {
    return BuildCompoundRouting(parent, at, children, declaredDefault, fields, rules, maker);
  }
  int const n = static_cast<int>(children.size());
  std::unique_ptr<tree_800::SplitRuleImp>& primary = splits->rules[0];
  if (primary) {
    static_cast<tree_800::NSplitRule*>(primary.get())->SetMissingValueMapping(splits->missingChild);
  } else {
    primary = std::make_unique<OrdinalSplit>(splits->fieldOf[0], std::move(splits->primaryRanges),
                                             splits->missingChild);
  }
  parent.SetPrimary(std::move(primary));
  // A missing-value child takes every record the primary split cannot place,
  // so surrogates would never be asked; leaving them out keeps the rule text
  // from writing conditions that the tree never applies.
  if (splits->missingChild < 0) {
    for (std::size_t i = 1; i < splits->rules.size(); ++i) {
      parent.AddSurrogate(std::move(splits->rules[i]));
    }
  }
  parent.SetDefaultChild(splits->defaultChild < n ? splits->defaultChild : -1);
  parent.ReserveChildren(children.size());
  for (ChildSpec& child : children) parent.AddChild(child.host);
  return true;
}

}  // namespace refhost::pmml
