// What a loaded PMML model knows beyond the host model: node numbers, and
// scores by the document's rules where the host's routing says less.
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
#include "refhost/pmml/pmmlmodel.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "host/systemmissing.h"
#include "refhost/numbertext.h"
#include "refhost/pmml/pmmldocument.h"

namespace refhost {
namespace {

char const* StrategyName(MissingStrategy s) {
  switch (s) {
    case MissingStrategy::kWeightedConfidence:
      return "weightedConfidence";
    case MissingStrategy::kAggregateNodes:
      return "aggregateNodes";
    case MissingStrategy::kLastPrediction:
      return "lastPrediction";
    case MissingStrategy::kDefaultChild:
      return "defaultChild";
    default:
      return "none";
  }
}

bool Blends(MissingStrategy s) {
  return s == MissingStrategy::kWeightedConfidence || s == MissingStrategy::kAggregateNodes;
}

}  // namespace

PmmlModel::PmmlModel(Model model, std::vector<PmmlField> fields, std::vector<NodeInfo> nodes,
                     bool numberedInOrder, MissingStrategy missing, NoTrueChildStrategy noTrueChild,
                     double missingValuePenalty, std::string modelName,
                     std::unique_ptr<pmml::Document> document)
    : fnModel(std::move(model)),
      fnFields(std::move(fields)),
      fnNodes(std::move(nodes)),
      fnNumberedInOrder(numberedInOrder),
      fnMissing(missing),
      fnNoTrueChild(noTrueChild),
      fnPenalty(missingValuePenalty),
      fnModelName(std::move(modelName)),
      fnDocument(std::move(document)) {
  for (std::size_t i = 0; i < fnFields.size(); ++i) {
    if (fnFields[i].isTarget) fnTarget = i;
  }
  unsigned int maxId = 0;
  for (NodeInfo const& node : fnNodes) maxId = std::max(maxId, node.hostId);
  bool const dense = maxId < 4 * fnNodes.size() + 64;
  if (dense) {
    fnDense.assign(std::size_t{maxId} + 1, UINT32_MAX);
  } else {
    fnIndex.reserve(fnNodes.size());
  }
  std::uint32_t documentNodes = 0;
  for (std::uint32_t k = 0; k < fnNodes.size(); ++k) {
    if (dense) {
      fnDense[fnNodes[k].hostId] = k;
    } else {
      fnIndex.emplace(fnNodes[k].hostId, k);
    }
    if (fnNodes[k].role == NodeInfo::kCopy) fnCopies.emplace(fnNodes[k].origin, k);
    if (fnDocument) {
      fnDocIndex.push_back(fnNodes[k].role == NodeInfo::kDocument ? documentNodes++ : 0);
    }
  }
  bool const returnLast = fnNoTrueChild == NoTrueChildStrategy::kReturnLast;
  fnStopRule.predictsOtherwise = returnLast;
  switch (fnMissing) {
    case MissingStrategy::kLastPrediction:
      fnStopRule.predictsWhenMissing = true;
      break;
    case MissingStrategy::kNullPrediction:
    case MissingStrategy::kWeightedConfidence:
    case MissingStrategy::kAggregateNodes:
      fnStopRule.predictsWhenMissing = false;
      break;
    default:
      fnStopRule.predictsWhenMissing = returnLast;
  }
  if (Blends(fnMissing)) {
    fnTextLimit = std::string("missingValueStrategy '") + StrategyName(fnMissing) +
                  "': the rule text gives no prediction to a record whose missing value needs "
                  "a blend of several nodes (treeout score gives the blend)";
  } else if (fnPenalty != 1 && (fnMissing == MissingStrategy::kLastPrediction ||
                                fnMissing == MissingStrategy::kDefaultChild)) {
    fnTextLimit = "missingValuePenalty " + ShortestText(fnPenalty) +
                  ": the rule text writes a node's own probability also for records whose "
                  "missing values lower it (treeout score gives the lower one)";
  }
}

void PmmlModel::NoteStopsAlike(std::vector<std::uint32_t> const& documentNodes) {
  if (fnDocument) {
    fnStopsAlike.assign(fnDocument->nodes.size(), false);
    for (std::uint32_t n : documentNodes) fnStopsAlike[n] = true;
  }
  if (!fnTextLimit.empty()) fnTextLimit += "; ";
  fnTextLimit +=
      "a record with every field of a node's split missing and no child's predicate true scores "
      "as stopped for its missing values, though PMML stops it with no true child";
}

PmmlModel::PmmlModel(PmmlModel&&) noexcept = default;
PmmlModel& PmmlModel::operator=(PmmlModel&&) noexcept = default;
PmmlModel::~PmmlModel() = default;

bool PmmlModel::IsClassification() const {
  mdt_800::Variable const* target = fnModel.GetMetadata().GetTarget();
  return target != nullptr && target->GetEncoding() != nullptr;
}

std::optional<std::uint32_t> PmmlModel::IndexOf(unsigned int hostId) const {
  if (!fnDense.empty()) {
    if (hostId >= fnDense.size() || fnDense[hostId] == UINT32_MAX) return std::nullopt;
    return fnDense[hostId];
  }
  auto const it = fnIndex.find(hostId);
  if (it == fnIndex.end()) return std::nullopt;
  return it->second;
}

PmmlModel::NodeInfo const* PmmlModel::Info(unsigned int hostId) const {
  std::optional<std::uint32_t> const k = IndexOf(hostId);
  return k ? &fnNodes[*k] : nullptr;
}

unsigned int PmmlModel::OutputId(unsigned int hostId) const {
  NodeInfo const* info = Info(hostId);
  return info == nullptr ? hostId : fnNodes[info->origin].hostId;
}

std::string const& PmmlModel::DocumentId(unsigned int hostId) const {
  static std::string const kNone;
  NodeInfo const* info = Info(hostId);
  return info == nullptr ? kNone : info->documentId;
}

bool PmmlModel::IsAdded(unsigned int hostId) const {
  NodeInfo const* info = Info(hostId);
  return info != nullptr && info->role != NodeInfo::kDocument;
}

unsigned int PmmlModel::DocumentNode(unsigned int hostId) const { return OutputId(hostId); }

std::optional<double> PmmlModel::RecordCount(unsigned int hostId) const {
  NodeInfo const* info = Info(hostId);
  if (info == nullptr || info->recordCount < 0) return std::nullopt;
  return info->recordCount;
}

std::vector<tree_800::Node const*> PmmlModel::NodesFor(std::string const& outputId) const {
  std::vector<tree_800::Node const*> found;
  if (outputId.empty() || outputId.size() > 10) return found;
  for (char c : outputId) {
    if (c < '0' || c > '9') return found;
  }
  unsigned long long const n = std::stoull(outputId);
  if (n > 0xFFFFFFFFull) return found;
  std::optional<std::uint32_t> const k = IndexOf(static_cast<unsigned int>(n));
  if (!k || fnNodes[*k].role != NodeInfo::kDocument) return found;
  found.push_back(fnModel.Find(static_cast<unsigned int>(n)));
  auto const copies = fnCopies.equal_range(*k);
  for (auto c = copies.first; c != copies.second; ++c) {
    found.push_back(fnModel.Find(fnNodes[c->second].hostId));
  }
  return found;
}

std::optional<unsigned int> PmmlModel::HostId(std::string const& outputId) const {
  std::vector<tree_800::Node const*> const nodes = NodesFor(outputId);
  if (nodes.empty()) return std::nullopt;
  return nodes.front()->GetId();
}

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
