#include "refhost/tree.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace refhost {

TreeNode* Tree::AddNode(unsigned int id) {
  if (Find(id) != nullptr) {
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
  unsigned int maxId = 0;
  for (std::size_t i = 0; i < fnNodes.size(); ++i) maxId = std::max(maxId, ids[i]);
  std::vector<TreeNode*> dense;
  std::unordered_map<unsigned int, TreeNode*> byId;
  if (maxId < 4 * fnNodes.size() + 64) {
    dense.assign(std::size_t{maxId} + 1, nullptr);
  } else {
    byId.reserve(fnNodes.size());
  }
  for (std::size_t i = 0; i < fnNodes.size(); ++i) {
    bool const added =
        dense.empty() ? byId.emplace(ids[i], fnNodes[i].get()).second : dense[ids[i]] == nullptr;
    if (!added) throw std::invalid_argument("duplicate node id " + std::to_string(ids[i]));
    if (!dense.empty()) dense[ids[i]] = fnNodes[i].get();
  }
  for (std::size_t i = 0; i < fnNodes.size(); ++i) fnNodes[i]->SetId(ids[i]);
  fnDense = std::move(dense);
  fnById = std::move(byId);
}

void Tree::SetRoot(TreeNode* root) { fnRoot = root; }

tree_800::Node const* Tree::GetRoot() const { return fnRoot; }

tree_800::Node const* Tree::GetNode(unsigned int id) const { return Find(id); }

TreeNode const* Tree::Find(unsigned int id) const {
  if (id < fnDense.size() && fnDense[id] != nullptr) return fnDense[id];
  auto const found = fnById.find(id);
  return found == fnById.end() ? nullptr : found->second;
}

}  // namespace refhost
