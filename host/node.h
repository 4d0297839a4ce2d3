// Host tree: nodes, their statistics, the tree, and the prefix-order walk.
// Nodes, and the statistics they hold, are owned by their tree: every node
// pointer handed out stays valid while the tree lives. Nothing here is
// thread-safe unless said otherwise. "May throw" means any std::exception,
// with the tree left as it was.
#pragma once

#include <vector>

#include "host/splitrule.h"

namespace tree_800 {

// Class statistics of a node: the predicted target code and a probability per
// code. probabilityByCode[i] is the probability of code i + 1 (target codes
// count from 1, as a map encoder's do). The getters do not throw.
class ClassStatistics {
 public:
  ClassStatistics(int predictedCategory, std::vector<double> probabilityByCode);
  ~ClassStatistics();
  int GetPredictedCategory() const;
  // Probability of a category code; 0 for a code the node has no figure for.
  double GetProbability(int category) const;

 private:
  int fnPredicted;
  std::vector<double> fnProbabilities;
};

// Value statistics of a node of a regression tree. Does not throw.
class ValueStatistics {
 public:
  explicit ValueStatistics(double predictedValue);
  ~ValueStatistics();
  double GetPredictedValue() const;

 private:
  double fnPredicted;
};

// One node of a tree. The virtual operations stand in slot order. Only
// GetSplitRule and GetSurrogate may throw.
class Node {
 public:
  virtual Node const* GetParent() const = 0;          // null for the root
  virtual int GetNumChildren() const = 0;             // 0 or less for a leaf
  virtual Node const* GetChild(int index) const = 0;  // null out of range
  virtual int GetNumSplitRules() const = 0;           // > 0 when split
  // Child that takes a record no rule can place; negative for none.
  virtual int GetDumbRuleIndex() const = 0;
  // A new split rule that the caller owns and deletes (it does not refer back
  // to the node); index 0 is the primary split. Null for an index the node
  // does not have. May throw.
  virtual SplitRule* GetSplitRule(int index) const = 0;
  virtual int GetNumSurrogates() const = 0;
  // A new surrogate split rule (0-based, in order of preference) that the
  // caller owns and deletes; null out of range. May throw.
  virtual SplitRule* GetSurrogate(int index) const = 0;
  virtual unsigned int GetId() const = 0;
  // Null when the tree is not a classification tree.
  virtual ClassStatistics const* GetClassStatistics(int) const = 0;
  // Null when the tree is not a regression tree.
  virtual ValueStatistics const* GetValueStatistics(int) const = 0;
  virtual ~Node();
};

// The host's concrete node: every node of a tree is a NodeImp.
class NodeImp : public Node {
 public:
  // Called on the root with one encoded double per model variable (variable
  // i at values[i], system-missing for a missing value). With `node` null: the
  // node where the record stops (a leaf, or an inner node that could not place
  // it). With `node` set: `node` when the record's path passes through it,
  // else null. May throw.
  NodeImp const* DropObservationThroughTree(double const* values, NodeImp const* node) const;

 protected:
  // Index of the child that takes the record at this node, or -1 when the
  // record stops here. Implementations must not throw.
  virtual int RouteRecord(double const* values) const = 0;
};

// One trained tree; owns its nodes. Neither operation throws.
class TreeAlgorithmBase {
 public:
  virtual Node const* GetRoot() const = 0;
  // The node with this identifier, or null when the tree has none.
  virtual Node const* GetNode(unsigned int id) const = 0;
  virtual ~TreeAlgorithmBase();
};

// Walk of the subtree under `start` in prefix order: the start node first,
// then each child's subtree in child order. REQUIRES: the tree outlives the
// walk. The constructor and Next may throw std::bad_alloc.
class PrefixNodeIterator {
 public:
  explicit PrefixNodeIterator(Node const* start);  // null: an empty walk
  ~PrefixNodeIterator();
  int HasMore() const;
  Node const* Next();  // null when the walk is over

 private:
  std::vector<Node const*> fnPending;  // nodes still to visit, next one last
};

}  // namespace tree_800
