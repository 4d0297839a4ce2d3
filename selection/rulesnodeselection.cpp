// Selections hold a handful of nodes, so every lookup is a linear scan of the
// identifier list in insertion order.
#include "selection/rulesnodeselection.h"

namespace TreeOut_800 {

void RulesNodeSelection::AddNode(tree_800::Node const* node, int nodeNumber) {
  if (node == nullptr) return;
  if (nodeNumber == kDefaultNodeNumber) nodeNumber = static_cast<int>(node->GetId());

  // Covered already by the node itself or an ancestor: the number is dropped.
  for (tree_800::Node const* up = node; up != nullptr; up = up->GetParent()) {
    if (HasNode(up)) return;
  }

  // Neither the node nor an ancestor is selected, so this removes exactly the
  // selected descendants.
  tree_800::PrefixNodeIterator walk(node);
  while (walk.HasMore()) RemoveIfExists(*walk.Next());

  SiblingsLookupAdd(*node, nodeNumber);
}

namespace {

// Whether every record that reaches `node` goes on to one of its children:
// the node has a split and a default child that takes what the split cannot
// place. Otherwise records may stop at the node, and its children together
// select fewer records than the node itself.
bool NoRecordStopsAt(tree_800::Node const& node) {
  int const dumb = node.GetDumbRuleIndex();
  return node.GetNumSplitRules() > 0 && dumb >= 0 && dumb < node.GetNumChildren();
}

}  // namespace

void RulesNodeSelection::SiblingsLookupAdd(tree_800::Node const& node, int nodeNumber) {
  // One pass per level, upwards; a loop, so that deep trees need no stack.
  for (tree_800::Node const* current = &node;;) {
    if (SelectedAlready(*current) < 0) fnNodeIds.emplace_back(current->GetId(), nodeNumber);

    tree_800::Node const* parent = current->GetParent();
    if (parent == nullptr || !NoRecordStopsAt(*parent)) return;
    int const n = parent->GetNumChildren();
    for (int i = 0; i < n; ++i) {
      if (!HasNode(parent->GetChild(i))) return;
    }
    for (int i = 0; i < n; ++i) RemoveIfExists(*parent->GetChild(i));
    // The parent takes the number of the node that completed the set.
    current = parent;
  }
}

void RulesNodeSelection::RemoveIfExists(tree_800::Node const& node) {
  int const i = SelectedAlready(node);
  if (i >= 0) fnNodeIds.erase(fnNodeIds.begin() + i);
}

int RulesNodeSelection::SelectedAlready(tree_800::Node const& node) const {
  unsigned int const id = node.GetId();
  for (std::size_t i = 0; i < fnNodeIds.size(); ++i) {
    if (fnNodeIds[i].first == id) return static_cast<int>(i);
  }
  return -1;
}

bool RulesNodeSelection::HasNode(tree_800::Node const* node) const {
  return node != nullptr && SelectedAlready(*node) >= 0;
}

void RulesNodeSelection::Synchronize(tree_800::TreeAlgorithmBase const* tree) {
  if (tree == nullptr) return;
  fnNodes.clear();
  fnNodes.reserve(fnNodeIds.size());
  for (auto const& [id, number] : fnNodeIds) fnNodes.emplace_back(tree->GetNode(id), number);
}

RulesNodeSelection::NodeList const& RulesNodeSelection::EnumerateNodes() const { return fnNodes; }

RulesNodeSelection::NodeIdList const& RulesNodeSelection::EnumerateNodeIds() const {
  return fnNodeIds;
}

}  // namespace TreeOut_800
