// The one-pass writers of each dialect, over a plan of the tree. Internal;
// OnePassWriter is their exported front.
#pragma once

#include <string>
#include <vector>

#include "host/node.h"
#include "output/onepassplan.h"
#include "output/onepassstages.h"

namespace TreeOut_800 {

class RulesOutputAdapter;

// SQL: a query over <TABLE> (`update` false) or one UPDATE of it. The node's
// outcome is found by a nested CASE that yields a key into a VALUES table of
// numbers, predictions and probabilities.
std::string OnePassSql(OnePassPlan const& plan, OnePassStages const& stages, bool update);

// VELD and generic: nested conditional blocks that assign the three values.
std::string OnePassBlocks(OnePassPlan const& plan);

// The update statements for records stopping at inner nodes without default
// child, in prefix order. `root` is the tree's root.
std::string OnePassStopStatements(OnePassPlan const& plan, RulesOutputAdapter const& adapter,
                                  tree_800::Node const* root);

// One command of VELD text as the rule text wraps it (width 256), ended by a
// line feed.
std::string VeldLine(std::string const& command);

// "MAX(condition, 0)": true where the condition is, false where it is false
// or missing, so that a VELD block never meets a missing condition.
std::string VeldDefinite(std::string const& condition);

// `parts` with `connector` between each two.
std::string JoinedBy(std::vector<std::string> const& parts, std::string const& connector);

}  // namespace TreeOut_800
