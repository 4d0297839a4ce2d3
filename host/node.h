// Host tree: nodes, their statistics, the tree, and the prefix-order walk.
#pragma once

#include <vector>

#include "host/splitrule.h"

namespace tree_800 {

// Class statistics of a node: the predicted target code and a probability per
// code. probabilityByCode[i] is the probability of code i + 1 (target codes
// count from 1, as a map encoder's do).
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

// Value statistics of a node of a regression tree.
class ValueStatistics {
 public:
  explicit ValueStatistics(double predictedValue);
  ~ValueStatistics();
  double GetPredictedValue() const;

 private:
  double fnPredicted;
};

// One node of a tree. The virtual operations stand in slot order.
class Node {
 public:
  virtual Node const* GetParent() const = 0;
  virtual int GetNumChildren() const = 0;  // 0 or less for a leaf
  virtual Node const* GetChild(int index) const = 0;
  virtual int GetNumSplitRules() const = 0;  // > 0 when split
  // Child that takes a record no rule can place; negative for none.
  virtual int GetDumbRuleIndex() const = 0;
  // New split rule, owned by the caller; index 0 is the primary split.
  virtual SplitRule* GetSplitRule(int index) const = 0;
  virtual int GetNumSurrogates() const = 0;
  // New surrogate split rule (0-based, in order of preference), owned by the
  // caller.
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
  // Called on the root with one encoded double per model variable. With
  // `node` null: the node where the record stops (a leaf, or an inner node
  // that could not place it). With `node` set: `node` when the record's path
  // passes through it, else null.
  NodeImp const* DropObservationThroughTree(double const* values, NodeImp const* node) const;

 protected:
  // Index of the child that takes the record at this node, or -1 when the
  // record stops here.
  virtual int RouteRecord(double const* values) const = 0;
};

// One trained tree.
class TreeAlgorithmBase {
 public:
  virtual Node const* GetRoot() const = 0;
  // The node with this identifier, or null when the tree has none.
  virtual Node const* GetNode(unsigned int id) const = 0;
  virtual ~TreeAlgorithmBase();
};

// Walk of the subtree under `start` in prefix order: the start node first,
// then each child's subtree in child order.
class PrefixNodeIterator {
 public:
  explicit PrefixNodeIterator(Node const* start);
  ~PrefixNodeIterator();
  int HasMore() const;
  Node const* Next();

 private:
  std::vector<Node const*> fnPending;  // nodes still to visit, next one last
};

}  // namespace tree_800
