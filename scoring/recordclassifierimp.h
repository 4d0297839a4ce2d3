// The record classifier that RuleFactory makes.
#pragma once

#include <memory>
#include <vector>

#include "host/encoding.h"
#include "host/metadata.h"
#include "host/node.h"
#include "scoring/recordclassifier.h"
#include "selection/rulesnodeselection.h"

namespace TreeOut_800 {

// The value as the tree's split rules see it: the encoder's code when there is
// an encoder, system-missing for a Variant without content, else the number.
double GetEncodedValue(mdt_800::Variant const& value, mdt_800::Encoder const* encoder);

// Keeps the root, the metadata and the selected nodes (none owned) and one
// value buffer with a slot per model variable, allocated here and reused for
// every record.
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

  // Fills the value buffer with the record's encoded values and returns it.
  double* GetDoubleRecord(MCTree_800::TRecord<mdt_800::Variant> const& record) const;

 private:
  tree_800::NodeImp const* fnRoot;
  mdt_800::ModelMetadata const* fnMetadata;
  std::unique_ptr<double[]> fnValues;
  std::vector<tree_800::NodeImp const*> fnSelectedNodes;
};

}  // namespace TreeOut_800
