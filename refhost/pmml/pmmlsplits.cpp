// A node's split from its children's predicates.
//
// Each child's predicate is read as a chain: one predicate, or the parts of a
// surrogate compound. Position j of every chain forms one host split (0 the
// primary, then the surrogates), all on one field. PMML gives a record to the
// first child whose predicate holds, so each child takes only what earlier
// children leave: category codes of a categorical field, or one range of a
// numeric field. `True` takes what is left, `False` nothing. A position of
// only True and False ends the chain: its first True child becomes the
// default child, and none keeps the record at the node. An `or` of isMissing
// and a predicate makes that child the primary split's missing-value child.
#include <cmath>
#include <limits>

#include "refhost/pmml/pmmlinternal.h"

namespace refhost::pmml {
namespace {

struct Atom {
  enum Kind { kTrue, kFalse, kSimple, kSet };
  Kind kind = kFalse;
  pugi::xml_node element;
  FieldDef const* field = nullptr;
  std::string op;
  std::vector<std::string> values;  // one for a simple predicate
};

struct ChildPredicate {
  std::vector<Atom> chain;
  pugi::xml_node missingAt;  // the isMissing predicate, if any
  FieldDef const* missingField = nullptr;
};

bool IsPredicate(std::string const& name) {
  return name == "SimplePredicate" || name == "SimpleSetPredicate" || name == "CompoundPredicate" ||
         name == "True" || name == "False";
}

std::vector<pugi::xml_node> Elements(pugi::xml_node node) {
  std::vector<pugi::xml_node> found;
  for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
    if (c.type() == pugi::node_element && Local(c) != "Extension") found.push_back(c);
  }
  return found;
}

FieldDef const* FieldOf(Doc const& doc, Fields const& fields, pugi::xml_node element) {
  std::string const name = element.attribute("field").value();
  if (name.empty()) doc.Fail(element, "no field");
  FieldDef const* field = fields.Find(name);
  if (field == nullptr)
    doc.Fail(element, "field " + Quote(name) + " is not an active field of the MiningSchema");
  if (field->index == fields.target) doc.Fail(element, "field " + Quote(name) + " is the target");
  return field;
}

bool IsMissingTest(pugi::xml_node element) {
  return Local(element) == "SimplePredicate" &&
         std::string(element.attribute("operator").value()) == "isMissing";
}

Atom ReadAtom(Doc const& doc, Fields const& fields, pugi::xml_node element) {
  Atom atom;
  atom.element = element;
  std::string const name = Local(element);
  if (name == "True" || name == "False") {
    atom.kind = name == "True" ? Atom::kTrue : Atom::kFalse;
    return atom;
  }
  if (name == "SimplePredicate") {
    atom.kind = Atom::kSimple;
    atom.field = FieldOf(doc, fields, element);
    atom.op = element.attribute("operator").value();
    if (atom.op != "equal" && atom.op != "notEqual" && atom.op != "lessThan" &&
        atom.op != "lessOrEqual" && atom.op != "greaterThan" && atom.op != "greaterOrEqual") {
      if (atom.op == "isMissing")
        doc.Fail(element, "isMissing is supported only inside an 'or' with the child's predicate");
      doc.Fail(element, "operator " + Quote(atom.op) + " is not supported");
    }
    if (!element.attribute("value")) doc.Fail(element, "no value");
    atom.values.push_back(element.attribute("value").value());
    return atom;
  }
  if (name == "SimpleSetPredicate") {
    atom.kind = Atom::kSet;
    atom.field = FieldOf(doc, fields, element);
    atom.op = element.attribute("booleanOperator").value();
    if (atom.op != "isIn" && atom.op != "isNotIn") {
      doc.Fail(element, "booleanOperator " + Quote(atom.op) + " is not supported");
    }
    pugi::xml_node const array = FirstChild(element, "Array");
    if (!array) doc.Fail(element, "no Array");
    atom.values = ParseArray(doc, array);
    return atom;
  }
  if (name == "CompoundPredicate") {
    doc.Fail(element, "a CompoundPredicate inside another is not supported");
  }
  doc.Fail(element, "predicate is not supported");
}

std::vector<Atom> ReadChain(Doc const& doc, Fields const& fields, pugi::xml_node element) {
  if (Local(element) == "CompoundPredicate" &&
      std::string(element.attribute("booleanOperator").value()) == "surrogate") {
    std::vector<Atom> chain;
    for (pugi::xml_node part : Elements(element)) chain.push_back(ReadAtom(doc, fields, part));
    if (chain.empty()) doc.Fail(element, "surrogate without predicates");
    return chain;
  }
  return {ReadAtom(doc, fields, element)};
}

ChildPredicate ReadChild(Doc const& doc, Fields const& fields, pugi::xml_node node) {
  pugi::xml_node predicate;
  for (pugi::xml_node c : Elements(node)) {
    if (IsPredicate(Local(c))) {
      predicate = c;
      break;
    }
  }
  if (!predicate) doc.Fail(node, "no predicate");
  ChildPredicate child;
  if (IsMissingTest(predicate)) {
    child.missingAt = predicate;
    child.missingField = FieldOf(doc, fields, predicate);
    Atom none;
    none.element = predicate;
    child.chain.push_back(none);
    return child;
  }
  std::string const op = predicate.attribute("booleanOperator").value();
  if (Local(predicate) == "CompoundPredicate" && op != "surrogate") {
    std::vector<pugi::xml_node> parts = Elements(predicate);
    if (op != "or" || parts.size() != 2 || IsMissingTest(parts[0]) == IsMissingTest(parts[1])) {
      doc.Fail(predicate, "booleanOperator " + Quote(op) +
                              " is supported only as 'or' of isMissing and one predicate");
    }
    if (IsMissingTest(parts[1])) std::swap(parts[0], parts[1]);
    child.missingAt = parts[0];
    child.missingField = FieldOf(doc, fields, parts[0]);
    child.chain = ReadChain(doc, fields, parts[1]);
    return child;
  }
  child.chain = ReadChain(doc, fields, predicate);
  return child;
}

// --- categorical fields: category codes per child ---

double NumberIn(Doc const& doc, Atom const& atom, std::string const& text) {
  std::optional<double> number = NumberOf(*atom.field, text);
  if (!number) {
    doc.Fail(atom.element, "value " + Quote(text) + " of field " + Quote(atom.field->name) +
                               " is not a " +
                               (atom.field->kind == PmmlField::kDate ? "date" : "number"));
  }
  return *number;
}

// Whether category `code` satisfies the atom (a simple or set predicate).
bool Holds(Doc const& doc, Atom const& atom, int code) {
  FieldDef const& field = *atom.field;
  bool const strings = field.kind == PmmlField::kString;
  auto const equal = [&](std::string const& text) {
    if (strings) return field.categories[code - 1] == text;
    return field.numbers[code - 1] == NumberIn(doc, atom, text);
  };
  if (atom.kind == Atom::kSet) {
    bool in = false;
    for (auto const& text : atom.values) in = in || equal(text);
    return atom.op == "isIn" ? in : !in;
  }
  std::string const& text = atom.values[0];
  if (atom.op == "equal") return equal(text);
  if (atom.op == "notEqual") return !equal(text);
  double left = 0;
  double right = 0;
  if (strings) {
    if (!field.ordinal) {
      doc.Fail(atom.element,
               "operator " + Quote(atom.op) + " on the unordered field " + Quote(field.name));
    }
    int const other = CodeOf(field, text);
    if (other == 0)
      doc.Fail(atom.element, "value " + Quote(text) + " is not a category of " + Quote(field.name));
    left = code;
    right = other;
  } else {
    left = field.numbers[code - 1];
    right = NumberIn(doc, atom, text);
  }
  if (atom.op == "lessThan") return left < right;
  if (atom.op == "lessOrEqual") return left <= right;
  if (atom.op == "greaterThan") return left > right;
  return left >= right;
}

Split CategorySplit(Doc const& doc, FieldDef const& field, std::vector<Atom> const& atoms) {
  int const n = static_cast<int>(field.categories.size());
  std::vector<bool> taken(static_cast<std::size_t>(n) + 1, false);
  std::vector<std::vector<int>> codes(atoms.size());
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    if (atoms[i].kind == Atom::kFalse) continue;
    for (int code = 1; code <= n; ++code) {
      if (taken[code]) continue;
      if (atoms[i].kind == Atom::kTrue || Holds(doc, atoms[i], code)) {
        taken[code] = true;
        codes[i].push_back(code);
      }
    }
  }
  return Split::Codes(field.index, std::move(codes));
}

