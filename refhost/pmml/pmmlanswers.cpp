// A loaded PMML model's scores by the document's rules, where the host's
// routing says less: a record that stops at an inner node, and blends.
//
// Blends (weightedConfidence, aggregateNodes) follow the standard: at a
// node whose children's predicates meet an UNKNOWN before any TRUE, the
// candidates are that child and the later ones up to the first TRUE, leaving
// out the FALSE ones. weightedConfidence weighs each candidate's confidences
// by its share of the candidates' record counts; aggregateNodes adds up the
// record counts of the distributions of the nodes the candidates lead to.
// Either goes on the same way below each candidate. The missing value
// penalty multiplies a confidence once for every node on its route where a
// missing value was handled (a blend, a lastPrediction stop, a default
// child taken for a missing value).
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "host/systemmissing.h"
#include "refhost/pmml/pmmldocument.h"
#include "refhost/pmml/pmmlmodel.h"

namespace refhost {
namespace {

bool Blends(MissingStrategy s) {
  return s == MissingStrategy::kWeightedConfidence || s == MissingStrategy::kAggregateNodes;
}

}  // namespace

bool PmmlModel::PrimaryMissing(tree_800::Node const& node, Record const& record) const {
  auto const* inner = dynamic_cast<TreeNode const*>(&node);
  if (inner == nullptr || inner->GetPrimary() == nullptr) return false;
  int const index = inner->GetPrimary()->GetPredictorIndex();
  mdt_800::Variable const& variable = fnModel.GetMetadata().GetVariables()[index];
  mdt_800::Variant const& value = record[static_cast<std::size_t>(index) + 1];
  if (mdt_800::Encoder const* encoder = variable.GetEncoding()) {
    return encoder->Encode(value) == systemMissingValue();
  }
  return value.GetType() == mdt_800::Variant::TYPE_NONE ||
         static_cast<double>(value) == systemMissingValue();
}

bool PmmlModel::PredictsNothing(tree_800::Node const& node, Record const& record) const {
  if (node.GetNumChildren() == 0) return false;
  return !(PrimaryMissing(node, record) ? fnStopRule.predictsWhenMissing
                                        : fnStopRule.predictsOtherwise);
}

PmmlModel::Answer PmmlModel::NodeAnswer(tree_800::Node const& node, bool predicts) const {
  Answer answer;
  answer.node = OutputId(node.GetId());
  if (tree_800::ClassStatistics const* stats = node.GetClassStatistics(0)) {
    for (std::size_t c = 1; c <= Target().categories.size(); ++c) {
      answer.probabilities.push_back(stats->GetProbability(static_cast<int>(c)));
    }
    answer.category = stats->GetPredictedCategory();
    answer.predicts = predicts && answer.category >= 1;
  } else if (tree_800::ValueStatistics const* value = node.GetValueStatistics(0)) {
    answer.value = value->GetPredictedValue();
    answer.predicts = predicts;
  }
  return answer;
}

std::uint32_t PmmlModel::DocIndexOf(unsigned int hostId) const {
  return fnDocIndex[Info(hostId)->origin];
}

PmmlModel::Answer PmmlModel::Resolve(tree_800::Node const& stop, Record const& record) const {
  if (fnDocument && fnPenalty != 1 && fnMissing == MissingStrategy::kDefaultChild) {
    std::vector<double> const values = EncodeRecord(fnModel.GetMetadata(), record);
    return Evaluate(values.data());
  }
  if (stop.GetNumChildren() == 0) return NodeAnswer(stop, true);
  // Why the record stopped: its primary predictor is missing, or no child
  // took it; where the splits cannot tell, the predicates say (the first
  // of them not FALSE is UNKNOWN).
  bool missing = PrimaryMissing(stop, record);
  std::uint32_t const doc = fnDocument ? DocIndexOf(stop.GetId()) : 0;
  bool const byPredicates = fnDocument && doc < fnStopsAlike.size() && fnStopsAlike[doc];
  if (byPredicates || (missing && Blends(fnMissing) && fnDocument)) {
    std::vector<double> const values = EncodeRecord(fnModel.GetMetadata(), record);
    pmml::DocNode const& node = fnDocument->nodes[doc];
    std::ptrdiff_t unknown = -1;
    for (std::size_t k = 0; k < node.children.size() && unknown < 0; ++k) {
      pmml::Truth const t =
          pmml::Evaluate(fnDocument->nodes[node.children[k]].predicate, values.data());
      if (t == pmml::Truth::kTrue) break;
      if (t == pmml::Truth::kUnknown) unknown = static_cast<std::ptrdiff_t>(k);
    }
    if (byPredicates) missing = unknown >= 0;
    if (unknown >= 0 && Blends(fnMissing)) {
      return Blend(doc, static_cast<std::size_t>(unknown), values.data(), 0);
    }
  }
  Answer answer =
      NodeAnswer(stop, missing ? fnStopRule.predictsWhenMissing : fnStopRule.predictsOtherwise);
  if (missing && fnMissing == MissingStrategy::kLastPrediction) {
    for (double& p : answer.probabilities) p *= fnPenalty;
  }
  return answer;
}

PmmlModel::Answer PmmlModel::Evaluate(double const* values) const {
  std::uint32_t current = 0;
  int steps = 0;
  for (;;) {
    pmml::DocNode const& node = fnDocument->nodes[current];
    int next = -1;
    bool stopMissing = false;
    for (std::size_t k = 0; k < node.children.size() && next < 0 && !stopMissing; ++k) {
      pmml::Truth const t = pmml::Evaluate(fnDocument->nodes[node.children[k]].predicate, values);
      if (t == pmml::Truth::kTrue) next = static_cast<int>(k);
      if (t != pmml::Truth::kUnknown || fnMissing == MissingStrategy::kNone) continue;
      switch (fnMissing) {
        case MissingStrategy::kDefaultChild:
          next = node.defaultChild;
          ++steps;
          stopMissing = next < 0;
          break;
        case MissingStrategy::kWeightedConfidence:
        case MissingStrategy::kAggregateNodes:
          return Blend(current, k, values, steps);
        default:
          stopMissing = true;
      }
    }
    Answer answer;
    if (node.children.empty()) {
      answer = NodeAnswer(*node.host, true);
    } else if (next >= 0) {
      current = node.children[static_cast<std::size_t>(next)];
      continue;
    } else if (stopMissing && fnMissing != MissingStrategy::kDefaultChild) {
      answer = NodeAnswer(*node.host, fnStopRule.predictsWhenMissing);
      ++steps;
    } else {
      answer = NodeAnswer(*node.host, fnStopRule.predictsOtherwise);
    }
    double const factor =
        fnMissing == MissingStrategy::kNullPrediction ? 1 : std::pow(fnPenalty, steps);
    for (double& p : answer.probabilities) p *= factor;
    return answer;
  }
}

// The blend at document node `start`, whose child `firstChild` is the first
// one UNKNOWN. Every route below is followed with an explicit stack.
PmmlModel::Answer PmmlModel::Blend(std::uint32_t start, std::size_t firstChild,
                                   double const* values, int missingSteps) const {
  bool const weighted = fnMissing == MissingStrategy::kWeightedConfidence;
  bool const classification = IsClassification();
  std::size_t const n = Target().categories.size();
  std::vector<double> sum(n, 0.0);
  double total = 0;     // weights (weighted) or record counts (aggregate) taken in
  double valueSum = 0;  // regression
  struct Route {
    std::uint32_t node;
    double weight;
    double factor;  // the penalty for the missing values on the way
    std::ptrdiff_t unknownChild;
  };
  std::vector<Route> routes{
      {start, 1.0, std::pow(fnPenalty, missingSteps), static_cast<std::ptrdiff_t>(firstChild)}};
  auto const take = [&](pmml::DocNode const& node, double weight, double factor) {
    if (classification) {
      tree_800::ClassStatistics const* stats = node.host->GetClassStatistics(0);
      if (weighted) {
        if (stats == nullptr) return;
        for (std::size_t c = 0; c < n; ++c) {
          sum[c] += weight * factor * stats->GetProbability(static_cast<int>(c) + 1);
        }
        total += weight;
      } else {
        for (std::size_t c = 0; c < n && c < node.counts.size(); ++c) {
          sum[c] += factor * node.counts[c];
          total += node.counts[c];
        }
      }
    } else if (tree_800::ValueStatistics const* v = node.host->GetValueStatistics(0)) {
      double const w = weighted ? weight : std::max(node.recordCount, 0.0);
      valueSum += w * v->GetPredictedValue();
      total += w;
    }
  };
  while (!routes.empty()) {
    Route route = routes.back();
    routes.pop_back();
    for (;;) {
      pmml::DocNode const& node = fnDocument->nodes[route.node];
      if (node.children.empty()) {
        take(node, route.weight, route.factor);
        break;
      }
      std::ptrdiff_t unknown = route.unknownChild;
      route.unknownChild = -1;
      int next = -1;
      for (std::size_t k = 0; unknown < 0 && k < node.children.size(); ++k) {
        pmml::Truth const t = pmml::Evaluate(fnDocument->nodes[node.children[k]].predicate, values);
        if (t == pmml::Truth::kTrue) {
          next = static_cast<int>(k);
          break;
        }
        if (t == pmml::Truth::kUnknown) unknown = static_cast<std::ptrdiff_t>(k);
      }
      if (unknown >= 0) {
        // The UNKNOWN child and the later ones up to the first TRUE, leaving
        // out the FALSE ones; each weighs by its share of their records.
        std::vector<std::uint32_t> candidates;
        double counts = 0;
        for (std::size_t k = static_cast<std::size_t>(unknown); k < node.children.size(); ++k) {
          pmml::DocNode const& child = fnDocument->nodes[node.children[k]];
          pmml::Truth const t = pmml::Evaluate(child.predicate, values);
          if (t == pmml::Truth::kFalse) continue;
          candidates.push_back(node.children[k]);
          counts += std::max(child.recordCount, 0.0);
          if (t == pmml::Truth::kTrue) break;
        }
        for (std::uint32_t c : candidates) {
          double const share = counts > 0 ? std::max(fnDocument->nodes[c].recordCount, 0.0) / counts
                                          : 1.0 / static_cast<double>(candidates.size());
          routes.push_back({c, route.weight * share, route.factor * fnPenalty, -1});
        }
        break;
      }
      if (next < 0) {
        if (fnStopRule.predictsOtherwise) take(node, route.weight, route.factor);
        break;
      }
      route.node = node.children[static_cast<std::size_t>(next)];
    }
  }
  Answer answer;
  answer.node = fnDocument->nodes[start].outputId;
  if (total <= 0) return answer;
  if (!classification) {
    answer.value = valueSum / total;
    answer.predicts = true;
    return answer;
  }
  for (double& s : sum) s /= total;
  answer.probabilities = sum;
  answer.category = 1;
  for (std::size_t c = 1; c < n; ++c) {
    if (sum[c] > sum[static_cast<std::size_t>(answer.category) - 1]) {
      answer.category = static_cast<int>(c) + 1;
    }
  }
  answer.predicts = true;
  return answer;
}

}  // namespace refhost
