// Predicates from the document. A simple or set predicate becomes an atom:
// the codes of a categorical field, or the numbers of a numeric field, for
// which it holds. A predicate on a derived field is moved to its raw field:
// the casts between them are monotone, so the numbers whose cast value lies
// in a range form one range, found exactly by bisection over the doubles.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "refhost/pmml/pmmlreading.h"

namespace refhost::pmml {
namespace {

double const kInf = std::numeric_limits<double>::infinity();
std::size_t const kMaxNesting = 1000;

// The doubles in order as unsigned integers (-inf lowest, +inf highest).
std::uint64_t Key(double x) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &x, sizeof bits);
  return (bits >> 63) != 0 ? ~bits : bits | (std::uint64_t{1} << 63);
}

double FromKey(std::uint64_t key) {
  std::uint64_t const bits = (key >> 63) != 0 ? key & ~(std::uint64_t{1} << 63) : ~key;
  double x = 0;
  std::memcpy(&x, &bits, sizeof x);
  return x;
}

// The first double in [-inf, +inf] for which `holds` (false, then true as x
// grows) is true; nothing when it never is.
template <typename F>
std::optional<double> FirstTrue(F holds) {
  std::uint64_t lo = Key(-kInf);
  std::uint64_t hi = Key(kInf);
  if (!holds(FromKey(hi))) return std::nullopt;
  while (lo < hi) {
    std::uint64_t const mid = lo + (hi - lo) / 2;
    if (holds(FromKey(mid))) {
      hi = mid;
    } else {
      lo = mid + 1;
    }
  }
  return FromKey(lo);
}

// The raw numbers x whose cast value lies in `r`: one closed range, since
// the casts never decrease.
Range PreImage(std::vector<Cast> const& casts, Range const& r) {
  auto const above = [&](double x) {
    double const v = ApplyCasts(casts, x);
    return !r.hasLower || (r.lowerOpen ? v > r.lower : v >= r.lower);
  };
  auto const notBelow = [&](double x) {  // the cast value is past the upper end
    double const v = ApplyCasts(casts, x);
    return r.hasUpper && (r.upperOpen ? v >= r.upper : v > r.upper);
  };
  std::optional<double> const first = FirstTrue(above);
  std::optional<double> const past = FirstTrue(notBelow);
  if (!first) return Range::Between(0, true, 0, true);  // empty
  double const last = past ? FromKey(Key(*past) - 1) : kInf;
  if (past && *past == -kInf) return Range::Between(0, true, 0, true);
  Range out = Range::All();
  if (*first != -kInf) {
    out.hasLower = true;
    out.lower = *first;
    out.lowerOpen = false;
  }
  if (last != kInf) {
    out.hasUpper = true;
    out.upper = last;
    out.upperOpen = false;
  }
  return out;
}

IntervalSet PreImage(std::vector<Cast> const& casts, IntervalSet set) {
  if (casts.empty()) return set;
  IntervalSet out;
  for (Range const& r : set.ranges) out = out.Union(IntervalSet{{PreImage(casts, r)}});
  return out;
}

class PredicateReader {
 public:
  PredicateReader(XmlReader& xml, Fields const& fields, Derived const& derived)
      : fnXml(xml), fnFields(fields), fnDerived(derived) {}

  // At the kStart of a predicate element; returns after its kEnd.
  Pred Read() {
    std::vector<Pred> open;  // compounds being read, innermost last
    for (;;) {
      if (fnXml.Name() == "CompoundPredicate") {
        if (open.size() >= kMaxNesting) {
          Here(fnXml).Fail("CompoundPredicate nested more than 1000 deep");
        }
        open.push_back(Compound());
      } else {
        Pred leaf = Leaf();
        if (open.empty()) return leaf;
        open.back().parts.push_back(std::move(leaf));
      }
      // On to the next part, closing the compounds that end before it.
      for (;;) {
        XmlReader::Event const e = fnXml.Next();
        if (e == XmlReader::kStart) {
          if (fnXml.Name() != "Extension") break;
          SkipElement(fnXml);
        } else if (e == XmlReader::kEnd) {
          Pred done = Finish(std::move(open.back()));
          open.pop_back();
          if (open.empty()) return done;
          open.back().parts.push_back(std::move(done));
        } else if (e == XmlReader::kDone) {
          Here(fnXml).Fail("the document ends inside a predicate");
        }
      }
    }
  }

