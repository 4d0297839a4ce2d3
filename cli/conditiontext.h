// What a split sends to one child, in words for people ("age <= 30",
// "region in {N, E}", "... or missing"), for the outline and the picture.
#pragma once

#include <string>

#include "refhost/pmml/pmmlmodel.h"

namespace treeout_cli {

// The values of `split` that go to `child`, with " or missing" when the
// split sends missing values there and `withMissing` is set.
std::string SplitText(refhost::PmmlModel const& model, tree_800::SplitRuleImp const& split,
                      int child, bool withMissing = true);

// The whole route into child `child` of `node`: the primary split, each
// surrogate after "; else ", and "; else here [default]" for the default
// child. Empty for a node without split.
std::string EdgeText(refhost::PmmlModel const& model, refhost::TreeNode const& node, int child);

// "predict high (0.7)" or "predict 12.5"; empty without statistics.
std::string PredictionText(refhost::PmmlModel const& model, refhost::TreeNode const& node);

}  // namespace treeout_cli
