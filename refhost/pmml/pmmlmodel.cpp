// What a loaded PMML model knows beyond the host model.
#include "refhost/pmml/pmmlmodel.h"

#include "host/systemmissing.h"

namespace refhost {

PmmlModel::PmmlModel(Model model, std::vector<PmmlField> fields,
                     std::map<unsigned int, PmmlNode> nodes, MissingStrategy missing,
                     NoTrueChildStrategy noTrueChild, std::string modelName)
    : fnModel(std::move(model)),
      fnFields(std::move(fields)),
      fnNodes(std::move(nodes)),
      fnMissing(missing),
      fnNoTrueChild(noTrueChild),
      fnModelName(std::move(modelName)) {
  for (auto const& [host, node] : fnNodes) fnByPmmlId.emplace(node.id, host);
}

bool PmmlModel::IsClassification() const {
  mdt_800::Variable const* target = fnModel.GetMetadata().GetTarget();
  return target != nullptr && target->GetEncoding() != nullptr;
}

std::string PmmlModel::PmmlId(unsigned int hostId) const {
  auto const it = fnNodes.find(hostId);
  return it == fnNodes.end() ? std::to_string(hostId) : it->second.id;
}

std::optional<double> PmmlModel::RecordCount(unsigned int hostId) const {
  auto const it = fnNodes.find(hostId);
  return it == fnNodes.end() ? std::nullopt : it->second.recordCount;
}

std::optional<unsigned int> PmmlModel::HostId(std::string const& pmmlId) const {
  auto const it = fnByPmmlId.find(pmmlId);
  if (it == fnByPmmlId.end()) return std::nullopt;
  return it->second;
}

// A record stops at an inner node when no rule placed it. Its primary split's
// value tells why: missing (under lastPrediction or nullPrediction, the
// missing-value strategy decides) or present but taken by no child (the
// no-true-child strategy decides).
bool PmmlModel::PredictsNothing(tree_800::Node const& node, Record const& record) const {
  if (node.GetNumChildren() == 0) return false;
  auto const* inner = dynamic_cast<TreeNode const*>(&node);
  if (inner != nullptr && inner->GetPrimary() != nullptr &&
      (fnMissing == MissingStrategy::kLastPrediction ||
       fnMissing == MissingStrategy::kNullPrediction)) {
    std::vector<double> const values = EncodeRecord(fnModel.GetMetadata(), record);
    if (values[inner->GetPrimary()->GetPredictorIndex()] == systemMissingValue()) {
      return fnMissing == MissingStrategy::kNullPrediction;
    }
  }
  return fnNoTrueChild == NoTrueChildStrategy::kReturnNull;
}

}  // namespace refhost
