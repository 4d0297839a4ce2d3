// The reference host's tree: owns its nodes and finds them by identifier.
#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "host/node.h"
#include "refhost/treenode.h"

namespace refhost {

class Tree : public tree_800::TreeAlgorithmBase {
 public:
  Tree() = default;
  Tree(Tree const&) = delete;
  Tree& operator=(Tree const&) = delete;

  // Adds a node and returns it (owned by the tree). Throws
  // std::invalid_argument("duplicate node id N") when the id is taken.
  TreeNode* AddNode(unsigned int id);
  // Adds a node without indexing its id, for a caller that adds many and
  // then calls Renumber, which indexes them all at once; until then Find
  // and GetNode do not see it.
  TreeNode* AddUnindexed(unsigned int id);
  // Gives the nodes new ids: ids[i] to the i-th node added. Throws
  // std::invalid_argument("duplicate node id N") when two are equal.
  void Renumber(std::vector<unsigned int> const& ids);
  // The root is the first node added unless set otherwise.
  void SetRoot(TreeNode* root);

  tree_800::Node const* GetRoot() const override;
  // Null for an id that the tree does not hold.
  tree_800::Node const* GetNode(unsigned int id) const override;

  TreeNode const* Root() const { return fnRoot; }
  TreeNode const* Find(unsigned int id) const;
  std::size_t Size() const { return fnNodes.size(); }

 private:
  std::vector<std::unique_ptr<TreeNode>> fnNodes;
  // Nodes by id: after Renumber with dense ids (few gaps) a vector, and
  // the map for the rest.
  std::vector<TreeNode*> fnDense;
  std::unordered_map<unsigned int, TreeNode*> fnById;
  TreeNode* fnRoot = nullptr;
};

}  // namespace refhost
