// The adapter's life: it creates its split-rule translator over the tree and
// metadata, fills its chain and edge-text caches as edges are exported, and on
// destruction releases each cached chain once and then the translator.
#include "output/rulesoutputadapter.h"

#include "output/edgetextcache.h"
#include "translate/attemptchain.h"
#include "translate/ruleexportmanager.h"

namespace TreeOut_800 {

RulesOutputAdapter::RulesOutputAdapter(tree_800::TreeAlgorithmBase const* tree,
                                       mdt_800::ModelMetadata const* metadata)
    : fnTree(tree),
      fnMetadata(metadata),
      fnExportManager(std::make_unique<RuleExportManager>(tree, metadata)),
      fnEdgeTexts(std::make_unique<EdgeTextCache>()) {}

// Chains first (each is held once by its unique owner), then the translator.
RulesOutputAdapter::~RulesOutputAdapter() {
  fnAttemptChains.clear();
  fnExportManager.reset();
}

MCTree_800::MCVersionImp const& RulesOutputAdapter::GetVersion() const {
  static MCTree_800::MCVersionImp const ruleVersion(0, 9, 0, 3, "Sat Oct 21 22:55:58 2017");
  return ruleVersion;
}

}  // namespace TreeOut_800
