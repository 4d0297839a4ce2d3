// Routing. RouteRecord picks the child that takes a record at this node; the
// record is one encoded double per model variable, system-missing where a
// value is missing. The primary split places it by its value; when the value
// is system-missing or the split maps it to no child, the split's
// missing-value child takes it, if there is one. Failing that, each surrogate
// is tried in order by the same rule, and failing all of them the default
// (dumb-rule) child takes it. A leaf, or a node where all of this finds no
// child, keeps the record: it stops there, and DropObservationThroughTree
// (node.cpp) returns that node. The order is the one the library's rule text
// spells out edge by edge (missing-value child before the surrogates,
// surrogates in order, default child last), so that text and scores agree.
#include "refhost/treenode.h"

#include "host/systemmissing.h"
#include "refhost/hooks.h"

namespace refhost {
namespace {

// The child that one split gives the record: by its value when the split maps
// it, else the split's missing-value child; -1 when it places it nowhere.
int PlaceBy(tree_800::SplitRuleImp const& split, double const* values) {
  double const value = values[split.GetPredictorIndex()];
  if (value != systemMissingValue()) {
    int const child = split.ChildFor(value);
    if (child >= 0) return child;
  }
  int const missingChild = split.GetMissingValueMapping();
  return missingChild >= 0 ? missingChild : -1;
}

}  // namespace

TreeNode::TreeNode(unsigned int id) : fnId(id) {}
TreeNode::~TreeNode() = default;

void TreeNode::AddChild(TreeNode* child) {
  child->fnParent = this;
  fnChildren.push_back(child);
}

void TreeNode::SetPrimary(std::unique_ptr<tree_800::SplitRuleImp> split) {
  fnPrimary = std::move(split);
}

void TreeNode::AddSurrogate(std::unique_ptr<tree_800::SplitRuleImp> split) {
  fnSurrogates.push_back(std::move(split));
}

void TreeNode::SetDefaultChild(int index) { fnDefaultChild = index; }

void TreeNode::SetClassStatistics(int predicted, std::vector<double> probabilityByCode) {
  fnClassStatistics.emplace(predicted, std::move(probabilityByCode));
}

void TreeNode::SetValueStatistics(double predicted) { fnValueStatistics.emplace(predicted); }

tree_800::Node const* TreeNode::GetParent() const { return fnParent; }
int TreeNode::GetNumChildren() const { return static_cast<int>(fnChildren.size()); }

tree_800::Node const* TreeNode::GetChild(int index) const {
  if (index < 0 || index >= GetNumChildren()) return nullptr;
  return fnChildren[static_cast<std::size_t>(index)];
}

int TreeNode::GetNumSplitRules() const { return fnPrimary ? 1 : 0; }
int TreeNode::GetDumbRuleIndex() const { return fnDefaultChild; }

tree_800::SplitRule* TreeNode::GetSplitRule(int index) const {
  FaultPoint("GetSplitRule");
  if (index != 0 || !fnPrimary) return nullptr;
  return new tree_800::SplitRule(*fnPrimary);
}

int TreeNode::GetNumSurrogates() const { return static_cast<int>(fnSurrogates.size()); }

tree_800::SplitRule* TreeNode::GetSurrogate(int index) const {
  FaultPoint("GetSurrogate");
  if (index < 0 || index >= GetNumSurrogates()) return nullptr;
  return new tree_800::SplitRule(*fnSurrogates[static_cast<std::size_t>(index)]);
}

unsigned int TreeNode::GetId() const { return fnId; }

tree_800::ClassStatistics const* TreeNode::GetClassStatistics(int) const {
  return fnClassStatistics ? &*fnClassStatistics : nullptr;
}

tree_800::ValueStatistics const* TreeNode::GetValueStatistics(int) const {
  return fnValueStatistics ? &*fnValueStatistics : nullptr;
}

// Primary split, then each surrogate in order, then the default child; -1
// keeps the record here.
int TreeNode::RouteRecord(double const* values) const {
  if (!fnPrimary) return -1;
  int child = PlaceBy(*fnPrimary, values);
  for (std::size_t i = 0; child < 0 && i < fnSurrogates.size(); ++i) {
    child = PlaceBy(*fnSurrogates[i], values);
  }
  if (child < 0) child = fnDefaultChild;
  return child < GetNumChildren() ? child : -1;
}

}  // namespace refhost