// --- numeric fields: one range per child ---

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

Range RangeOf(Doc const& doc, Atom const& atom) {
  if (atom.kind == Atom::kSet) {
    if (atom.op != "isIn" || atom.values.size() != 1) {
      doc.Fail(atom.element, "a value set on the continuous field " + Quote(atom.field->name) +
                                 " is supported only as isIn of one value");
    }
    double const v = NumberIn(doc, atom, atom.values[0]);
    return Range::Between(v, false, v, false);
  }
  double const v = NumberIn(doc, atom, atom.values[0]);
  if (atom.op == "lessThan") return Range::Below(v);
  if (atom.op == "lessOrEqual") return Range::AtMost(v);
  if (atom.op == "greaterThan") return Range::Above(v);
  if (atom.op == "greaterOrEqual") return Range::AtLeast(v);
  if (atom.op == "equal") return Range::Between(v, false, v, false);
  doc.Fail(atom.element, "operator 'notEqual' on the continuous field " + Quote(atom.field->name) +
                             " is not supported");
}

// On a field with an encoder the host's ranges run (a, b]: a closed lower end
// or an open upper end moves to the largest double below it.
Range CodeSpace(Range r) {
  if (r.IsEmpty()) return Empty();
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

Split RangeSplit(Doc const& doc, FieldDef const& field, std::vector<Atom> const& atoms) {
  std::vector<Range> given;  // each child's own range, before earlier children take theirs
  std::vector<Range> ranges;
  for (Atom const& atom : atoms) {
    Range own = atom.kind == Atom::kTrue    ? Range::All()
                : atom.kind == Atom::kFalse ? Empty()
                                            : RangeOf(doc, atom);
    Range left = own;
    for (Range const& earlier : given) {
      std::optional<Range> rest = Subtract(left, earlier);
      if (!rest) {
        doc.Fail(atom.element, "what earlier children leave of this predicate on " +
                                   Quote(field.name) + " is not one range");
      }
      left = *rest;
    }
    given.push_back(own);
    ranges.push_back(field.hasUserMissing ? CodeSpace(left) : (left.IsEmpty() ? Empty() : left));
  }
  return Split::Ranges(field.index, std::move(ranges));
}

}  // namespace

