// What a loaded PMML model knows beyond the host model: node numbers and
// the document nodes behind the host nodes. Its scores by the document's
// rules are in pmmlanswers.cpp.
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

}  // namespace refhost
