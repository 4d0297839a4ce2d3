#include "refhost/tree.h"

#include <stdexcept>
#include <string>

namespace refhost {

TreeNode* Tree::AddNode(unsigned int id) {
  if (fnById.count(id) != 0) {
    throw std::invalid_argument("duplicate node id " + std::to_string(id));
  }
  fnNodes.push_back(std::make_unique<TreeNode>(id));
  TreeNode* node = fnNodes.back().get();
  fnById.emplace(id, node);
  if (fnRoot == nullptr) fnRoot = node;
  return node;
}

TreeNode* Tree::AddUnindexed(unsigned int id) {
  fnNodes.push_back(std::make_unique<TreeNode>(id));
  TreeNode* node = fnNodes.back().get();
  if (fnRoot == nullptr) fnRoot = node;
  return node;
}

void Tree::Renumber(std::vector<unsigned int> const& ids) {
  std::unordered_map<unsigned int, TreeNode*> byId;
  byId.reserve(fnNodes.size());
  for (std::size_t i = 0; i < fnNodes.size(); ++i) {
    if (!byId.emplace(ids[i], fnNodes[i].get()).second) {
      throw std::invalid_argument("duplicate node id " + std::to_string(ids[i]));
    }
  }
  for (std::size_t i = 0; i < fnNodes.size(); ++i) fnNodes[i]->SetId(ids[i]);
  fnById = std::move(byId);
}

void Tree::SetRoot(TreeNode* root) { fnRoot = root; }

tree_800::Node const* Tree::GetRoot() const { return fnRoot; }

tree_800::Node const* Tree::GetNode(unsigned int id) const { return Find(id); }

TreeNode const* Tree::Find(unsigned int id) const {
  auto const found = fnById.find(id);
  return found == fnById.end() ? nullptr : found->second;
}

}  // namespace refhost
