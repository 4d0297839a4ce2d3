#include "scoring/rulefactory.h"

#include "scoring/recordclassifierimp.h"

namespace TreeOut_800 {

// The nodes of a host tree are NodeImp objects, so the root is used as one.
RecordClassifier* RuleFactory::CreateRecordClassifier(tree_800::TreeAlgorithmBase const* tree,
                                                      mdt_800::ModelMetadata const* metadata) {
  auto const* root = static_cast<tree_800::NodeImp const*>(tree->GetRoot());
  return new RecordClassifierImp(root, metadata);
}

RecordClassifier* RuleFactory::CreateRecordClassifier(tree_800::TreeAlgorithmBase const* tree,
                                                      mdt_800::ModelMetadata const* metadata,
                                                      RulesNodeSelection& selection) {
  auto const* root = static_cast<tree_800::NodeImp const*>(tree->GetRoot());
  selection.Synchronize(tree);
  return new RecordClassifierImp(root, metadata, selection);
}

}  // namespace TreeOut_800
