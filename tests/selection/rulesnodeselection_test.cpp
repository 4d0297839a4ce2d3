// Node selection: the order of its entries, the invariants under random
// sequences on random trees, and synchronisation with a tree.
#include "selection/rulesnodeselection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <vector>

#include "refhost/builder.h"

namespace {

using TreeOut_800::RulesNodeSelection;
using IdList = RulesNodeSelection::NodeIdList;
using Children = std::map<unsigned int, std::vector<unsigned int>>;
constexpr int kDefault = RulesNodeSelection::kDefaultNodeNumber;

// A tree of the given shape, each inner node split on x, one code per child;
// records can stop at the nodes in `stops` (no default child), the others
// send what the split cannot place to their first child.
refhost::Model ShapeTree(Children const& children, std::set<unsigned int> const& stops = {}) {
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

// Root 0 with children 1, 2, 5 and 6; node 1 with 3 and 4: entries keep their
// order, a merged parent comes last.
TEST(RulesNodeSelection, KeepsTheOrderOfAdding) {
  refhost::Model const m = ShapeTree({{0, {1, 2, 5, 6}}, {1, {3, 4}}});
  RulesNodeSelection selection;
  for (auto const& [id, number] : {std::pair<unsigned int, int>{3, 30}, {2, 20}, {5, 50}, {4, 40}})
    selection.AddNode(m.Find(id), number);
  EXPECT_EQ(selection.EnumerateNodeIds(), (IdList{{2, 20}, {5, 50}, {1, 40}}));
}

// The node list is rebuilt by Synchronize only, against any tree with the
// same ids; an id the tree lacks gives what the tree answers.
TEST(RulesNodeSelection, NodeListFollowsSynchronize) {
  refhost::Model const a = ShapeTree({{0, {1, 2}}, {1, {3, 4}}}),
                       b = ShapeTree({{0, {1, 2}}, {1, {3, 4}}});
  refhost::Model const other = ShapeTree({{0, {1, 2}}});  // no node 3
  RulesNodeSelection selection;
  selection.AddNode(nullptr, 3);
  selection.Synchronize(&a.GetTree());
  EXPECT_TRUE(selection.EnumerateNodes().empty() && selection.EnumerateNodeIds().empty());
  EXPECT_FALSE(selection.HasNode(nullptr));
  selection.AddNode(a.Find(3), 33);
  selection.Synchronize(&a.GetTree());
  selection.AddNode(a.Find(2), kDefault);
  selection.RemoveIfExists(*a.Find(4));  // not selected: nothing happens
  EXPECT_EQ(selection.EnumerateNodes(), (RulesNodeSelection::NodeList{{a.Find(3), 33}}));
  selection.Synchronize(nullptr);
  EXPECT_EQ(selection.EnumerateNodes(), (RulesNodeSelection::NodeList{{a.Find(3), 33}}));
  selection.Synchronize(&b.GetTree());
  EXPECT_EQ(selection.EnumerateNodes(),
            (RulesNodeSelection::NodeList{{b.Find(3), 33}, {b.Find(2), 2}}));
  selection.Synchronize(&other.GetTree());
  EXPECT_EQ(selection.EnumerateNodes(),
            (RulesNodeSelection::NodeList{{nullptr, 33}, {other.Find(2), 2}}));
  selection.RemoveIfExists(*a.Find(3));
  EXPECT_EQ(selection.EnumerateNodeIds(), (IdList{{2, 2}}));
  // Called directly, the merge stores the default number as it is.
  RulesNodeSelection direct;
  direct.SiblingsLookupAdd(*a.Find(3), kDefault);
  direct.SiblingsLookupAdd(*a.Find(4), kDefault);
  EXPECT_EQ(direct.EnumerateNodeIds(), (IdList{{1, kDefault}}));
}

// Random trees and AddNode sequences against a plain model: a node is covered
// when it or an ancestor was added, or when all its children are covered and
// no record stops at it; the selection holds exactly the covered nodes whose
// parent is not covered, each once, with the number of the call that covered
// it (the node's id for the default number).
TEST(RulesNodeSelection, RandomSequencesKeepTheInvariants) {
  std::mt19937 rng(20261123);
  for (int round = 0; round < 200; ++round) {
    int const n = std::uniform_int_distribution<int>(1, 40)(rng);
    std::vector<unsigned int> ids(n);  // shuffled, so that ids do not follow the shape
    std::iota(ids.begin(), ids.end(), 100u);
    std::shuffle(ids.begin(), ids.end(), rng);
    Children children;
    std::map<unsigned int, unsigned int> parent;
    std::set<unsigned int> stops;
    for (unsigned int id : ids) children[id];
    for (int i = 1; i < n; ++i) {
      unsigned int const up = ids[std::uniform_int_distribution<int>(0, i - 1)(rng)];
      children[up].push_back(ids[i]);
      parent[ids[i]] = up;
      if (rng() % 4 == 0) stops.insert(up);
    }
    std::set<unsigned int> added;
    std::function<bool(unsigned int)> covered = [&](unsigned int id) {
      for (unsigned int up = id;; up = parent.at(up)) {
        if (added.count(up)) return true;
        if (up == ids[0]) break;
      }
      auto const& kids = children.at(id);
      return !kids.empty() && stops.count(id) == 0 &&
             std::all_of(kids.begin(), kids.end(), covered);
    };
    refhost::Model const m = ShapeTree(children, stops);
    RulesNodeSelection selection;
    std::map<unsigned int, int> numbers;
    using Entries = std::set<std::pair<unsigned int, int>>;
    for (int step = 0; step < 12; ++step) {
      unsigned int const id = ids[rng() % ids.size()];
      int const number = rng() % 4 == 0 ? kDefault : static_cast<int>(rng() % 1000);
      selection.AddNode(m.Find(id), number);
      std::set<unsigned int> before;
      for (unsigned int node : ids) {
        if (covered(node)) before.insert(node);
      }
      added.insert(id);
      Entries expected;
      for (unsigned int node : ids) {
        if (!covered(node)) continue;
        if (before.count(node) == 0) numbers[node] = number == kDefault ? id : number;
        if (node == ids[0] || !covered(parent.at(node))) expected.insert({node, numbers[node]});
      }
      IdList const selected = selection.EnumerateNodeIds();
      ASSERT_EQ(Entries(selected.begin(), selected.end()), expected)
          << "round " << round << " step " << step;
      ASSERT_EQ(selected.size(), expected.size()) << "round " << round << " step " << step;
    }
  }
}

}  // namespace
