// A split as a test describes it, before the builder resolves categories to
// codes and checks it against the model.
#pragma once

#include <vector>

#include "host/variant.h"
#include "refhost/range.h"

namespace refhost {

class Split {
 public:
  enum Kind { kNominalValues, kNominalCodes, kCuts, kCategoryCuts, kRanges };

  // Nominal: per child, the category values it takes (looked up in the
  // variable's categories; numbers are the codes of a variable without them).
  static Split Nominal(int variable, std::vector<std::vector<mdt_800::Variant>> valuesPerChild);
  // Nominal: per child, the category codes it takes.
  static Split Codes(int variable, std::vector<std::vector<int>> codesPerChild);
  // Ordered at cut points c1 < ... < ck: child 0 takes (-inf, c1], child i
  // (ci, ci+1], the last (ck, +inf). Codes for a variable with categories.
  static Split Cuts(int variable, std::vector<double> cuts);
  // Ordered at categories of an ordered categorical variable: as Cuts, at
  // the categories' codes.
  static Split CategoryCuts(int variable, std::vector<mdt_800::Variant> cuts);
  // Ordered: child i takes ranges[i] (the first matching range wins).
  static Split Ranges(int variable, std::vector<Range> ranges);

  // The child that takes records whose value is missing.
  Split& Missing(int child) {
    fnMissingChild = child;
    return *this;
  }

  Kind GetKind() const { return fnKind; }
  int GetVariable() const { return fnVariable; }
  int GetMissingChild() const { return fnMissingChild; }
  std::vector<std::vector<mdt_800::Variant>> const& GetValues() const { return fnValues; }
  std::vector<std::vector<int>> const& GetCodes() const { return fnCodes; }
  std::vector<double> const& GetCuts() const { return fnCuts; }
  std::vector<mdt_800::Variant> const& GetCategoryCuts() const { return fnCategoryCuts; }
  std::vector<Range> const& GetRanges() const { return fnRanges; }
  bool IsNominal() const { return fnKind == kNominalValues || fnKind == kNominalCodes; }
  int NumChildren() const;

 private:
  Split(Kind kind, int variable) : fnKind(kind), fnVariable(variable) {}

  Kind fnKind;
  int fnVariable;
  int fnMissingChild = -1;
  std::vector<std::vector<mdt_800::Variant>> fnValues;
  std::vector<std::vector<int>> fnCodes;
  std::vector<double> fnCuts;
  std::vector<mdt_800::Variant> fnCategoryCuts;
  std::vector<Range> fnRanges;
};

}  // namespace refhost
