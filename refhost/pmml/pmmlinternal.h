// Shared pieces of the PMML loader: messages, the model's fields, derived
// fields, and predicates read into a form that can be evaluated and turned
// into host splits.
#pragma once

#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "refhost/pmml/pmmlmodel.h"
#include "refhost/range.h"

namespace refhost::pmml {

// "'text'" for messages, with line feeds and carriage returns as \n and \r so
// that every message stays on one line.
std::string Quote(std::string_view text);
// The whole text, blanks around it allowed, as a finite number.
std::optional<double> ParseNumber(std::string_view text);
// Throws PmmlError "<element> at line <line>: <what>".
[[noreturn]] void Fail(std::string_view element, long line, std::string const& what);

// Where an element stands, for messages.
struct Where {
  std::string element;
  long line = 0;
  [[noreturn]] void Fail(std::string const& what) const { pmml::Fail(element, line, what); }
};

// The tokens of an Array's text: blank-separated, or double-quoted with \"
// for a quote inside. With `n`, the count must be that number.
std::vector<std::string> ParseArray(std::string const& text, Where const& at, std::string const* n);

// One model variable as the loader sees it.
struct FieldDef {
  int index = -1;  // in the metadata's variable order
  std::string name;
  PmmlField::Kind kind = PmmlField::kNumber;
  bool boolean = false;  // dataType boolean: categories read as 0 and 1
  bool ordinal = false;
  bool categorical = false;             // reaches the tree as codes 1..n
  bool declared = false;                // its categories are its Value elements
  std::vector<std::string> categories;  // texts in code order
  std::vector<double> numbers;          // each category as a number (numbers, dates, booleans)
  std::unordered_map<std::string, int> codeByText;
  std::vector<std::string> missingTexts;  // its user-missing values
  bool hasUserMissing = false;            // a numeric field with an encoder for its missing values
  Where where;                            // the DataField

  // The code (1..n) of a value text, 0 when it is none.
  int CodeOf(std::string_view text) const;
  // The number a value text stands for (date numbers for dates, 1 and 0
  // for booleans), or nothing.
  std::optional<double> NumberOf(std::string_view text) const;
  void AddCategory(std::string const& text, double number);
};

// Casts that a derived field applies to a raw field's number, in order.
enum class Cast { kDouble, kFloat, kInteger };
double ApplyCasts(std::vector<Cast> const& casts, double x);

// A field a predicate may name: a model variable, or a derived field made
// of FieldRefs and casts over one.
struct FieldRef {
  FieldDef const* field = nullptr;
  std::vector<Cast> casts;
};

// Numbers in a union of disjoint ranges, ascending.
struct IntervalSet {
  std::vector<Range> ranges;
  bool Contains(double x) const;
  static IntervalSet All();
  IntervalSet Intersect(IntervalSet const& other) const;
  IntervalSet Union(IntervalSet const& other) const;
  IntervalSet Complement() const;
};

// A predicate, read from the document. Atoms test one field: a numeric
// field by the numbers it holds, a categorical one by codes. An atom on a
// missing value is UNKNOWN; isMissing and isNotMissing are never UNKNOWN.
struct Pred {
  enum Kind { kTrue, kFalse, kAtom, kIsMissing, kIsNotMissing, kAnd, kOr, kXor, kSurrogate };
  Kind kind = kFalse;
  Where where;
  int field = -1;           // variable index, for atoms and missing tests
  IntervalSet numbers;      // an atom on a numeric field
  std::vector<bool> codes;  // an atom on a categorical field: codes[c] for code c
  std::vector<Pred> parts;  // compounds

  bool IsConstant() const { return kind == kTrue || kind == kFalse; }
};

// A range as the host holds it on a field with an encoder: ends at (a, b],
// a closed lower end or an open upper end moved to the largest double below
// it, which selects the same doubles.
Range CodeSpace(Range r);

// `r`, or when it holds every number, every number above the double next to
// the lowest (the lowest is the system-missing value, and a VELD interpreter
// reads it so in the text): a range the rule text can write.
Range Writable(Range r);

// Three-valued results.
enum class Truth { kFalse, kTrue, kUnknown };
// The predicate on one record, given as one encoded double per variable
// (codes for categorical variables; system-missing for a missing value).
Truth Evaluate(Pred const& pred, double const* values);

// The model's variables: filled from the DataDictionary and MiningSchema.
struct Fields {
  std::vector<FieldDef> defs;  // in variable order
  int target = -1;
  std::unordered_map<std::string, int> byName;
  FieldDef const* Find(std::string const& name) const;
};

}  // namespace refhost::pmml
