// A tree's routing compiled into flat arrays, so that a record walks down
// without a host call per level.
//
// Made once from the host's node and split-rule operations: each node's
// primary split and surrogates (ordered ranges or category-code sets per
// child), missing-value child and default child. A record then goes as the
// host drops it: at each node the first split that places it decides (the
// missing-value child takes a missing or unmapped value), else the default
// child, else it stops there. Every host object obtained while compiling is
// released before the constructor returns or throws.
#pragma once

#include <cstddef>
#include <vector>

#include "host/node.h"

namespace TreeOut_800 {

class CompiledTree {
 public:
  // Compiles the tree under `root` for records of `numVariables` variables.
  // Host exceptions pass through. A tree that shows anything the compiled
  // routing does not model (a null split rule, value set or iterator, a value
  // set of unknown kind, a split mixing ranges and codes, a predictor outside
  // the variables) compiles as unusable: its records must go through the host.
  CompiledTree(tree_800::NodeImp const* root, std::size_t numVariables);

  bool IsUsable() const { return fnUsable; }
  // The variables that some split reads, ascending.
  std::vector<int> const& Predictors() const { return fnPredictors; }

  // The node where a record stops. `values.Get(p)` gives the encoded value of
  // variable p; it must give NaN for p == numVariables (the slot that a node
  // without a fast step reads). REQUIRES: IsUsable().
  template <class Values>
  tree_800::NodeImp const* Drop(Values& values) const;

 private:
  static constexpr int kNone = -1;  // a split does not place the record
  static constexpr int kStop = -2;  // the record stops at the current node

  // One node. The fast step: a binary ordered primary split sends x <= cut to
  // `low` and x > cut to `high` (both nodes); anything else, and every value
  // that is missing or NaN, takes the node's full route. A node without a
  // fast step reads the NaN slot, so it always takes its route.
  struct Node {
    double cut;
    int predictor;
    int low;
    int high;
    int route;  // index into fnRoutes, or -1: the record stops here
  };
  // A node's splits in order of preference, fnRules[firstRule, endRule), and
  // the target when none places the record.
  struct Route {
    int firstRule;
    int endRule;
    int defaultTarget;  // a node index or kStop
  };
  enum class Kind : unsigned char { kCut, kDenseCodes, kSortedCodes, kRanges };
  // One split. Targets are node indexes, kStop (a child index beyond the
  // node's children) or kNone.
  struct Rule {
    Kind kind;
    int predictor;
    int missingTarget;
    double cut;        // kCut: x <= cut to low, x > cut to high
    int low, high;     // kCut
    int first, count;  // kDenseCodes: fnTargets; kSortedCodes: fnCodes; kRanges: fnRanges
    long codeMin;      // kDenseCodes: the code of fnTargets[first]
  };
  struct CodeTarget {
    int code;
    int target;
  };
  struct Range {
    double lower, upper;
    bool hasLower, hasUpper, lowerOpen, upperOpen;
    int target;
  };

  bool CompileNode(tree_800::Node const& node, int index);
  bool CompileRule(tree_800::SplitRule const& rule, int index);
  int ChildTarget(int index, int child) const;
  int Lookup(Rule const& rule, double x) const;
  template <class Values>
  int TakeRoute(Route const& route, Values& values) const;

  std::size_t fnNumVariables;
  double fnSysmis;
  bool fnUsable = true;
  std::vector<Node> fnNodes;  // prefix order: the root first
  std::vector<tree_800::NodeImp const*> fnHostNodes;
  std::vector<Route> fnRoutes;
  std::vector<Rule> fnRules;
  std::vector<int> fnTargets;
  std::vector<CodeTarget> fnCodes;
  std::vector<Range> fnRanges;
  std::vector<int> fnPredictors;
  // While compiling: node i's children are fnChildIndexes[fnFirstChild[i],
  // fnFirstChild[i + 1]).
  std::vector<int> fnFirstChild;
  std::vector<int> fnChildIndexes;
};

template <class Values>
int CompiledTree::TakeRoute(Route const& route, Values& values) const {
  for (int r = route.firstRule; r < route.endRule; ++r) {
    Rule const& rule = fnRules[static_cast<std::size_t>(r)];
    double const x = values.Get(rule.predictor);
    int const target = x != fnSysmis ? Lookup(rule, x) : kNone;
    if (target != kNone) return target;
    if (rule.missingTarget != kNone) return rule.missingTarget;
  }
  return route.defaultTarget;
}

template <class Values>
tree_800::NodeImp const* CompiledTree::Drop(Values& values) const {
  Node const* const nodes = fnNodes.data();
  int index = 0;
  for (;;) {
    Node const& node = nodes[index];
    double const x = values.Get(node.predictor);
    bool const high = x > node.cut;
    if ((high || x <= node.cut) && x != fnSysmis) {
      index = high ? node.high : node.low;
      continue;
    }
    if (node.route < 0) return fnHostNodes[static_cast<std::size_t>(index)];
    int const next = TakeRoute(fnRoutes[static_cast<std::size_t>(node.route)], values);
    if (next < 0) return fnHostNodes[static_cast<std::size_t>(index)];
    index = next;
  }
}

}  // namespace TreeOut_800
