// Intervals of host values: emptiness, membership, emptying and the flags.
#include "translate/rulesinterval.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using mdt_800::Value;
using mdt_800::Variant;
using TreeOut_800::Interval;

// A value written as a number, an integer or a string.
struct V {
  Value value;
  V(double x) : value(Variant(x)) {}       // NOLINT: implicit for tables
  V(long x) : value(Variant(x)) {}         // NOLINT
  V(const char* s) : value(Variant(s)) {}  // NOLINT
};

// One side: an unbounded side may still hold an end value and a closed flag.
struct Side {
  bool bounded, open;
  Value end;
};

Side Open(V x) { return {true, true, x.value}; }
Side Closed(V x) { return {true, false, x.value}; }
Side Unbounded() { return {false, true, Value()}; }
Side UnboundedAt(double x) { return {false, false, Value(Variant(x))}; }

Interval Make(const Side& left, const Side& right) {
  Interval interval;
  interval.SetLeftEnd(left.end);
  interval.SetOpenLeft(left.open);
  interval.SetBoundedLeft(left.bounded);
  interval.SetRightEnd(right.end);
  interval.SetOpenRight(right.open);
  interval.SetBoundedRight(right.bounded);
  return interval;
}

TEST(Interval, EmptinessAndMembership) {
  const struct {
    const char* name;
    Side left, right;
    bool empty;
    std::vector<V> inside, outside;
  } kCases[] = {
      {"[5, 5]", Closed(5.0), Closed(5.0), false, {5.0}, {4.9, 5.1}},
      {"(5, 5]", Open(5.0), Closed(5.0), true, {}, {5.0, 4.0, 6.0}},
      {"[5, 5)", Closed(5.0), Open(5.0), true, {}, {5.0}},
      {"[7, 3]", Closed(7.0), Closed(3.0), true, {}, {5.0, 7.0, 3.0}},
      {"[3, 7]", Closed(3.0), Closed(7.0), false, {3.0, 7.0, 5.0}, {2.9, 7.1}},
      {"(3, 7)", Open(3.0), Open(7.0), false, {3.0001, 6.9999}, {3.0, 7.0}},
      {"(10, inf)", Open(10.0), Unbounded(), false, {11.0, 1e308}, {10.0, 9.0}},
      {"[10, inf)", Closed(10.0), Unbounded(), false, {10.0}, {9.99}},
      {"(-inf, 10]", Unbounded(), Closed(10.0), false, {10.0, -1e308}, {10.5}},
      // An unbounded side ignores the end value it holds and its open flag.
      {"(-inf, 3] holding 100", UnboundedAt(100), Closed(3.0), false, {0.0, 3.0}, {4.0}},
      {"[100, inf) holding 3", Closed(100.0), UnboundedAt(3), false, {100.0, 1e9}, {50.0}},
      // Integers and doubles of the same value are equal ends.
      {"[5L, 5L]", Closed(5L), Closed(5L), false, {5.0}, {6L}},
      {"[b, d]", Closed("b"), Closed("d"), false, {"b", "c", "d"}, {"a", "e"}},
      {"(b, b]", Open("b"), Closed("b"), true, {}, {"b"}},
  };
  for (const auto& c : kCases) {
    const Interval interval = Make(c.left, c.right);
    EXPECT_EQ(interval.IsEmpty(), c.empty) << c.name;
    for (const V& v : c.inside) EXPECT_TRUE(interval.Contains(v.value)) << c.name;
    for (const V& v : c.outside) EXPECT_FALSE(interval.Contains(v.value)) << c.name;
  }
}

TEST(Interval, DefaultIsUnboundedAndHoldsEveryValue) {
  const Interval interval;
  EXPECT_TRUE(interval.IsOpenLeft() && interval.IsOpenRight());
  EXPECT_FALSE(interval.IsBoundedLeft() || interval.IsBoundedRight() || interval.IsEmpty());
  for (const Value& v : {V(0.0).value, V(-1e308).value, V(1e308).value, V("abc").value, Value()}) {
    EXPECT_TRUE(interval.Contains(v));
  }
}

TEST(Interval, SetEndBoundsTheSideAndKeepsItsOpenFlag) {
  for (bool open : {true, false}) {
    Interval interval;
    interval.SetOpenLeft(open);
    interval.SetOpenRight(open);
    interval.SetLeftEnd(V(1.0).value);
    interval.SetRightEnd(V(2.0).value);
    EXPECT_EQ(interval.IsOpenLeft(), open);
    EXPECT_EQ(interval.IsOpenRight(), open);
    EXPECT_TRUE(interval.IsBoundedLeft() && interval.IsBoundedRight());
  }
}

// Empty moves the left end onto the right end; the right open flag is kept.
TEST(Interval, EmptyMovesTheLeftEndOntoTheRightEnd) {
  const struct {
    const char* name;
    Side left, right;
  } kCases[] = {
      {"[3, 7]", Closed(3.0), Closed(7.0)},
      {"(3, 7)", Open(3.0), Open(7.0)},
      {"[3, inf) holding 9", Closed(3.0), UnboundedAt(9)},
      {"(-inf, inf)", Unbounded(), Unbounded()},
  };
  for (const auto& c : kCases) {
    Interval interval = Make(c.left, c.right);
    interval.Empty();
    EXPECT_TRUE(interval.IsEmpty()) << c.name;
    EXPECT_TRUE(interval.IsBoundedLeft() && interval.IsBoundedRight()) << c.name;
    EXPECT_TRUE(interval.IsOpenLeft()) << c.name;
    EXPECT_EQ(interval.IsOpenRight(), c.right.open) << c.name;
    EXPECT_EQ(interval.Compare(interval.GetLeftEnd(), c.right.end), 0) << c.name;
    EXPECT_EQ(interval.Compare(interval.GetRightEnd(), c.right.end), 0) << c.name;
    for (const Value& v : {V(3.0).value, V(5.0).value, V(7.0).value, V(9.0).value, Value()}) {
      EXPECT_FALSE(interval.Contains(v)) << c.name;
    }
  }
}

TEST(Interval, CompareOrdersByTheHostValueOrder) {
  const struct {
    const char* name;
    Value a, b;
    int expected;
  } kCases[] = {
      {"1 < 2", V(1.0).value, V(2.0).value, -1},
      {"2 > 1", V(2.0).value, V(1.0).value, 1},
      {"2L = 2.0", V(2L).value, V(2.0).value, 0},
      {"a < b", V("a").value, V("b").value, -1},
      {"no content before numbers", Value(), V(-1e308).value, -1},
      {"numbers before strings", V(1e308).value, V("").value, -1},
  };
  const Interval interval;
  for (const auto& c : kCases) EXPECT_EQ(interval.Compare(c.a, c.b), c.expected) << c.name;
}

}  // namespace
