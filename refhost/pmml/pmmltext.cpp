// Messages, numbers, fields and the three-valued logic of predicates.
#include <algorithm>
#include <cmath>

#include "host/systemmissing.h"
#include "refhost/dates.h"
#include "refhost/numbertext.h"
#include "refhost/pmml/pmmlinternal.h"

namespace refhost::pmml {

std::string Quote(std::string_view text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\n') {
      quoted += "\\n";
    } else if (c == '\r') {
      quoted += "\\r";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

std::optional<double> ParseNumber(std::string_view text) {
  auto const blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  if (text.empty()) return std::nullopt;
  std::optional<double> const value = ParseDouble(text);
  if (!value || !std::isfinite(*value)) return std::nullopt;
  return value;
}

void Fail(std::string_view element, long line, std::string const& what) {
  throw PmmlError(std::string(element) + " at line " + std::to_string(line) + ": " + what, line);
}

std::vector<std::string> ParseArray(std::string const& text, Where const& at,
                                    std::string const* n) {
  std::vector<std::string> tokens;
  std::size_t i = 0;
  auto const blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
  while (i < text.size()) {
    if (blank(text[i])) {
      ++i;
      continue;
    }
    std::string token;
    if (text[i] == '"') {
      ++i;
      bool closed = false;
      while (i < text.size()) {
        if (text[i] == '\\' && i + 1 < text.size() && text[i + 1] == '"') {
          token += '"';
          i += 2;
        } else if (text[i] == '"') {
          closed = true;
          ++i;
          break;
        } else {
          token += text[i++];
        }
      }
      if (!closed) at.Fail("quoted value without its closing quote");
    } else {
      while (i < text.size() && !blank(text[i])) token += text[i++];
    }
    tokens.push_back(std::move(token));
  }
  if (n != nullptr && ParseNumber(*n) != static_cast<double>(tokens.size())) {
    at.Fail("n=\"" + *n + "\" but it holds " + std::to_string(tokens.size()) + " values");
  }
  return tokens;
}

int FieldDef::CodeOf(std::string const& text) const {
  auto const found = codeByText.find(text);
  if (found != codeByText.end()) return found->second;
  if (kind == PmmlField::kString && !boolean) return 0;
  std::optional<double> const number = NumberOf(text);
  if (!number) return 0;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (numbers[i] == *number) return static_cast<int>(i) + 1;
  }
  return 0;
}

std::optional<double> FieldDef::NumberOf(std::string const& text) const {
  if (boolean) {
    std::string lower;
    for (char c : text) lower += static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    if (lower == "true" || lower == "1") return 1.0;
    if (lower == "false" || lower == "0") return 0.0;
    return ParseNumber(text);  // a threshold such as 0.5
  }
  if (kind == PmmlField::kNumber) return ParseNumber(text);
  if (kind == PmmlField::kDate) {
    try {
      return DateNumberFromIso(text);
    } catch (std::invalid_argument const&) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

void FieldDef::AddCategory(std::string const& text, double number) {
  categories.push_back(text);
  numbers.push_back(number);
  codeByText.emplace(text, static_cast<int>(categories.size()));
}

FieldDef const* Fields::Find(std::string const& name) const {
  auto const found = byName.find(name);
  return found == byName.end() ? nullptr : &defs[static_cast<std::size_t>(found->second)];
}

// A float cast rounds to the nearest 32-bit float (ties to even), as the
// machine does; an integer cast rounds to the nearest integer with halves
// going up, as PMML's round does.
double ApplyCasts(std::vector<Cast> const& casts, double x) {
  for (Cast cast : casts) {
    if (cast == Cast::kFloat) {
      x = static_cast<double>(static_cast<float>(x));
    } else if (cast == Cast::kInteger && std::isfinite(x)) {
      double const whole = std::floor(x);
      x = x - whole >= 0.5 ? whole + 1 : whole;
    }
  }
  return x;
}

// --- interval sets ---

bool IntervalSet::Contains(double x) const {
  for (Range const& r : ranges) {
    if (r.Contains(x)) return true;
  }
  return false;
}

IntervalSet IntervalSet::All() { return IntervalSet{{Range::All()}}; }

namespace {

// Whether the lower end of `a` starts before that of `b` (an open end
// starts after a closed one at the same number).
bool LowerBefore(Range const& a, Range const& b) {
  if (!a.hasLower) return b.hasLower;
  if (!b.hasLower) return false;
  if (a.lower != b.lower) return a.lower < b.lower;
  return !a.lowerOpen && b.lowerOpen;
}

// Whether the upper end of `a` ends after that of `b`.
bool UpperAfter(Range const& a, Range const& b) {
  if (!a.hasUpper) return b.hasUpper;
  if (!b.hasUpper) return false;
  if (a.upper != b.upper) return a.upper > b.upper;
  return !a.upperOpen && b.upperOpen;
}

// Whether `a` followed by `b` (b starting no earlier) leaves no number out.
bool Touch(Range const& a, Range const& b) {
  if (!a.hasUpper || !b.hasLower) return true;
  if (a.upper != b.lower) return a.upper > b.lower;
  return !a.upperOpen || !b.lowerOpen;
}

Range Between(Range const& lowerOf, Range const& upperOf) {
  Range r = Range::All();
  r.hasLower = lowerOf.hasLower;
  r.lower = lowerOf.lower;
  r.lowerOpen = lowerOf.lowerOpen;
  r.hasUpper = upperOf.hasUpper;
  r.upper = upperOf.upper;
  r.upperOpen = upperOf.upperOpen;
  return r;
}

IntervalSet Normalized(std::vector<Range> ranges) {
  std::vector<Range> kept;
  for (Range const& r : ranges) {
    if (!r.IsEmpty()) kept.push_back(r);
  }
  std::sort(kept.begin(), kept.end(), LowerBefore);
  IntervalSet out;
  for (Range const& r : kept) {
    if (!out.ranges.empty() && Touch(out.ranges.back(), r)) {
      Range& last = out.ranges.back();
      if (UpperAfter(r, last)) last = Between(last, r);
    } else {
      out.ranges.push_back(r);
    }
  }
  return out;
}

}  // namespace

IntervalSet IntervalSet::Union(IntervalSet const& other) const {
  std::vector<Range> all = ranges;
  all.insert(all.end(), other.ranges.begin(), other.ranges.end());
  return Normalized(std::move(all));
}

IntervalSet IntervalSet::Complement() const {
  std::vector<Range> out;
  Range gap = Range::All();  // its lower end follows the previous range
  for (Range const& r : ranges) {
    if (r.hasLower) {
      Range piece = gap;
      piece.hasUpper = true;
      piece.upper = r.lower;
      piece.upperOpen = !r.lowerOpen;
      out.push_back(piece);
    }
    if (!r.hasUpper) return Normalized(std::move(out));
    gap = Range::All();
    gap.hasLower = true;
    gap.lower = r.upper;
    gap.lowerOpen = !r.upperOpen;
  }
  out.push_back(gap);
  return Normalized(std::move(out));
}

IntervalSet IntervalSet::Intersect(IntervalSet const& other) const {
  return Complement().Union(other.Complement()).Complement();
}

// --- three-valued logic ---

Truth Evaluate(Pred const& pred, double const* values) {
  switch (pred.kind) {
    case Pred::kTrue:
      return Truth::kTrue;
    case Pred::kFalse:
      return Truth::kFalse;
    case Pred::kIsMissing:
    case Pred::kIsNotMissing: {
      bool const missing = values[pred.field] == systemMissingValue();
      return missing == (pred.kind == Pred::kIsMissing) ? Truth::kTrue : Truth::kFalse;
    }
    case Pred::kAtom: {
      double const v = values[pred.field];
      if (v == systemMissingValue()) return Truth::kUnknown;
      bool holds = false;
      if (!pred.codes.empty()) {
        double const whole = std::floor(v);
        holds = whole == v && whole >= 0 && whole < static_cast<double>(pred.codes.size()) &&
                pred.codes[static_cast<std::size_t>(whole)];
      } else {
        holds = pred.numbers.Contains(v);
      }
      return holds ? Truth::kTrue : Truth::kFalse;
    }
    case Pred::kAnd: {
      Truth result = Truth::kTrue;
      for (Pred const& part : pred.parts) {
        Truth const t = Evaluate(part, values);
        if (t == Truth::kFalse) return Truth::kFalse;
        if (t == Truth::kUnknown) result = Truth::kUnknown;
      }
      return result;
    }
    case Pred::kOr: {
      Truth result = Truth::kFalse;
      for (Pred const& part : pred.parts) {
        Truth const t = Evaluate(part, values);
        if (t == Truth::kTrue) return Truth::kTrue;
        if (t == Truth::kUnknown) result = Truth::kUnknown;
      }
      return result;
    }
    case Pred::kXor: {
      bool odd = false;
      for (Pred const& part : pred.parts) {
        Truth const t = Evaluate(part, values);
        if (t == Truth::kUnknown) return Truth::kUnknown;
        odd = odd != (t == Truth::kTrue);
      }
      return odd ? Truth::kTrue : Truth::kFalse;
    }
    case Pred::kSurrogate:
      for (Pred const& part : pred.parts) {
        Truth const t = Evaluate(part, values);
        if (t != Truth::kUnknown) return t;
      }
      return Truth::kUnknown;
  }
  return Truth::kUnknown;
}

}  // namespace refhost::pmml
