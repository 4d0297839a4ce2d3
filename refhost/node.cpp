// Tree-side host classes: node statistics, record dropping, the prefix walk.
#include "host/node.h"

#include "refhost/hooks.h"

namespace tree_800 {

ClassStatistics::ClassStatistics(int predictedCategory, std::vector<double> probabilityByCode)
    : fnPredicted(predictedCategory), fnProbabilities(std::move(probabilityByCode)) {}
ClassStatistics::~ClassStatistics() = default;

int ClassStatistics::GetPredictedCategory() const { return fnPredicted; }

double ClassStatistics::GetProbability(int category) const {
  if (category < 1 || category > static_cast<int>(fnProbabilities.size())) return 0.0;
  return fnProbabilities[static_cast<std::size_t>(category) - 1];
}

ValueStatistics::ValueStatistics(double predictedValue) : fnPredicted(predictedValue) {}
ValueStatistics::~ValueStatistics() = default;
double ValueStatistics::GetPredictedValue() const { return fnPredicted; }

Node::~Node() = default;
TreeAlgorithmBase::~TreeAlgorithmBase() = default;

// Walks down from this node, letting each node route the record, until the
// record stops or reaches `node`. Allocates nothing.
NodeImp const* NodeImp::DropObservationThroughTree(double const* values,
                                                   NodeImp const* node) const {
  refhost::FaultPoint("DropObservationThroughTree");
  NodeImp const* current = this;
  for (;;) {
    if (node != nullptr && current == node) return current;
    int const child = current->RouteRecord(values);
    Node const* next = child < 0 ? nullptr : current->GetChild(child);
    if (next == nullptr) return node == nullptr ? current : nullptr;
    current = static_cast<NodeImp const*>(next);
  }
}

PrefixNodeIterator::PrefixNodeIterator(Node const* start) {
  if (start != nullptr) fnPending.push_back(start);
}
PrefixNodeIterator::~PrefixNodeIterator() = default;

int PrefixNodeIterator::HasMore() const { return fnPending.empty() ? 0 : 1; }

Node const* PrefixNodeIterator::Next() {
  if (fnPending.empty()) return nullptr;
  Node const* node = fnPending.back();
  fnPending.pop_back();
  for (int i = node->GetNumChildren() - 1; i >= 0; --i) {
    if (Node const* child = node->GetChild(i)) fnPending.push_back(child);
  }
  return node;
}

}  // namespace tree_800
