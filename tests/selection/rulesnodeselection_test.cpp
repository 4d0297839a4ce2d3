// Node selection: the worked example, the invariants under random AddNode
// sequences on random trees, and synchronisation with another tree.
#include "selection/rulesnodeselection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <vector>

#include "refhost/builder.h"

namespace {

using TreeOut_800::RulesNodeSelection;
using IdList = RulesNodeSelection::NodeIdList;

constexpr int kDefault = RulesNodeSelection::kDefaultNodeNumber;

// A tree of the given shape: children[id] lists the children of node id. Each
// inner node splits a numeric nominal variable, one code per child; the nodes
// in `stops` have no default child (records can stop there), the others send
// what the split cannot place to their first child.
refhost::Model ShapeTree(std::map<unsigned int, std::vector<unsigned int>> const& children,
                         std::set<unsigned int> const& stops = {}) {
  refhost::ModelBuilder b;
  int const x = b.Nominal("x");
  for (auto const& [id, kids] : children) {
    b.Node(id);
    if (kids.empty()) continue;
    std::vector<std::vector<int>> codes;
    for (std::size_t i = 0; i < kids.size(); ++i) codes.push_back({static_cast<int>(i)});
    b.Node(id).SplitCodes(x, codes).Children(kids);
    if (stops.count(id) == 0) b.Node(id).DefaultChild(0);
  }
  return b.Build();
}

// Root 0 with children 1 and 2; node 1 with children 3 and 4.
refhost::Model SmallTree(std::set<unsigned int> const& stops = {}) {
  return ShapeTree({{0, {1, 2}}, {1, {3, 4}}}, stops);
}

TEST(RulesNodeSelectionTest, WorkedExampleStepByStep) {
  refhost::Model m = SmallTree();
  struct Step {
    unsigned int node;
    int number;
    IdList expected;
  };
  Step const steps[] = {
      {3, kDefault, {{3, 3}}},
      {4, 40, {{1, 40}}},  // completes node 1's children: merged into 1
      {3, 7, {{1, 40}}},   // below a selected node: no change
      {2, kDefault, {{0, 2}}},
  };
  RulesNodeSelection selection;
  for (Step const& s : steps) {
    selection.AddNode(m.Find(s.node), s.number);
    EXPECT_EQ(selection.EnumerateNodeIds(), s.expected) << "after AddNode(" << s.node << ")";
  }
}

TEST(RulesNodeSelectionTest, SmallCases) {
  refhost::Model small = SmallTree();
  refhost::Model stopAt1 = SmallTree({1});
  refhost::Model stopAt0 = SmallTree({0});
  enum Shape { kSmall, kWide, kStopAt1, kStopAt0 };
  struct Case {
    char const* what;
    std::vector<std::pair<unsigned int, int>> adds;
    IdList expected;
    Shape shape = kSmall;  // kWide: the root has two more leaves, 5 and 6
  };
  Case const cases[] = {
      {"root alone", {{0, kDefault}}, {{0, 0}}},
      {"root swallows selected descendants", {{3, 5}, {2, 6}, {0, 9}}, {{0, 9}}},
      {"ancestor replaces descendants, appended last", {{2, 6}, {3, 5}, {1, 8}}, {{0, 8}}},
      {"ancestor of one selected node", {{3, 5}, {1, 8}}, {{1, 8}}},
      {"the node completing a set gives the merge its number",
       {{3, 5}, {2, 6}, {4, kDefault}},
       {{0, 4}}},
      {"same node twice keeps the first number", {{2, 6}, {2, 7}}, {{2, 6}}},
      {"explicit number stored unchanged", {{4, -5}}, {{4, -5}}},
      {"removals keep the order of the rest, the parent comes last",
       {{3, 30}, {2, 20}, {5, 50}, {4, 40}},
       {{2, 20}, {5, 50}, {1, 40}},
       kWide},
      {"records can stop at 1: its children stay", {{3, 5}, {4, 6}}, {{3, 5}, {4, 6}}, kStopAt1},
      {"and 1 does not climb further",
       {{3, 5}, {4, 6}, {2, 7}},
       {{3, 5}, {4, 6}, {2, 7}},
       kStopAt1},
      {"the merge stops below a node where records stop",
       {{3, 5}, {4, 6}, {2, 7}},
       {{1, 6}, {2, 7}},
       kStopAt0},
      {"adding the parent still replaces the children",
       {{3, 5}, {4, 6}, {1, 8}},
       {{1, 8}},
       kStopAt1},
  };
  refhost::Model wide = ShapeTree({{0, {1, 2, 5, 6}}, {1, {3, 4}}});
  for (Case const& c : cases) {
    refhost::Model const& m = c.shape == kWide      ? wide
                              : c.shape == kStopAt1 ? stopAt1
                              : c.shape == kStopAt0 ? stopAt0
                                                    : small;
    RulesNodeSelection selection;
    for (auto const& [id, number] : c.adds) selection.AddNode(m.Find(id), number);
    EXPECT_EQ(selection.EnumerateNodeIds(), c.expected) << c.what;
  }
}

TEST(RulesNodeSelectionTest, NullNodeAndEmptySelection) {
  refhost::Model m = SmallTree();
  RulesNodeSelection selection;
  selection.AddNode(nullptr, 3);
  EXPECT_TRUE(selection.EnumerateNodeIds().empty());
  EXPECT_FALSE(selection.HasNode(nullptr));
  for (unsigned int id : {0u, 1u, 2u, 3u, 4u})
    EXPECT_EQ(selection.SelectedAlready(*m.Find(id)), -1);
  selection.Synchronize(&m.GetTree());
  EXPECT_TRUE(selection.EnumerateNodes().empty());
}

TEST(RulesNodeSelectionTest, SiblingsLookupAddStoresDefaultNumberAsIs) {
  refhost::Model m = SmallTree();
  RulesNodeSelection selection;
  selection.SiblingsLookupAdd(*m.Find(3), kDefault);
  EXPECT_EQ(selection.EnumerateNodeIds(), (IdList{{3, kDefault}}));
  selection.SiblingsLookupAdd(*m.Find(4), kDefault);
  EXPECT_EQ(selection.EnumerateNodeIds(), (IdList{{1, kDefault}}));
}

TEST(RulesNodeSelectionTest, NodeListIsStaleUntilSynchronize) {
  refhost::Model m = SmallTree();
  RulesNodeSelection selection;
  selection.AddNode(m.Find(3), 30);
  selection.Synchronize(&m.GetTree());
  selection.AddNode(m.Find(2), 20);
  selection.RemoveIfExists(*m.Find(3));
  ASSERT_EQ(selection.EnumerateNodes().size(), 1u);
  EXPECT_EQ(selection.EnumerateNodes()[0].first, m.Find(3));

  selection.Synchronize(nullptr);  // a null tree changes nothing
  EXPECT_EQ(selection.EnumerateNodes()[0].first, m.Find(3));

  selection.Synchronize(&m.GetTree());
  EXPECT_EQ(selection.EnumerateNodes(), (RulesNodeSelection::NodeList{{m.Find(2), 20}}));
}

TEST(RulesNodeSelectionTest, SynchronizeWithAnotherTreeOfTheSameShape) {
  refhost::Model a = SmallTree();
  refhost::Model b = SmallTree();
  refhost::Model other = ShapeTree({{0, {1, 2}}});  // has no node 3
  RulesNodeSelection selection;
  selection.AddNode(a.Find(3), 33);
  selection.AddNode(a.Find(2), kDefault);
  IdList const ids = selection.EnumerateNodeIds();

  selection.Synchronize(&b.GetTree());
  EXPECT_EQ(selection.EnumerateNodeIds(), ids);
  EXPECT_EQ(selection.EnumerateNodes(),
            (RulesNodeSelection::NodeList{{b.Find(3), 33}, {b.Find(2), 2}}));

  selection.Synchronize(&other.GetTree());  // an unknown id is stored as the tree answers
  EXPECT_EQ(selection.EnumerateNodes(),
            (RulesNodeSelection::NodeList{{nullptr, 33}, {other.Find(2), 2}}));
}

// Random trees and random AddNode sequences, checked against a plain model of
// what the selection must cover: a node is covered when it or an ancestor was
// added, or when all its children are covered and no record stops at it (it
// has a default child); the selection holds exactly the covered nodes whose
// parent is not covered.
class RandomTree {
 public:
  explicit RandomTree(std::mt19937& rng) {
    std::uniform_int_distribution<int> size(1, 40);
    int const n = size(rng);
    // Shuffled identifiers, so that ids do not follow the shape.
    std::vector<unsigned int> ids(n);
    std::iota(ids.begin(), ids.end(), 100u);
    std::shuffle(ids.begin(), ids.end(), rng);
    fnParent[ids[0]] = ids[0];
    for (unsigned int id : ids) fnChildren[id];  // every node described, leaves too
    for (int i = 1; i < n; ++i) {
      unsigned int const parent = ids[std::uniform_int_distribution<int>(0, i - 1)(rng)];
      fnChildren[parent].push_back(ids[i]);
      fnParent[ids[i]] = parent;
      if (rng() % 4 == 0) fnStops.insert(parent);
    }
    fnIds = ids;
  }

