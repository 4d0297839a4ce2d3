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
  // the variables, no root) compiles as unusable: its records must go through
  // the host.
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

  // One node, 16 bytes. The fast step of a binary ordered primary split:
  // x <= cut goes to the next node (the layout puts that child right after
  // its parent), x > cut to `high`. Other values (missing, NaN) and other
  // splits take the node's full route; a node without fast step reads the
  // NaN slot, so it always does.
  struct Node {
    double cut;
    int predictor;
    int high;
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
  void LayOut();
  bool CompileRule(tree_800::SplitRule const& rule, int index);
  int ChildTarget(int index, int child) const;
  int Lookup(Rule const& rule, double x) const;
  // The target of node `index`'s full route: a node index, or kStop.
  template <class Values>
  int TakeRoute(int index, Values& values) const;

  std::size_t fnNumVariables;
  double fnSysmis;
  bool fnUsable = true;
  std::vector<Node> fnNodes;      // the root first
  std::vector<int> fnNodeRoutes;  // per node: index into fnRoutes, or -1: records stop there
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

// Kept out of the walk's loop, so that the loop keeps its state in registers.
template <class Values>
__attribute__((noinline)) int CompiledTree::TakeRoute(int index, Values& values) const {
  int const at = fnNodeRoutes[static_cast<std::size_t>(index)];
  if (at < 0) return kStop;
  Route const& route = fnRoutes[static_cast<std::size_t>(at)];
  for (int r = route.firstRule; r < route.endRule; ++r) {
    Rule const& rule = fnRules[static_cast<std::size_t>(r)];
    double const x = values.Get(rule.predictor);
    int const target = x != fnSysmis ? Lookup(rule, x) : kNone;
    if (target != kNone) return target;
    if (rule.missingTarget != kNone) return rule.missingTarget;
  }
  return route.defaultTarget;
}

// System-missing never takes a fast step's high side (no fast step cuts
// below it), so only the low side asks for it.
template <class Values>
tree_800::NodeImp const* CompiledTree::Drop(Values& values) const {
  Node const* const nodes = fnNodes.data();
  double const sysmis = fnSysmis;
  int index = 0;
  for (;;) {
    Node const& node = nodes[index];
    double const x = values.Get(node.predictor);
    if (x > node.cut) {
      index = node.high;
    } else if (x <= node.cut && x != sysmis) {
      ++index;
    } else {
      int const next = TakeRoute(index, values);
      if (next < 0) return fnHostNodes[static_cast<std::size_t>(index)];
      index = next;
    }
  }
}

}  // namespace TreeOut_800