 private:
  Pred Compound() {
    Pred pred;
    pred.where = Here(fnXml);
    std::string_view const op = ValueOr(fnXml, "booleanOperator", "");
    if (op == "and") {
      pred.kind = Pred::kAnd;
    } else if (op == "or") {
      pred.kind = Pred::kOr;
    } else if (op == "xor") {
      pred.kind = Pred::kXor;
    } else if (op == "surrogate") {
      pred.kind = Pred::kSurrogate;
    } else {
      pred.where.Fail("booleanOperator " + Quote(op) + " is not supported");
    }
    return pred;
  }

  Pred Finish(Pred pred) {
    std::size_t const least = pred.kind == Pred::kSurrogate ? 1 : 2;
    if (pred.parts.size() < least) {
      pred.where.Fail("a CompoundPredicate with " + std::to_string(pred.parts.size()) +
                      (pred.parts.size() == 1 ? " predicate" : " predicates") +
                      " (it needs at least " + std::to_string(least) + ")");
    }
    return pred;
  }

  // A predicate without predicate parts; leaves the reader at its kEnd.
  Pred Leaf() {
    Pred pred;
    pred.where = Here(fnXml);
    std::string_view const name = fnXml.Name();
    if (name == "True" || name == "False") {
      pred.kind = name == "True" ? Pred::kTrue : Pred::kFalse;
      SkipToEnd();
      return pred;
    }
    if (name == "SimplePredicate") {
      Simple(pred);
      SkipToEnd();
      return pred;
    }
    if (name == "SimpleSetPredicate") {
      Set(pred);
      return pred;
    }
    pred.where.Fail("predicate " + Quote(name) + " is not supported");
  }

  void SkipToEnd() { SkipElement(fnXml); }

  FieldRef Field(Where const& at) {
    std::string const name = AttributeOr(fnXml, "field", "");
    if (name.empty()) at.Fail("no field");
    return ResolveField(fnFields, fnDerived, name, at);
  }

  void Simple(Pred& pred) {
    FieldRef const ref = Field(pred.where);
    pred.field = ref.field->index;
    std::string_view const op = ValueOr(fnXml, "operator", "");
    if (op == "isMissing" || op == "isNotMissing") {
      pred.kind = op == "isMissing" ? Pred::kIsMissing : Pred::kIsNotMissing;
      return;
    }
    if (op != "equal" && op != "notEqual" && op != "lessThan" && op != "lessOrEqual" &&
        op != "greaterThan" && op != "greaterOrEqual") {
      pred.where.Fail("operator " + Quote(op) + " is not supported");
    }
    std::optional<std::string_view> const value = fnXml.Value("value");
    if (!value) pred.where.Fail("no value");
    pred.kind = Pred::kAtom;
    FieldDef const& f = *ref.field;
    if (f.categorical) {
      pred.codes.assign(f.categories.size() + 1, false);
      bool const byCode = f.kind == PmmlField::kString && !f.boolean;
      bool const equality = op == "equal" || op == "notEqual";
      double threshold = 0;
      if (byCode) {
        int const code = Category(f, *value, pred.where, equality);
        if (!equality && !f.ordinal) {
          pred.where.Fail("operator " + Quote(op) + " on the unordered field " + Quote(f.name));
        }
        threshold = code;
      } else {
        threshold = Number(f, *value, pred.where);
        if (equality && ref.casts.empty()) Category(f, *value, pred.where, true);
      }
      for (std::size_t c = 1; c < pred.codes.size(); ++c) {
        double const left =
            byCode ? static_cast<double>(c) : ApplyCasts(ref.casts, f.numbers[c - 1]);
        pred.codes[c] = Compare(op, left, threshold);
      }
      return;
    }
    double const t = Number(f, *value, pred.where);
    IntervalSet set;
    if (op == "lessThan") set.ranges.push_back(Range::Below(t));
    if (op == "lessOrEqual") set.ranges.push_back(Range::AtMost(t));
    if (op == "greaterThan") set.ranges.push_back(Range::Above(t));
    if (op == "greaterOrEqual") set.ranges.push_back(Range::AtLeast(t));
    if (op == "equal" || op == "notEqual") set.ranges.push_back(Range::Between(t, false, t, false));
    if (op == "notEqual") set = set.Complement();
    pred.numbers = PreImage(ref.casts, std::move(set));
  }

