// The reference host's value sets: a list of category codes (with its
// iterator) and a range.
#pragma once

#include <vector>

#include "host/splitrule.h"
#include "refhost/range.h"

namespace refhost {

// Category codes in the order the split first mapped them.
class CodeSet : public tree_800::NValueSet {
 public:
  explicit CodeSet(std::vector<int> codes);
  CodeSet(CodeSet const& other);
  ~CodeSet() override;

  bool Contains(double value) const override;
  bool IsEmpty() const override;
  // New iterator over a copy of the codes; owned by the caller.
  tree_800::ValueIterator* GetIterator() const override;

 private:
  std::vector<int> fnCodes;
};

class CodeIterator : public tree_800::ValueIterator {
 public:
  explicit CodeIterator(std::vector<int> codes);
  CodeIterator(CodeIterator const& other);
  ~CodeIterator() override;

  // REQUIRES: HasMore().
  int Next() override;
  bool HasMore() const override;

 private:
  std::vector<int> fnCodes;
  std::size_t fnNext = 0;
};

// A range; an absent end reports itself as open, at an infinity.
class RangeSet : public tree_800::OValueSet {
 public:
  explicit RangeSet(Range const& range);
  RangeSet(RangeSet const& other);
  ~RangeSet() override;

  bool Contains(double value) const override;
  bool IsEmpty() const override;
  double GetLowerBound() const override;
  double GetUpperBound() const override;
  bool IsLowerOpen() const override;
  bool IsUpperOpen() const override;
  bool HasLowerBound() const override;
  bool HasUpperBound() const override;

 private:
  Range fnRange;
};

}  // namespace refhost
