#include "refhost/valuesets.h"

#include <algorithm>

#include "refhost/hooks.h"

namespace tree_800 {

ValueIterator::~ValueIterator() = default;
ValueSet::~ValueSet() = default;

}  // namespace tree_800

namespace refhost {

CodeSet::CodeSet(std::vector<int> codes) : fnCodes(std::move(codes)) {
  CountCreated(ObjectKind::kValueSet);
}

CodeSet::CodeSet(CodeSet const& other) : tree_800::NValueSet(other), fnCodes(other.fnCodes) {
  CountCreated(ObjectKind::kValueSet);
}

CodeSet::~CodeSet() { CountDestroyed(ObjectKind::kValueSet); }

bool CodeSet::Contains(double value) const {
  return std::any_of(fnCodes.begin(), fnCodes.end(),
                     [value](int code) { return static_cast<double>(code) == value; });
}

bool CodeSet::IsEmpty() const { return fnCodes.empty(); }

tree_800::ValueIterator* CodeSet::GetIterator() const {
  FaultPoint("GetIterator");
  return new CodeIterator(fnCodes);
}

CodeIterator::CodeIterator(std::vector<int> codes) : fnCodes(std::move(codes)) {
  CountCreated(ObjectKind::kValueIterator);
}

CodeIterator::CodeIterator(CodeIterator const& other)
    : tree_800::ValueIterator(other), fnCodes(other.fnCodes), fnNext(other.fnNext) {
  CountCreated(ObjectKind::kValueIterator);
}

CodeIterator::~CodeIterator() { CountDestroyed(ObjectKind::kValueIterator); }

int CodeIterator::Next() {
  FaultPoint("Next");
  return fnCodes[fnNext++];
}

bool CodeIterator::HasMore() const { return fnNext < fnCodes.size(); }

RangeSet::RangeSet(Range const& range) : fnRange(range) { CountCreated(ObjectKind::kValueSet); }

RangeSet::RangeSet(RangeSet const& other) : tree_800::OValueSet(other), fnRange(other.fnRange) {
  CountCreated(ObjectKind::kValueSet);
}

RangeSet::~RangeSet() { CountDestroyed(ObjectKind::kValueSet); }

bool RangeSet::Contains(double value) const { return fnRange.Contains(value); }
bool RangeSet::IsEmpty() const { return fnRange.IsEmpty(); }
double RangeSet::GetLowerBound() const { return fnRange.lower; }
double RangeSet::GetUpperBound() const { return fnRange.upper; }
bool RangeSet::IsLowerOpen() const { return !fnRange.hasLower || fnRange.lowerOpen; }
bool RangeSet::IsUpperOpen() const { return !fnRange.hasUpper || fnRange.upperOpen; }
bool RangeSet::HasLowerBound() const { return fnRange.hasLower; }
bool RangeSet::HasUpperBound() const { return fnRange.hasUpper; }

}  // namespace refhost
