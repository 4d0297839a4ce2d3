// The tree of a PMML model as a Graphviz DOT graph: one box per node (its id,
// the condition that leads there, its record count, prediction and class
// distribution), edges labelled by the split's condition (surrogates after
// "else"), and dashed edges for the missing-value and default routes.
#pragma once

#include <ostream>

#include "refhost/pmml/pmmlmodel.h"

namespace treeout_cli {

void PrintDot(refhost::PmmlModel const& model, std::ostream& out);

}  // namespace treeout_cli
