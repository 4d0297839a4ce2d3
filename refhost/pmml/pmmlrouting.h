// How a node sends records to its children: the host splits made from the
// children's predicates. Simple predicates (one field per position of a
// surrogate chain, each child one range or set of categories) become the
// node's own split and surrogates; anything else goes through the general
// construction, which adds inner nodes that test one field each.
#pragma once

#include <string>
#include <vector>

#include "refhost/pmml/pmmlinternal.h"
#include "refhost/treenode.h"

namespace refhost::pmml {

// One child of a node, as read.
struct ChildSpec {
  TreeNode* host = nullptr;
  Pred predicate;
  Where where;  // the child's Node element
};

// What the routing may ask of the loader.
class NodeMaker {
 public:
  virtual ~NodeMaker() = default;
  // A new inner node that stands for the document node `origin` and carries
  // its statistics.
  virtual TreeNode* Added(TreeNode const& origin) = 0;
  // A copy of the subtree at `node`, every copy standing for its original.
  virtual TreeNode* Copy(TreeNode const& node) = 0;
};

struct RoutingRules {
  MissingStrategy missing = MissingStrategy::kNone;
  NoTrueChildStrategy noTrueChild = NoTrueChildStrategy::kReturnNull;
  // Whether a stop for a missing value must be told apart from a stop with
  // no true child (they predict differently, or the first is a blend).
  bool stopsDiffer = false;
  int fallbackField = -1;  // a variable for a split that places nothing
};

// Gives `parent` its split, surrogates, default child and children.
// `declaredDefault` is the index of the child its defaultChild attribute
// names, or -1. Throws PmmlError when the document cannot be mapped. False
// when the node's splits cannot tell every stop for a missing value from a
// stop with no true child (where the rules say they differ).
bool BuildRouting(TreeNode& parent, Where const& at, std::vector<ChildSpec>& children,
                  int declaredDefault, Fields const& fields, RoutingRules const& rules,
                  NodeMaker& maker);

// The general construction, for what the simple splits cannot say.
bool BuildCompoundRouting(TreeNode& parent, Where const& at, std::vector<ChildSpec>& children,
                          int declaredDefault, Fields const& fields, RoutingRules const& rules,
                          NodeMaker& maker);

}  // namespace refhost::pmml