NodeSplits ReadSplits(Doc const& doc, Fields const& fields, pugi::xml_node node,
                      std::vector<pugi::xml_node> const& children, MissingStrategy strategy,
                      int declaredDefault) {
  std::vector<ChildPredicate> predicates;
  std::size_t length = 0;
  for (pugi::xml_node child : children) {
    predicates.push_back(ReadChild(doc, fields, child));
    length = std::max(length, predicates.back().chain.size());
  }
  NodeSplits out;
  out.defaultChild = strategy == MissingStrategy::kDefaultChild ? declaredDefault : -1;
  FieldDef const* primaryField = nullptr;
  for (std::size_t j = 0; j < length; ++j) {
    std::vector<Atom> atoms;
    FieldDef const* field = nullptr;
    for (std::size_t i = 0; i < predicates.size(); ++i) {
      Atom atom;
      atom.element = children[i];
      if (j < predicates[i].chain.size()) atom = predicates[i].chain[j];
      if (atom.field != nullptr && field != nullptr && atom.field != field) {
        doc.Fail(atom.element, "splits on " + Quote(atom.field->name) +
                                   " where an earlier child splits on " + Quote(field->name));
      }
      if (atom.field != nullptr) field = atom.field;
      atoms.push_back(atom);
    }
    if (field == nullptr) {  // only True and False: the chain ends here
      out.defaultChild = -1;
      for (std::size_t i = 0; i < atoms.size() && out.defaultChild < 0; ++i) {
        if (atoms[i].kind == Atom::kTrue) out.defaultChild = static_cast<int>(i);
      }
      if (j == 0) doc.Fail(node, "the predicates of its children name no field");
      break;
    }
    Split split =
        field->categorical ? CategorySplit(doc, *field, atoms) : RangeSplit(doc, *field, atoms);
    if (j == 0) {
      out.primary = split;
      primaryField = field;
      // Without a missing-value strategy a missing value makes each predicate
      // false, so a True child takes it.
      if (strategy == MissingStrategy::kNone && length == 1) {
        for (std::size_t i = 0; i < atoms.size() && out.missingChild < 0; ++i) {
          if (atoms[i].kind == Atom::kTrue) out.missingChild = static_cast<int>(i);
        }
      }
    } else {
      out.surrogates.push_back(split);
    }
  }
  int explicitMissing = -1;
  for (std::size_t i = 0; i < predicates.size(); ++i) {
    if (predicates[i].missingField == nullptr) continue;
    if (predicates[i].missingField != primaryField) {
      doc.Fail(predicates[i].missingAt, "isMissing on " + Quote(predicates[i].missingField->name) +
                                            " where the split is on " + Quote(primaryField->name));
    }
    if (explicitMissing >= 0) doc.Fail(predicates[i].missingAt, "a second missing-value child");
    explicitMissing = static_cast<int>(i);
  }
  if (explicitMissing >= 0) out.missingChild = explicitMissing;
  out.primary->Missing(out.missingChild);
  // A missing-value child takes every record the primary split cannot place,
  // so surrogates would never be asked; leaving them out keeps the rule text
  // from writing conditions that the tree never applies.
  if (out.missingChild >= 0) out.surrogates.clear();
  return out;
}

}  // namespace refhost::pmml
