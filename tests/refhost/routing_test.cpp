// Where the reference host drops records: primary split, missing-value child,
// surrogates in order, default child, and records that stop at inner nodes.
#include <gtest/gtest.h>

#include <limits>

#include "refhost/builder.h"
#include "refhost/records.h"

namespace {

using mdt_800::Variant;
using refhost::Range;
using refhost::Split;

Variant const kNone;  // a value without content

// 0: age <= 30 -> 1 else 2, surrogates region then income, default 1;
// 1: region north -> 3 else 4, missing -> 4; 2: size S -> 5, M/L -> 6, no default.
refhost::Model RoutingModel() {
  refhost::ModelBuilder b;
  int age = b.Scale("age");
  int region = b.Nominal("region", {"north", "south", "east", "west"}).Missing({"unknown"});
  int income = b.Scale("income").Missing({-1.0}).MissingRange(-99, -90);
  int size = b.OrderedCategories("size", {"S", "M", "L"});
  b.ClassTarget("risk", {"low", "high"});
  b.Node(0)
      .SplitOrdinal(age, {30.0})
      .Surrogate(Split::Nominal(region, {{"north", "east"}, {"south"}}))
      .Surrogate(Split::Cuts(income, {1000.0}))
      .DefaultChild(1)
      .Children({1, 2});
  b.Node(1).SplitNominal(region, {{"north"}, {"south", "east"}}).MissingChild(1).Children({3, 4});
  b.Node(2).SplitBy(Split::CategoryCuts(size, {"S"})).Children({5, 6});
  return b.Build();
}

struct RouteCase {
  char const* what;
  Variant age, region, income, size;
  unsigned int node;
};

TEST(Routing, FollowsSplitsSurrogatesAndDefaults) {
  refhost::Model const m = RoutingModel();
  RouteCase const cases[] = {
      {"primary split, then nominal", 25.0, "north", 0.0, "S", 3},
      {"value on the cut goes left", 30.0, "south", 0.0, "S", 4},
      {"long value compares as number", 30L, "east", 0.0, "S", 4},
      {"just above the cut", 30.5, kNone, kNone, "M", 6},
      {"ordered categories by code", 40.0, kNone, kNone, "S", 5},
      {"first surrogate, child 0", kNone, "north", kNone, kNone, 3},
      {"first surrogate before the second", kNone, "south", 500.0, "L", 6},
      {"second surrogate when region is missing", kNone, kNone, 500.0, kNone, 4},
      {"unmapped category falls to next surrogate", kNone, "west", 2000.0, "S", 5},
      {"unknown category falls to next surrogate", kNone, "mars", 2000.0, "M", 6},
      {"user-missing category falls through", kNone, "unknown", 2000.0, "M", 6},
      {"user-missing single value: default child", kNone, kNone, -1.0, "M", 6},
      {"inside the user-missing range", kNone, kNone, -95.0, "M", 6},
      {"on the range's upper end", kNone, kNone, -90.0, "S", 5},
      {"on the range's lower end", kNone, kNone, -99.0, "S", 5},
      {"just outside the range", kNone, kNone, -89.0, "S", 4},
      {"missing-value child of node 1", 20.0, kNone, kNone, kNone, 4},
      {"category the split maps nowhere takes the missing child", 20.0, "west", kNone, kNone, 4},
      {"stops at an inner node without default", 50.0, kNone, kNone, kNone, 2},
      {"unseen category stops there too", 50.0, "north", 10.0, "XL", 2},
  };
  for (RouteCase const& c : cases) {
    EXPECT_EQ(m.Route(refhost::MakeRecord({c.age, c.region, c.income, c.size, kNone})), c.node)
        << c.what;
  }
}

TEST(Routing, DropWithNodeAnswersWhetherThePathPassesThrough) {
  refhost::Model const m = RoutingModel();
  auto const& meta = m.GetMetadata();
  // Path 0 -> 1 -> 3, and a record that stops at 2.
  std::vector<double> const leaf3 =
      refhost::EncodeRecord(meta, refhost::MakeRecord({25.0, "north", kNone, kNone, kNone}));
  std::vector<double> const stop2 =
      refhost::EncodeRecord(meta, refhost::MakeRecord({50.0, kNone, kNone, kNone, kNone}));
  struct {
    std::vector<double> const* values;
    unsigned int node;
    bool passes;
  } const cases[] = {
      {&leaf3, 0, true},  {&leaf3, 1, true},  {&leaf3, 3, true},
      {&leaf3, 2, false}, {&leaf3, 4, false}, {&stop2, 2, true},
      {&stop2, 5, false}, {&stop2, 6, false}, {&stop2, 1, false},
  };
  for (auto const& c : cases) {
    tree_800::NodeImp const* node = m.Find(c.node);
    EXPECT_EQ(m.Root()->DropObservationThroughTree(c.values->data(), node),
              c.passes ? node : nullptr)
        << "node " << c.node;
  }
  EXPECT_EQ(m.Root()->DropObservationThroughTree(leaf3.data(), nullptr), m.Find(3));
  EXPECT_EQ(m.Root()->DropObservationThroughTree(stop2.data(), nullptr), m.Find(2));
}

TEST(Routing, OrderedRangesTakeTheFirstMatchAndMayLeaveGaps) {
  refhost::ModelBuilder b;
  int x = b.Scale("x");
  // (-inf, 0), [0, 10) overlapping [5, 20]; above 20 nothing.
  b.Node(0)
      .SplitRanges(x, {Range::Below(0), Range::Between(0, false, 10, true),
                       Range::Between(5, false, 20, false)})
      .Children({1, 2, 3});
  refhost::Model const m = b.Build();
  struct {
    double x;
    unsigned int node;
  } const cases[] = {{-1e300, 1}, {-0.0, 2},  {0.0, 2},
                     {7.0, 2},    {10.0, 3},  {20.0, 3},
                     {20.5, 0},   {1e308, 0}, {std::numeric_limits<double>::quiet_NaN(), 0}};
  for (auto const& c : cases) {
    EXPECT_EQ(m.Route(refhost::MakeRecord({c.x})), c.node) << c.x;
  }
}

TEST(Routing, BinnedPredictorSplitsInCodeSpace) {
  refhost::ModelBuilder b;
  int band = b.Binned("band", {0.0, 10.0, 20.0});        // codes 1..4
  b.Node(0).SplitOrdinal(band, {2.0}).Children({1, 2});  // codes 1, 2 | 3, 4
  refhost::Model const m = b.Build();
  struct {
    double x;
    unsigned int node;
  } const cases[] = {{-5.0, 1}, {0.0, 1}, {9.999, 1}, {10.0, 2}, {25.0, 2}};
  for (auto const& c : cases) {
    EXPECT_EQ(m.Route(refhost::MakeRecord({c.x})), c.node) << c.x;
  }
}

TEST(Routing, SurrogateOwnMissingChildPlacesTheRecord) {
  refhost::ModelBuilder b;
  int a = b.Scale("a");
  int c = b.Scale("c");
  b.Node(0)
      .SplitOrdinal(a, {1.0})
      .Surrogate(Split::Cuts(c, {5.0}).Missing(1))
      .DefaultChild(0)
      .Children({1, 2});
  refhost::Model const m = b.Build();
  EXPECT_EQ(m.Route(refhost::MakeRecord({kNone, kNone})), 2u);  // surrogate's missing child
  EXPECT_EQ(m.Route(refhost::MakeRecord({kNone, 3.0})), 1u);
  EXPECT_EQ(m.Route(refhost::MakeRecord({2.0, kNone})), 2u);
}

// A walk from an inner node stays in its subtree.
TEST(Tree, WalksNodesInPrefixOrder) {
  refhost::Model const m = RoutingModel();
  for (auto const& [from, expected] : std::vector<std::pair<unsigned, std::vector<unsigned>>>{
           {0, {0, 1, 3, 4, 2, 5, 6}}, {2, {2, 5, 6}}}) {
    std::vector<unsigned int> order;
    for (tree_800::PrefixNodeIterator it(m.Find(from)); it.HasMore();) {
      order.push_back(it.Next()->GetId());
    }
    EXPECT_EQ(order, expected);
  }
}

}  // namespace
