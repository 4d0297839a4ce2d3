// A range of host values: a lower and an upper end, and per side whether the
// side has an end at all (bounded) and whether the end value is excluded
// (open). Ends are ordered by mdt_800::Value's comparison; values ordered
// neither way count as equal. A default interval is unbounded on both sides
// and contains every value. The interval owns copies of its end values.
#pragma once

#include "host/variant.h"

namespace TreeOut_800 {

class Interval {
 public:
  Interval();
  ~Interval();

  // The stored end value, also when that side is unbounded.
  const mdt_800::Value& GetLeftEnd() const { return fnLeftEnd; }
  const mdt_800::Value& GetRightEnd() const { return fnRightEnd; }

  bool IsOpenLeft() const { return fnLeft.fnOpen; }
  bool IsOpenRight() const { return fnRight.fnOpen; }
  bool IsBoundedLeft() const { return fnLeft.fnBounded; }
  bool IsBoundedRight() const { return fnRight.fnBounded; }

  void SetOpenLeft(bool open) { fnLeft.fnOpen = open; }
  void SetOpenRight(bool open) { fnRight.fnOpen = open; }
  void SetBoundedLeft(bool bounded) { fnLeft.fnBounded = bounded; }
  void SetBoundedRight(bool bounded) { fnRight.fnBounded = bounded; }

  // Copy `v` into the end and make that side bounded; the open flag stays.
  void SetLeftEnd(const mdt_800::Value& v);
  void SetRightEnd(const mdt_800::Value& v);

  // -1 when a < b, 1 when a > b, else 0. Reads nothing of the interval.
  int Compare(const mdt_800::Value& a, const mdt_800::Value& b) const;

  // True when no value can lie in the interval; an unbounded side never is.
  bool IsEmpty() const;

  bool Contains(const mdt_800::Value& v) const;

  // Makes the interval empty: (r, r] or (r, r) at the current right end value.
  void Empty();

 private:
  struct SideFlags {
    unsigned fnOpen : 1;
    unsigned fnBounded : 1;
  };

  mdt_800::Value fnLeftEnd;
  mdt_800::Value fnRightEnd;
  SideFlags fnLeft;
  SideFlags fnRight;
};

}  // namespace TreeOut_800
