#include "scoring/recordclassifier.h"

namespace TreeOut_800 {

RecordClassifier::~RecordClassifier() = default;

void RecordClassifier::ScoreBatch(MCTree_800::TRecord<mdt_800::Variant> const* records,
                                  std::size_t count, tree_800::NodeImp const** nodes) const {
  for (std::size_t i = 0; i < count; ++i) nodes[i] = Score(records[i]);
}

}  // namespace TreeOut_800