  std::map<unsigned int, std::vector<unsigned int>> const& Children() const { return fnChildren; }
  std::set<unsigned int> const& Stops() const { return fnStops; }
  std::vector<unsigned int> const& Ids() const { return fnIds; }
  unsigned int Root() const { return fnIds[0]; }

  bool Covered(unsigned int id, std::set<unsigned int> const& added) const {
    for (unsigned int up = id;; up = fnParent.at(up)) {
      if (added.count(up)) return true;
      if (up == Root()) break;
    }
    auto kids = fnChildren.find(id);
    if (kids == fnChildren.end() || kids->second.empty() || fnStops.count(id) != 0) return false;
    return std::all_of(kids->second.begin(), kids->second.end(),
                       [&](unsigned int kid) { return Covered(kid, added); });
  }

  std::set<unsigned int> ExpectedSelection(std::set<unsigned int> const& added) const {
    std::set<unsigned int> out;
    for (unsigned int id : fnIds) {
      if (Covered(id, added) && (id == Root() || !Covered(fnParent.at(id), added))) {
        out.insert(id);
      }
    }
    return out;
  }

 private:
  std::vector<unsigned int> fnIds;
  std::map<unsigned int, unsigned int> fnParent;
  std::map<unsigned int, std::vector<unsigned int>> fnChildren;
  std::set<unsigned int> fnStops;  // inner nodes without default child
};

TEST(RulesNodeSelectionTest, RandomSequencesKeepTheInvariants) {
  std::mt19937 rng(20261123);
  for (int round = 0; round < 200; ++round) {
    RandomTree shape(rng);
    refhost::Model m = ShapeTree(shape.Children(), shape.Stops());
    RulesNodeSelection selection;
    std::set<unsigned int> added;
    std::set<int> numbersGiven;
    std::uniform_int_distribution<std::size_t> pick(0, shape.Ids().size() - 1);
    for (int step = 0; step < 12; ++step) {
      unsigned int const id = shape.Ids()[pick(rng)];
      int const number = rng() % 3 == 0 ? kDefault : static_cast<int>(rng() % 1000);
      selection.AddNode(m.Find(id), number);
      added.insert(id);
      numbersGiven.insert(number == kDefault ? static_cast<int>(id) : number);

      std::set<unsigned int> ids;
      for (auto const& [selectedId, selectedNumber] : selection.EnumerateNodeIds()) {
        EXPECT_TRUE(ids.insert(selectedId).second) << "id " << selectedId << " twice";
        EXPECT_TRUE(numbersGiven.count(selectedNumber)) << "number " << selectedNumber;
      }
      ASSERT_EQ(ids, shape.ExpectedSelection(added)) << "round " << round << " step " << step;
    }
  }
}

}  // namespace
