// Trees that have only a shape (ids and children, no splits or statistics),
// for tests of node selection and walks.
#pragma once

#include <vector>

#include "refhost/model.h"

namespace refhost {

struct ShapeNode {
  unsigned int id;
  long parent;  // -1 for the root
};

// A tree with these nodes; each parent's children in the order listed. Throws
// std::invalid_argument for a duplicate id, a parent not in the list, or a
// list without exactly one root.
Model ShapeTree(std::vector<ShapeNode> const& nodes);

// A random shape of at most `count` nodes (one fewer when the last split would
// overshoot) with ids 0, 1, ... in prefix order, each
// inner node having 2 to `maxChildren` children. The same seed gives the same
// tree.
Model RandomShape(int count, unsigned int seed, int maxChildren = 3);

}  // namespace refhost
