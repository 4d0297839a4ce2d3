#include "scoring/recordclassifierimp.h"

#include "host/systemmissing.h"

namespace TreeOut_800 {

double GetEncodedValue(mdt_800::Variant const& value, mdt_800::Encoder const* encoder) {
  if (encoder != nullptr) return encoder->Encode(value);
  if (value.GetType() == mdt_800::Variant::TYPE_NONE) return systemMissingValue();
  return static_cast<double>(value);
}

RecordClassifierImp::RecordClassifierImp(tree_800::NodeImp const* root,
                                         mdt_800::ModelMetadata const* metadata)
    : fnRoot(root), fnMetadata(metadata), fnValues(new double[metadata->GetVariables().size()]) {}

RecordClassifierImp::RecordClassifierImp(tree_800::NodeImp const* root,
                                         mdt_800::ModelMetadata const* metadata,
                                         RulesNodeSelection const& selection)
    : RecordClassifierImp(root, metadata) {
  // Every entry is kept, null included: the host decides what a null means.
  for (auto const& entry : selection.EnumerateNodes()) {
    fnSelectedNodes.push_back(static_cast<tree_800::NodeImp const*>(entry.first));
  }
}

RecordClassifierImp::~RecordClassifierImp() = default;

double* RecordClassifierImp::GetDoubleRecord(
    MCTree_800::TRecord<mdt_800::Variant> const& record) const {
  std::vector<mdt_800::Variable> const& variables = fnMetadata->GetVariables();
  double* const values = fnValues.get();
  for (std::size_t i = 0; i < variables.size(); ++i) {
    values[i] = GetEncodedValue(record[i + 1], variables[i].GetEncoding());
  }
  return values;
}

tree_800::NodeImp const* RecordClassifierImp::Score(
    MCTree_800::TRecord<mdt_800::Variant> const& record) const {
  return fnRoot->DropObservationThroughTree(GetDoubleRecord(record), nullptr);
}

int RecordClassifierImp::Classify(MCTree_800::TRecord<mdt_800::Variant> const& record) const {
  double const* values = GetDoubleRecord(record);
  for (tree_800::NodeImp const* node : fnSelectedNodes) {
    if (fnRoot->DropObservationThroughTree(values, node) != nullptr) return 0;
  }
  return 1;
}

}  // namespace TreeOut_800
