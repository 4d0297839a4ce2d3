#include "translate/rulesinterval.h"

namespace TreeOut_800 {

Interval::Interval() : fnLeft{1, 0}, fnRight{1, 0} {}

// Members go in reverse order: the right end, then the left end.
Interval::~Interval() {}

void Interval::SetLeftEnd(const mdt_800::Value& v) {
  fnLeftEnd = v;
  fnLeft.fnBounded = 1;
}

void Interval::SetRightEnd(const mdt_800::Value& v) {
  fnRightEnd = v;
  fnRight.fnBounded = 1;
}

int Interval::Compare(const mdt_800::Value& a, const mdt_800::Value& b) const {
  if (a < b) return -1;
  if (a > b) return 1;
  return 0;
}

bool Interval::IsEmpty() const {
  if (!fnLeft.fnBounded || !fnRight.fnBounded) return false;
  const int order = Compare(fnLeftEnd, fnRightEnd);
  if (order != 0) return order > 0;
  // Equal ends: only the closed point [v, v] holds a value.
  return fnLeft.fnOpen || fnRight.fnOpen;
}

bool Interval::Contains(const mdt_800::Value& v) const {
  if (fnLeft.fnBounded) {
    const int order = Compare(v, fnLeftEnd);
    if (order < 0 || (order == 0 && fnLeft.fnOpen)) return false;
  }
  if (!fnRight.fnBounded) return true;
  const int order = Compare(v, fnRightEnd);
  if (order != 0) return order < 0;
  return !fnRight.fnOpen;
}

void Interval::Empty() {
  fnLeftEnd = fnRightEnd;
  fnLeft.fnBounded = 1;
  fnRight.fnBounded = 1;
  fnLeft.fnOpen = 1;
}

}  // namespace TreeOut_800
