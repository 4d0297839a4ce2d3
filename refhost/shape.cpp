#include "refhost/shape.h"

#include <map>
#include <random>
#include <set>
#include <stdexcept>
#include <string>

#include "refhost/builder.h"

namespace refhost {

Model ShapeTree(std::vector<ShapeNode> const& nodes) {
  std::set<unsigned int> ids;
  for (ShapeNode const& node : nodes) {
    if (!ids.insert(node.id).second) {
      throw std::invalid_argument("duplicate node id " + std::to_string(node.id));
    }
  }
  ModelBuilder builder;
  std::map<unsigned int, int> nextIndex;
  for (ShapeNode const& node : nodes) {
    builder.Node(node.id);
    if (node.parent < 0) continue;
    unsigned int const parent = static_cast<unsigned int>(node.parent);
    if (ids.count(parent) == 0) {
      throw std::invalid_argument("node " + std::to_string(node.id) + ": parent " +
                                  std::to_string(node.parent) + " not in the list");
    }
    builder.Node(parent).Child(nextIndex[parent]++, node.id);
  }
  return builder.Build();
}

// Grows the tree by splitting a random leaf until it has `count` nodes (or a
// split would overshoot), then numbers the nodes in prefix order.
Model RandomShape(int count, unsigned int seed, int maxChildren) {
  if (count < 1 || maxChildren < 2) throw std::invalid_argument("RandomShape: bad arguments");
  std::mt19937 random(seed);
  std::vector<std::vector<int>> children(1);
  std::vector<int> leaves{0};
  int total = 1;
  while (total < count) {
    int const room = count - total;
    int const want = std::uniform_int_distribution<int>(2, maxChildren)(random);
    int const n = std::min(want, std::max(room, 2));
    if (n > room && room < 2) break;
    std::size_t const pick =
        std::uniform_int_distribution<std::size_t>(0, leaves.size() - 1)(random);
    int const leaf = leaves[pick];
    leaves.erase(leaves.begin() + static_cast<long>(pick));
    for (int i = 0; i < n; ++i) {
      children[leaf].push_back(total);
      leaves.push_back(total);
      children.emplace_back();
      ++total;
    }
  }
  // Prefix numbering.
  std::vector<ShapeNode> nodes;
  std::vector<std::pair<int, long>> pending{{0, -1}};
  std::vector<unsigned int> idOf(children.size());
  while (!pending.empty()) {
    auto const [node, parent] = pending.back();
    pending.pop_back();
    idOf[node] = static_cast<unsigned int>(nodes.size());
    nodes.push_back({idOf[node], parent});
    for (auto it = children[node].rbegin(); it != children[node].rend(); ++it) {
      pending.emplace_back(*it, static_cast<long>(idOf[node]));
    }
  }
  return ShapeTree(nodes);
}

}  // namespace refhost
