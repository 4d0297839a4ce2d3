// The general construction's private parts (see pmmlcompound.cpp for the
// algorithm): the classes of each field's values, the outcome of every
// combination of classes, and the plan of host nodes made from them. The
// work is split by stage: pmmlclasses.cpp (classes and outcomes),
// pmmlplan.cpp (the plan), pmmlmaterialize.cpp (host nodes).
#pragma once

#include <cstddef>
#include <vector>

#include "refhost/pmml/pmmlrouting.h"

namespace refhost::pmml::compound {

int const kStopMissing = -1;  // an UNKNOWN came first: the missing value strategy stops it
int const kStopNoChild = -2;  // no child's predicate is true
std::size_t const kMaxCases = std::size_t{1} << 16;

// The classes of one field: values that every atom of the node treats
// alike, plus the missing value as class 0.
struct FieldClasses {
  int field = -1;
  bool categorical = false;
  int count = 1;  // classes, the missing one (0) included
  std::vector<double> representative;
  std::vector<int> codeClass;  // categorical: code -> class
  std::vector<Range> pieces;   // numeric: elementary ranges, ascending
  std::vector<int> pieceClass;
};

// The classes of `def`'s values under `atoms` (the node's atoms on it).
FieldClasses Classify(FieldDef const& def, std::vector<Pred const*> const& atoms);

// Allowed classes per field.
using Domain = std::vector<std::vector<char>>;

// A rule of one host node: per class of its field, the slot it sends that
// class to (-1: none); class 0 is the missing value.
struct Rule {
  int fieldPos = -1;  // -1: a rule on the fallback field that places nothing
  std::vector<int> slotOfClass;
  Domain domain;  // what reaches the rule, for classes that never do
};

// A target of a node's slot: a document child (>= 0) or an added node
// (-1 - index into the plan's nodes).
struct PlanNode {
  int stopField = -1;  // a stopper: a split on this field that places nothing
  Domain domain;
  std::vector<Rule> rules;
  std::vector<int> slots;  // targets
  int defaultSlot = -1;
};

class Construction {
 public:
  Construction(std::vector<ChildSpec>& children, int declaredDefault, Fields const& fields,
               RoutingRules const& rules, Where const& at)
      : fnChildren(children),
        fnDefault(declaredDefault),
        fnFields(fields),
        fnRules(rules),
        fnAt(at) {}

  // Plans the node's routing; false when no plan tells every stop for a
  // missing value from a stop with no true child.
  bool Plan();

  // Makes the planned host nodes below `parent`.
  void Materialize(TreeNode& parent, NodeMaker& maker);

 private:
  // --- classes and outcomes (pmmlclasses.cpp) ---
  void Classes();
  int OutcomeOf(std::vector<double> const& values) const;
  void Outcomes();
  template <typename F>
  void Each(Domain const& domain, F f) const;
  std::vector<int> OutcomesOver(Domain const& domain) const;
  std::vector<int> TableOver(Domain const& domain) const;
  static Domain With(Domain domain, std::size_t f, int cls);
  bool StopsConsistently(Domain const& domain, std::size_t f) const;

  // --- the plan (pmmlplan.cpp) ---
  static int SlotOf(PlanNode& node, int target);
  int NewNode(Domain domain);
  bool Plan(std::size_t i, bool greedy);
  Rule Fallback(Domain const& domain) const;
  bool Place(std::size_t i, Domain& domain);
  std::vector<int> Slots(std::size_t i, std::size_t f, Domain const& domain,
                         std::vector<int> const& target);
  bool Branch(std::size_t i, Domain const& domain);
  int StopperField(Domain const& domain) const;
  bool TryBranch(std::size_t i, std::size_t f, Domain const& domain);

  // --- host nodes (pmmlmaterialize.cpp) ---
  void AddRules(TreeNode& node, Rule const& rule, int slots, bool primary);

  std::vector<ChildSpec>& fnChildren;
  int fnDefault;
  Fields const& fnFields;
  RoutingRules const& fnRules;
  Where const& fnAt;
  std::vector<FieldClasses> fnClasses;
  std::vector<std::size_t> fnStride;
  std::size_t fnCases = 1;
  std::vector<int> fnOutcome;
  std::vector<PlanNode> fnPlan;
};

}  // namespace refhost::pmml::compound
