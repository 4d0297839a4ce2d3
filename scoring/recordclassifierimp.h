// The record classifier that RuleFactory makes.
#pragma once

#include <memory>
#include <vector>

#include "host/encoding.h"
#include "host/metadata.h"
#include "host/node.h"
#include "scoring/compiledtree.h"
#include "scoring/recordclassifier.h"
#include "selection/rulesnodeselection.h"

namespace TreeOut_800 {

// The value as the tree's split rules see it: the encoder's code when there is
// an encoder, system-missing for a Variant without content, else the number.
double GetEncodedValue(mdt_800::Variant const& value, mdt_800::Encoder const* encoder);

// Keeps the root, the metadata and the selected nodes (none owned) and one
// value buffer with a slot per model variable, allocated here and reused for
// every record. Score walks the tree's routing compiled at construction and
// encodes only the variables that the record's path reads; Classify drops the
// whole encoded record through the host's tree.
class RecordClassifierImp : public RecordClassifier {
 public:
  RecordClassifierImp(tree_800::NodeImp const* root, mdt_800::ModelMetadata const* metadata);
  // REQUIRES: `selection` is synchronised with the tree of `root`.
  RecordClassifierImp(tree_800::NodeImp const* root, mdt_800::ModelMetadata const* metadata,
                      RulesNodeSelection const& selection);
  ~RecordClassifierImp() override;

  int Classify(MCTree_800::TRecord<mdt_800::Variant> const& record) const override;
  tree_800::NodeImp const* Score(
      MCTree_800::TRecord<mdt_800::Variant> const& record) const override;
  void ScoreBatch(MCTree_800::TRecord<mdt_800::Variant> const* records, std::size_t count,
                  tree_800::NodeImp const** nodes) const override;

  // Fills the value buffer with the record's encoded values and returns it.
  double* GetDoubleRecord(MCTree_800::TRecord<mdt_800::Variant> const& record) const;

 private:
  tree_800::NodeImp const* fnRoot;
  mdt_800::ModelMetadata const* fnMetadata;
  std::unique_ptr<double[]> fnValues;
  std::vector<tree_800::NodeImp const*> fnSelectedNodes;

  tree_800::NodeImp const* ScoreOne(MCTree_800::TRecord<mdt_800::Variant> const& record) const;

  CompiledTree fnTree;
  double fnSysmis;
  // The variables that the tree reads: those without encoder are converted
  // before the walk, those with one are encoded when the walk first reads them.
  std::vector<int> fnPlainPredictors;
  std::vector<int> fnEncodedPredictors;
  std::vector<mdt_800::Encoder const*> fnEncoders;  // per variable
  // The walk's values and not-yet-encoded flags: a slot per variable and the
  // compiled tree's NaN slot.
  std::unique_ptr<double[]> fnWalkValues;
  std::unique_ptr<unsigned char[]> fnPending;
};

}  // namespace TreeOut_800
