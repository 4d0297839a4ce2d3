// The reference host's node: children, parent, id, a primary split with its
// surrogates, a default (dumb-rule) child, and class or value statistics.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "host/node.h"

namespace refhost {

class TreeNode : public tree_800::NodeImp {
 public:
  explicit TreeNode(unsigned int id);
  TreeNode(TreeNode const&) = delete;
  TreeNode& operator=(TreeNode const&) = delete;
  ~TreeNode() override;

  // Building; the tree that owns the nodes calls these.
  void AddChild(TreeNode* child);  // not owned; sets the child's parent
  void ReserveChildren(std::size_t n) { fnChildren.reserve(n); }
  void SetPrimary(std::unique_ptr<tree_800::SplitRuleImp> split);
  void AddSurrogate(std::unique_ptr<tree_800::SplitRuleImp> split);
  void SetDefaultChild(int index);  // -1 for none
  void SetClassStatistics(int predicted, std::vector<double> probabilityByCode);
  void SetValueStatistics(double predicted);
  void SetId(unsigned int id);  // the tree that owns the node renumbers it

  tree_800::Node const* GetParent() const override;
  int GetNumChildren() const override;
  tree_800::Node const* GetChild(int index) const override;
  int GetNumSplitRules() const override;  // 1 with a primary split, else 0
  int GetDumbRuleIndex() const override;
  // A new rule around a copy of the primary split (index 0), else null.
  tree_800::SplitRule* GetSplitRule(int index) const override;
  int GetNumSurrogates() const override;
  // A new rule around a copy of surrogate `index`, or null out of range.
  tree_800::SplitRule* GetSurrogate(int index) const override;
  unsigned int GetId() const override;
  tree_800::ClassStatistics const* GetClassStatistics(int) const override;
  tree_800::ValueStatistics const* GetValueStatistics(int) const override;

  tree_800::SplitRuleImp const* GetPrimary() const { return fnPrimary.get(); }
  tree_800::SplitRuleImp const& GetSurrogateImp(int index) const { return *fnSurrogates[index]; }

 protected:
  int RouteRecord(double const* values) const override;

 private:
  unsigned int fnId;
  TreeNode const* fnParent = nullptr;
  std::vector<TreeNode const*> fnChildren;
  std::unique_ptr<tree_800::SplitRuleImp> fnPrimary;
  std::vector<std::unique_ptr<tree_800::SplitRuleImp>> fnSurrogates;
  int fnDefaultChild = -1;
  std::optional<tree_800::ClassStatistics> fnClassStatistics;
  std::optional<tree_800::ValueStatistics> fnValueStatistics;
};

}  // namespace refhost
