// The document's nodes and predicates, kept when scoring needs them
// (weightedConfidence, aggregateNodes) or a caller asks for them.
#pragma once

#include <cstdint>
#include <vector>

#include "refhost/pmml/pmmlinternal.h"
#include "refhost/treenode.h"

namespace refhost::pmml {

struct DocNode {
  Pred predicate;
  std::vector<std::uint32_t> children;  // document node indices, in order
  int defaultChild = -1;                // index into children
  TreeNode const* host = nullptr;       // the node with the statistics
  unsigned int outputId = 0;
  double recordCount = -1;     // negative when the document gives none
  std::vector<double> counts;  // ScoreDistribution record counts per target code
};

struct Document {
  std::vector<DocNode> nodes;  // in document order; 0 is the root
};

}  // namespace refhost::pmml
