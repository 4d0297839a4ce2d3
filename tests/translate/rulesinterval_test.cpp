// Intervals of host values: emptiness, membership, emptying and the flags.
#include "translate/rulesinterval.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using mdt_800::Value;
using mdt_800::Variant;
using TreeOut_800::Interval;

Value Num(double x) { return Value(Variant(x)); }
Value Str(const char* s) { return Value(Variant(s)); }

// One side of an interval as a test writes it. An unbounded side may still
// hold an end value and a closed flag; neither may count.
struct Side {
  bool bounded;
  bool open;
  Value end;
};

Side Open(double x) { return {true, true, Num(x)}; }
Side Closed(double x) { return {true, false, Num(x)}; }
Side Unbounded() { return {false, true, Value()}; }
Side UnboundedAt(double x) { return {false, false, Num(x)}; }

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

struct Probe {
  Value value;
  bool inside;
};

struct IntervalCase {
  const char* name;
  Side left;
  Side right;
  bool empty;
  std::vector<Probe> probes;
};

void CheckInterval(const IntervalCase& c, const Interval& interval) {
  EXPECT_EQ(interval.IsEmpty(), c.empty) << c.name;
  for (size_t i = 0; i < c.probes.size(); ++i) {
    EXPECT_EQ(interval.Contains(c.probes[i].value), c.probes[i].inside)
        << c.name << ", probe " << i;
  }
}

TEST(Interval, EmptinessAndMembership) {
  const IntervalCase kCases[] = {
      {"[5, 5]",
       Closed(5),
       Closed(5),
       false,
       {{Num(5), true}, {Num(4.9), false}, {Num(5.1), false}}},
      {"(5, 5]", Open(5), Closed(5), true, {{Num(5), false}, {Num(4), false}, {Num(6), false}}},
      {"[5, 5)", Closed(5), Open(5), true, {{Num(5), false}}},
      {"[7, 3]", Closed(7), Closed(3), true, {{Num(5), false}, {Num(7), false}, {Num(3), false}}},
      {"[3, 7]",
       Closed(3),
       Closed(7),
       false,
       {{Num(3), true}, {Num(7), true}, {Num(5), true}, {Num(2.9), false}, {Num(7.1), false}}},
      {"(3, 7)",
       Open(3),
       Open(7),
       false,
       {{Num(3), false}, {Num(7), false}, {Num(3.0001), true}, {Num(6.9999), true}}},
      {"(10, inf)",
       Open(10),
       Unbounded(),
       false,
       {{Num(10), false}, {Num(11), true}, {Num(9), false}, {Num(1e308), true}}},
      {"[10, inf)", Closed(10), Unbounded(), false, {{Num(10), true}, {Num(9.99), false}}},
      {"(-inf, 10]",
       Unbounded(),
       Closed(10),
       false,
       {{Num(10), true}, {Num(10.5), false}, {Num(-1e308), true}}},
      // An unbounded side ignores the end value it holds and its open flag.
      {"(-inf, 3] holding 100 left",
       UnboundedAt(100),
       Closed(3),
       false,
       {{Num(0), true}, {Num(3), true}, {Num(4), false}}},
      {"[100, inf) holding 3 right",
       Closed(100),
       UnboundedAt(3),
       false,
       {{Num(100), true}, {Num(1e9), true}, {Num(50), false}}},
      // Integers and doubles of the same value are equal ends.
      {"[5L, 5L]",
       {true, false, Value(Variant(5L))},
       {true, false, Value(Variant(5L))},
       false,
       {{Num(5.0), true}, {Value(Variant(6L)), false}}},
      {"[\"b\", \"d\"]",
       {true, false, Str("b")},
       {true, false, Str("d")},
       false,
       {{Str("b"), true},
        {Str("c"), true},
        {Str("d"), true},
        {Str("a"), false},
        {Str("e"), false}}},
      {"(\"b\", \"b\"]",
       {true, true, Str("b")},
       {true, false, Str("b")},
       true,
       {{Str("b"), false}}},
  };
  for (const IntervalCase& c : kCases) CheckInterval(c, Make(c.left, c.right));
}

