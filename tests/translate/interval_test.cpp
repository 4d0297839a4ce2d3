// Intervals of host values: emptiness, membership and emptying; and the
// intervals that encoding sets and value-less children decode to.
#include "translate/rulesinterval.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "host/encoding.h"
#include "refhost/builder.h"
#include "translate/ruleexportmanager.h"

namespace {

using mdt_800::Value;
using mdt_800::Variant;
using TreeOut_800::Interval;

Value V(double x) { return Value(Variant(x)); }

// One side: an unbounded side may still hold an end value and a closed flag.
struct Side {
  bool bounded, open;
  Value end;
};
Side Open(Value x) { return {true, true, x}; }
Side Closed(Value x) { return {true, false, x}; }
Side Unbounded(double x = 0) { return {false, false, V(x)}; }

Interval Make(Side const& left, Side const& right) {
  Interval interval;
  interval.SetLeftEnd(left.end);
  interval.SetOpenLeft(left.open);
  interval.SetBoundedLeft(left.bounded);
  interval.SetRightEnd(right.end);
  interval.SetOpenRight(right.open);
  interval.SetBoundedRight(right.bounded);
  return interval;
}

TEST(Interval, EmptinessMembershipAndEmptying) {
  struct Case {
    char const* name;
    Side left, right;
    bool empty;
    std::vector<Value> inside, outside;
  } const kCases[] = {
      {"[5, 5]", Closed(V(5)), Closed(V(5)), false, {V(5)}, {V(4.9), V(5.1)}},
      {"(5, 5]", Open(V(5)), Closed(V(5)), true, {}, {V(5), V(4), V(6)}},
      {"[5, 5)", Closed(V(5)), Open(V(5)), true, {}, {V(5)}},
      {"[7, 3]", Closed(V(7)), Closed(V(3)), true, {}, {V(5), V(7), V(3)}},
      {"(3, 7)", Open(V(3)), Open(V(7)), false, {V(3.0001), V(6.9999)}, {V(3), V(7)}},
      {"[10, inf)", Closed(V(10)), Unbounded(), false, {V(10), V(1e308)}, {V(9.99)}},
      // An unbounded side ignores the end value it holds and its open flag.
      {"(-inf, 3] holding 100", Unbounded(100), Closed(V(3)), false, {V(0), V(3)}, {V(4)}},
      {"[100, inf) holding 3", Closed(V(100)), Unbounded(3), false, {V(100)}, {V(50)}},
      {"integer ends",
       Closed(Value(Variant(5L))),
       Closed(Value(Variant(5L))),
       false,
       {V(5)},
       {Value(Variant(6L))}},
      {"[b, d]",
       Closed(Value(Variant("b"))),
       Closed(Value(Variant("d"))),
       false,
       {Value(Variant("c")), Value(Variant("d"))},
       {Value(Variant("a")), Value(Variant("e"))}},
  };
  for (auto const& c : kCases) {
    Interval interval = Make(c.left, c.right);
    EXPECT_EQ(interval.IsEmpty(), c.empty) << c.name;
    for (Value const& v : c.inside) EXPECT_TRUE(interval.Contains(v)) << c.name;
    for (Value const& v : c.outside) EXPECT_FALSE(interval.Contains(v)) << c.name;
    // Emptying moves the left end onto the right end and keeps the right flag.
    interval.Empty();
    EXPECT_TRUE(interval.IsEmpty() && interval.IsBoundedLeft() && interval.IsOpenLeft()) << c.name;
    EXPECT_EQ(interval.IsOpenRight(), c.right.open) << c.name;
    EXPECT_EQ(interval.Compare(interval.GetLeftEnd(), c.right.end), 0) << c.name;
    for (Value const& v : c.inside) EXPECT_FALSE(interval.Contains(v)) << c.name;
  }
}

// A default interval holds every value; setting an end bounds the side and
// keeps its open flag.
TEST(Interval, DefaultIsUnboundedAndSetEndBoundsTheSide) {
  Interval interval;
  EXPECT_TRUE(interval.IsOpenLeft() && interval.IsOpenRight());
  EXPECT_FALSE(interval.IsBoundedLeft() || interval.IsBoundedRight() || interval.IsEmpty());
  for (Value const& v : {V(-1e308), V(1e308), Value(Variant("abc")), Value()}) {
    EXPECT_TRUE(interval.Contains(v));
  }
  interval.SetOpenLeft(false);
  interval.SetLeftEnd(V(1));
  interval.SetRightEnd(V(2));
  EXPECT_TRUE(interval.IsBoundedLeft() && interval.IsBoundedRight() && interval.IsOpenRight());
  EXPECT_FALSE(interval.IsOpenLeft());
}

// An encoding set's inclusive ends give closed sides; a child the split does
// not have decodes to (0, 0).
TEST(Interval, DecodedFromEncodingSetsAndChildrenWithoutValues) {
  refhost::ModelBuilder b;
  b.Node(0).SplitOrdinal(b.Scale("x"), {1}).Children({1, 2});
  refhost::Model const model = b.Build();
  TreeOut_800::RuleExportManager const manager(&model.GetTree(), &model.GetMetadata());
  auto same = [](Interval const& a, Interval const& e) {
    return a.IsBoundedLeft() == e.IsBoundedLeft() && a.IsBoundedRight() == e.IsBoundedRight() &&
           a.IsOpenLeft() == e.IsOpenLeft() && a.IsOpenRight() == e.IsOpenRight() &&
           a.Compare(a.GetLeftEnd(), e.GetLeftEnd()) == 0 &&
           a.Compare(a.GetRightEnd(), e.GetRightEnd()) == 0;
  };
  struct Case {
    Side left, right;
  } const kCases[] = {
      {Closed(V(1)), Open(V(4))},
      {Open(V(97)), Closed(V(99))},
      {Closed(V(-INFINITY)), Open(V(INFINITY))},  // infinite ends are ends too
  };
  for (Case const& c : kCases) {
    mdt_800::Interval const set(mdt_800::EncodingItem(c.left.end.GetValue(), !c.left.open),
                                mdt_800::EncodingItem(c.right.end.GetValue(), !c.right.open));
    Interval decoded;
    manager.EncodingSetToInterval(set, &decoded);
    EXPECT_TRUE(same(decoded, Make(c.left, c.right))) << &c - kCases;
  }
  Interval none;
  manager.BuildInterval(&none, *std::unique_ptr<tree_800::SplitRule>(model.Root()->GetSplitRule(0)),
                        2);
  Value const zero(Variant(0L));
  EXPECT_TRUE(same(none, Make(Open(zero), Open(zero))));
}

}  // namespace
