// The set of tree nodes that rules, statements and classifiers are made for.
#pragma once

#include <utility>
#include <vector>

#include "host/node.h"
#include "ruletext/exportmacro.h"

namespace TreeOut_800 {

// Selected nodes by identifier, each with its node number (the number written
// for its records). The selection never holds a node together with one of its
// ancestors, and a node whose children are all selected replaces them when
// no record can stop at that node (it has a split and a default child).
// The node list is a cache filled only by Synchronize: after a change it is
// stale until the next Synchronize.
class TREEOUT_EXPORT RulesNodeSelection {
 public:
  using NodeList = std::vector<std::pair<tree_800::Node const*, int>>;
  using NodeIdList = std::vector<std::pair<unsigned int, int>>;

  // The node number that stands for "none given": the node's identifier is used.
  static constexpr int kDefaultNodeNumber = -1000;

  // Adds a node unless it or an ancestor is selected; removes its selected
  // descendants and merges complete sibling sets upwards (see
  // SiblingsLookupAdd). Null is ignored.
  void AddNode(tree_800::Node const* node, int nodeNumber);
  // Appends the node if absent, then replaces complete sibling sets by their
  // parent (which takes `nodeNumber`), level by level upwards, as long as
  // the parent has a split and a default child.
  void SiblingsLookupAdd(tree_800::Node const& node, int nodeNumber);
  void RemoveIfExists(tree_800::Node const& node);
  // Position of the node's entry in the identifier list, or -1.
  int SelectedAlready(tree_800::Node const& node) const;
  bool HasNode(tree_800::Node const* node) const;
  // Rebuilds the node list from the identifiers against `tree`; null leaves
  // the selection unchanged. Nodes are stored as the tree returns them.
  void Synchronize(tree_800::TreeAlgorithmBase const* tree);

  NodeList const& EnumerateNodes() const;
  NodeIdList const& EnumerateNodeIds() const;

 private:
  NodeList fnNodes;
  NodeIdList fnNodeIds;
};

}  // namespace TreeOut_800
