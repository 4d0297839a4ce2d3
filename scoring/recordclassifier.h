// A classifier of data records, made by RuleFactory and owned by the caller.
#pragma once

#include <cstddef>

#include "host/node.h"
#include "host/record.h"
#include "host/variant.h"
#include "ruletext/exportmacro.h"

namespace TreeOut_800 {

// Encodes one record at a time (variable i takes record value i + 1; value 0
// is never read) and drops it through the tree. Calls on one classifier must
// not overlap: they share one value buffer.
class TREEOUT_EXPORT RecordClassifier {
 public:
  virtual ~RecordClassifier() = 0;
  // 0 when the record reaches one of the selected nodes, else 1 (also when
  // the classifier has no selection).
  virtual int Classify(MCTree_800::TRecord<mdt_800::Variant> const& record) const = 0;
  // The host's answer for the whole tree: the node where the record stops.
  virtual tree_800::NodeImp const* Score(
      MCTree_800::TRecord<mdt_800::Variant> const& record) const = 0;
  // Scores records[0, count) into nodes[0, count): nodes[i] is what
  // Score(records[i]) returns. When scoring throws, the nodes of the records
  // before the failing one are filled. Our own addition beside Score; this
  // default scores one record at a time.
  virtual void ScoreBatch(MCTree_800::TRecord<mdt_800::Variant> const* records, std::size_t count,
                          tree_800::NodeImp const** nodes) const;
};

}  // namespace TreeOut_800
