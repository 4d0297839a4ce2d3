// The general construction: a node whose children's predicates the simple
// splits cannot say (and/or/xor over several fields, isMissing and
// isNotMissing anywhere, sets of several ranges, chains that mix fields) is
// loaded as a small tree of splits that test one field each.
//
// 1. Each field the predicates name has classes: values that every atom of
//    the node treats alike (category codes with the same truth in every
//    atom; runs of numbers between the atoms' bounds), plus the missing
//    value as class 0.
// 2. For every combination of classes the document's rules give an outcome:
//    the first child whose predicate is TRUE, unless an UNKNOWN comes first
//    (then the missing value strategy decides), or a stop when no child is
//    true.
// 3. A host node is a list of rules, each on one field, tried in order, then
//    a default child, then a stop. The construction first places, field by
//    field, the classes whose outcome is the same child whatever the other
//    fields hold (an `or` over fields needs nothing more); when no class can
//    be placed so, it branches on a field into added nodes, one per group of
//    classes that leave the same outcomes, and goes on in each.
// 4. The host (and the rule text with it) sends a value that a rule leaves
//    on to the next rule, as it does a missing value. So a rule places a
//    missing value only when it places every value (else the values it
//    leaves would go with the missing one); a rule on numbers gives each
//    child one range (a child that takes two runs of numbers is two
//    children); and a record stops only where the node's first field tells
//    why (missing: the missing value strategy; present: no true child), so
//    that what it predicts follows. Values whose records stop beside a
//    placed missing value go to a stopper, an added node whose one split
//    places nothing (its one child no record reaches).
// 5. A document child reached from two places is copied with its subtree;
//    every copy reports as its original.
//
// The stages live in pmmlclasses.cpp (1, 2), pmmlplan.cpp (3, 4) and
// pmmlmaterialize.cpp (host nodes, 5).
#include "refhost/pmml/pmmlcompound.h"

namespace refhost::pmml {

bool BuildCompoundRouting(TreeNode& parent, Where const& at, std::vector<ChildSpec>& children,
                          int declaredDefault, Fields const& fields, RoutingRules const& rules,
                          NodeMaker& maker) {
  compound::Construction strict(children, declaredDefault, fields, rules, at);
  if (strict.Plan()) {
    strict.Materialize(parent, maker);
    return true;
  }
  // Some records stop with every field the node tests missing yet no child
  // true (isNotMissing or False parts): no split can tell why they stop, so
  // the node stops them all alike, as for a missing value.
  RoutingRules merged = rules;
  merged.stopsDiffer = false;
  compound::Construction loose(children, declaredDefault, fields, merged, at);
  if (!loose.Plan()) at.Fail("the loader cannot map the predicates of its children");
  loose.Materialize(parent, maker);
  return false;
}

}  // namespace refhost::pmml
