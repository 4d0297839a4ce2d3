// Makes record classifiers over a tree and its metadata.
#pragma once

#include "host/metadata.h"
#include "host/node.h"
#include "ruletext/exportmacro.h"
#include "scoring/recordclassifier.h"
#include "selection/rulesnodeselection.h"

namespace TreeOut_800 {

class TREEOUT_EXPORT RuleFactory {
 public:
  // A new classifier over the whole tree, owned by the caller, who deletes it
  // before the tree and the metadata go.
  static RecordClassifier* CreateRecordClassifier(tree_800::TreeAlgorithmBase const* tree,
                                                  mdt_800::ModelMetadata const* metadata);
  // The same, restricted to `selection`, which is synchronised with `tree` in
  // place. Later changes to the selection do not reach the classifier.
  static RecordClassifier* CreateRecordClassifier(tree_800::TreeAlgorithmBase const* tree,
                                                  mdt_800::ModelMetadata const* metadata,
                                                  RulesNodeSelection& selection);
};

}  // namespace TreeOut_800
