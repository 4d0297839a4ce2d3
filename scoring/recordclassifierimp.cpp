#include "scoring/recordclassifierimp.h"

#include <limits>

#include "host/systemmissing.h"

namespace TreeOut_800 {
namespace {

// The walk's view of a record whose values are all in the buffer.
struct BufferValues {
  double const* values;
  double Get(int p) const { return values[p]; }
};

// The walk's view of a record whose encoded variables are encoded on first
// read.
struct LazyValues {
  double* values;
  unsigned char* pending;
  mdt_800::Encoder const* const* encoders;
  MCTree_800::TRecord<mdt_800::Variant> const& record;
  double Get(int p) {
    if (pending[p] != 0) {
      values[p] = encoders[p]->Encode(record[static_cast<std::size_t>(p) + 1]);
      pending[p] = 0;
    }
    return values[p];
  }
};

}  // namespace

double GetEncodedValue(mdt_800::Variant const& value, mdt_800::Encoder const* encoder) {
  if (encoder != nullptr) return encoder->Encode(value);
  if (value.GetType() == mdt_800::Variant::TYPE_NONE) return systemMissingValue();
  return static_cast<double>(value);
}

RecordClassifierImp::RecordClassifierImp(tree_800::NodeImp const* root,
                                         mdt_800::ModelMetadata const* metadata)
    : fnRoot(root),
      fnMetadata(metadata),
      fnValues(new double[metadata->GetVariables().size()]),
      fnTree(root, metadata->GetVariables().size()),
      fnSysmis(systemMissingValue()) {
  std::vector<mdt_800::Variable> const& variables = metadata->GetVariables();
  std::size_t const slots = variables.size() + 1;
  fnEncoders.assign(slots, nullptr);
  fnWalkValues.reset(new double[slots]);
  fnPending.reset(new unsigned char[slots]());
  fnWalkValues[variables.size()] = std::numeric_limits<double>::quiet_NaN();
  for (int p : fnTree.Predictors()) {
    mdt_800::Encoder const* encoder = variables[static_cast<std::size_t>(p)].GetEncoding();
    fnEncoders[static_cast<std::size_t>(p)] = encoder;
    (encoder != nullptr ? fnEncodedPredictors : fnPlainPredictors).push_back(p);
  }
}

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
  return ScoreOne(record);
}

void RecordClassifierImp::ScoreBatch(MCTree_800::TRecord<mdt_800::Variant> const* records,
                                     std::size_t count, tree_800::NodeImp const** nodes) const {
  // The values of the record a few places ahead are fetched from memory
  // while this one walks the tree.
  constexpr std::size_t kAhead = 4;
  for (std::size_t i = 0; i < count; ++i) {
    if (i + kAhead < count) {
      for (int p : fnPlainPredictors) {
        __builtin_prefetch(&records[i + kAhead][static_cast<std::size_t>(p) + 1]);
      }
    }
    nodes[i] = ScoreOne(records[i]);
  }
}

tree_800::NodeImp const* RecordClassifierImp::ScoreOne(
    MCTree_800::TRecord<mdt_800::Variant> const& record) const {
  if (!fnTree.IsUsable()) {
    return fnRoot->DropObservationThroughTree(GetDoubleRecord(record), nullptr);
  }
  double* const values = fnWalkValues.get();
  double const sysmis = fnSysmis;
  for (int p : fnPlainPredictors) {
    // As GetEncodedValue without encoder, with system-missing kept at hand.
    mdt_800::Variant const& value = record[static_cast<std::size_t>(p) + 1];
    values[p] =
        value.GetType() == mdt_800::Variant::TYPE_NONE ? sysmis : static_cast<double>(value);
  }
  if (fnEncodedPredictors.empty()) {
    BufferValues view{values};
    return fnTree.Drop(view);
  }
  for (int p : fnEncodedPredictors) fnPending[static_cast<std::size_t>(p)] = 1;
  LazyValues view{values, fnPending.get(), fnEncoders.data(), record};
  return fnTree.Drop(view);
}

int RecordClassifierImp::Classify(MCTree_800::TRecord<mdt_800::Variant> const& record) const {
  double const* values = GetDoubleRecord(record);
  for (tree_800::NodeImp const* node : fnSelectedNodes) {
    if (fnRoot->DropObservationThroughTree(values, node) != nullptr) return 0;
  }
  return 1;
}

}  // namespace TreeOut_800
