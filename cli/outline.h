// The tree of a PMML model as an indented outline, one node a line: its id,
// the condition that sends a record to it (primary split, then each
// surrogate after "; else"), whether it is the default child, its record
// count and its prediction.
#pragma once

#include <ostream>

#include "refhost/pmml/pmmlmodel.h"

namespace treeout_cli {

void PrintOutline(refhost::PmmlModel const& model, std::ostream& out);

}  // namespace treeout_cli