TEST(Interval, DefaultIsUnboundedAndHoldsEveryValue) {
  const Interval interval;
  EXPECT_TRUE(interval.IsOpenLeft());
  EXPECT_TRUE(interval.IsOpenRight());
  EXPECT_FALSE(interval.IsBoundedLeft());
  EXPECT_FALSE(interval.IsBoundedRight());
  CheckInterval({"default",
                 {},
                 {},
                 false,
                 {{Num(0), true},
                  {Num(-1e308), true},
                  {Num(1e308), true},
                  {Str("abc"), true},
                  {Value(), true}}},
                interval);
}

TEST(Interval, SetEndBoundsTheSideAndKeepsItsOpenFlag) {
  for (bool open : {true, false}) {
    Interval interval;
    interval.SetOpenLeft(open);
    interval.SetOpenRight(open);
    interval.SetLeftEnd(Num(1));
    interval.SetRightEnd(Num(2));
    EXPECT_EQ(interval.IsOpenLeft(), open);
    EXPECT_EQ(interval.IsOpenRight(), open);
    EXPECT_TRUE(interval.IsBoundedLeft());
    EXPECT_TRUE(interval.IsBoundedRight());
    EXPECT_EQ(double(interval.GetLeftEnd().GetValue()), 1.0);
    EXPECT_EQ(double(interval.GetRightEnd().GetValue()), 2.0);
  }
}

TEST(Interval, EmptyMovesTheLeftEndOntoTheRightEnd) {
  struct Case {
    const char* name;
    Side left;
    Side right;
  };
  const Case kCases[] = {
      {"[3, 7]", Closed(3), Closed(7)},
      {"(3, 7)", Open(3), Open(7)},
      {"[3, inf) holding 9 right", Closed(3), UnboundedAt(9)},
      {"(-inf, inf)", Unbounded(), Unbounded()},
      {"[7, 3]", Closed(7), Closed(3)},
  };
  for (const Case& c : kCases) {
    Interval interval = Make(c.left, c.right);
    interval.Empty();
    EXPECT_TRUE(interval.IsEmpty()) << c.name;
    EXPECT_TRUE(interval.IsBoundedLeft()) << c.name;
    EXPECT_TRUE(interval.IsBoundedRight()) << c.name;
    EXPECT_TRUE(interval.IsOpenLeft()) << c.name;
    EXPECT_EQ(interval.IsOpenRight(), c.right.open) << c.name << ": right open flag kept";
    EXPECT_EQ(interval.Compare(interval.GetLeftEnd(), c.right.end), 0) << c.name;
    EXPECT_EQ(interval.Compare(interval.GetRightEnd(), c.right.end), 0) << c.name;
    for (const Value& v : {Num(3), Num(5), Num(7), Num(9), Value(), Str("x")}) {
      EXPECT_FALSE(interval.Contains(v)) << c.name;
    }
  }
}

TEST(Interval, CompareOrdersByTheHostValueOrder) {
  struct Case {
    const char* name;
    Value a;
    Value b;
    int expected;
  };
  const Case kCases[] = {
      {"1 < 2", Num(1), Num(2), -1},
      {"2 > 1", Num(2), Num(1), 1},
      {"2L = 2.0", Value(Variant(2L)), Num(2), 0},
      {"\"a\" < \"b\"", Str("a"), Str("b"), -1},
      {"no content before numbers", Value(), Num(-1e308), -1},
      {"numbers before strings", Num(1e308), Str(""), -1},
  };
  const Interval interval;
  for (const Case& c : kCases) {
    EXPECT_EQ(interval.Compare(c.a, c.b), c.expected) << c.name;
  }
}

}  // namespace