  void Set(Pred& pred) {
    FieldRef const ref = Field(pred.where);
    pred.field = ref.field->index;
    pred.kind = Pred::kAtom;
    std::string const op = AttributeOr(fnXml, "booleanOperator", "");
    if (op != "isIn" && op != "isNotIn") {
      pred.where.Fail("booleanOperator " + Quote(op) + " is not supported");
    }
    std::vector<std::string> values;
    bool haveArray = false;
    std::size_t const depth = fnXml.Depth();
    for (;;) {
      XmlReader::Event const e = fnXml.Next();
      if (e == XmlReader::kEnd && fnXml.Depth() + 1 == depth) break;
      if (e != XmlReader::kStart) continue;
      if (fnXml.Name() != "Array") {
        SkipElement(fnXml);
        continue;
      }
      Where const at = Here(fnXml);
      if (haveArray) at.Fail("a second Array");
      haveArray = true;
      std::string const n = AttributeOr(fnXml, "n", "");
      std::string text;
      std::size_t const arrayDepth = fnXml.Depth();
      for (;;) {
        XmlReader::Event const a = fnXml.Next();
        if (a == XmlReader::kText) text += fnXml.Text();
        if (a == XmlReader::kStart) SkipElement(fnXml);
        if (a == XmlReader::kEnd && fnXml.Depth() + 1 == arrayDepth) break;
      }
      values = ParseArray(text, at, n.empty() ? nullptr : &n);
      if (values.empty()) at.Fail("an empty Array: the set predicate names no value");
    }
    if (!haveArray) pred.where.Fail("no Array");
    FieldDef const& f = *ref.field;
    if (f.categorical) {
      pred.codes.assign(f.categories.size() + 1, false);
      bool const byCode = f.kind == PmmlField::kString && !f.boolean;
      std::vector<double> listed;
      for (std::string const& v : values) {
        int const code = Category(f, v, pred.where, ref.casts.empty());
        listed.push_back(byCode ? code : Number(f, v, pred.where));
      }
      for (std::size_t c = 1; c < pred.codes.size(); ++c) {
        double const left =
            byCode ? static_cast<double>(c) : ApplyCasts(ref.casts, f.numbers[c - 1]);
        bool in = false;
        for (double l : listed) in = in || left == l;
        pred.codes[c] = in == (op == "isIn");
      }
      return;
    }
    IntervalSet set;
    for (std::string const& v : values) {
      double const t = Number(f, v, pred.where);
      set = set.Union(IntervalSet{{Range::Between(t, false, t, false)}});
    }
    if (op == "isNotIn") set = set.Complement();
    pred.numbers = PreImage(ref.casts, std::move(set));
  }

  // The code of a category named by a predicate. A field that declares its
  // values must declare this one; a declared user-missing value has no code.
  int Category(FieldDef const& f, std::string_view text, Where const& at, bool mustExist) {
    int const code = f.CodeOf(text);
    if (code == 0 && mustExist) {
      bool missingValue = false;
      for (std::string const& m : f.missingTexts) missingValue = missingValue || m == text;
      if (!missingValue) {
        at.Fail("value " + Quote(text) + " is not a value of the field " + Quote(f.name) +
                (f.declared ? " (its Value elements do not declare it)" : ""));
      }
    }
    return code;
  }

  double Number(FieldDef const& f, std::string_view text, Where const& at) {
    std::optional<double> const number = f.NumberOf(text);
    if (!number) {
      char const* what = f.boolean                    ? "boolean or a number"
                         : f.kind == PmmlField::kDate ? "date"
                                                      : "number";
      at.Fail("value " + Quote(text) + " of field " + Quote(f.name) + " is not a " + what);
    }
    return *number;
  }

  static bool Compare(std::string_view op, double left, double right) {
    if (op == "equal") return left == right;
    if (op == "notEqual") return left != right;
    if (op == "lessThan") return left < right;
    if (op == "lessOrEqual") return left <= right;
    if (op == "greaterThan") return left > right;
    return left >= right;
  }

  XmlReader& fnXml;
  Fields const& fnFields;
  Derived const& fnDerived;
};

}  // namespace

Pred ReadPredicate(XmlReader& xml, Fields const& fields, Derived const& derived) {
  return PredicateReader(xml, fields, derived).Read();
}

}  // namespace refhost::pmml
