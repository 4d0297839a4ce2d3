// Export of an attempt chain of links L0 ... Ln-1, written from the last link
// back to the first: the last link under TARGET_DUMB_RULE when the target is
// the default child, else TARGET_NODE; then for each earlier link Li
//   "(" Li[OR_LINK] " OR " Li[AND_LINK] "  AND  " text-of-later-links ")"
// so a link decides alone where it can place the record and hands the rest to
// the links after it. A chain of two or more links gets one more pair of
// parentheses outside. Any edge mode but the whole path uses the primary rule
// alone. A link with a missing-value child ends the chain, since it places
// every record; a chain without links writes a condition that is always
// false.
#include "translate/attemptchain.h"

#include <algorithm>
#include <limits>

#include "ruletext/exportutil.h"
#include "ruletext/ruleconnectorand.h"
#include "ruletext/ruleconnectoror.h"
#include "translate/ruleexportmanager.h"

namespace TreeOut_800 {

AttemptChain::AttemptChain(const RuleExportManager* manager)
    : fnDumbRule(-1),
      fnExportTarget(-1),
      fnManager(manager),
      fnAskedLinks(std::numeric_limits<std::size_t>::max()) {}

AttemptChain::~AttemptChain() {
  for (auto& link : fnLinks) link.reset();
}

void AttemptChain::SetDumbRule(int childIndex) { fnDumbRule = childIndex; }

int AttemptChain::GetDumbRule() const { return fnDumbRule; }

void AttemptChain::SetExportTarget(int childIndex) const { fnExportTarget = childIndex; }

void AttemptChain::AddLink(tree_800::SplitRule* rule) {
  std::unique_ptr<tree_800::SplitRule> owned(rule);
  if (!owned || !fnManager->SplitRule_IsValid(*owned)) return;
  // A link with a missing-value child places every record: the links after
  // it are never asked.
  const bool placesAll = owned->GetMissingValueMapping() >= 0;
  fnLinks.push_back(std::move(owned));
  if (placesAll) fnAskedLinks = std::min(fnAskedLinks, fnLinks.size());
}

std::string AttemptChain::Export(const RuleExportOptions& options,
                                 const mdt_800::ModelMetadata& /*metadata*/) const {
  std::size_t n = fnLinks.size();
  if (n >= 2 && options.fnEdgeMode != EDGE_MODE_PATH) n = 1;
  n = std::min(n, fnAskedLinks);
  if (n == 0) {
    // No rule: no record goes on to a child.
    std::string never = fnManager->ExportConstant(false, options);
    ExportUtil::WrapExpression(never, ExportUtil::CH_BRACKETS, 1);
    return never;
  }
  const int target = fnExportTarget;
  const ExportTargetFlag last = fnDumbRule == target ? TARGET_DUMB_RULE : TARGET_NODE;
  std::string result = fnManager->SplitRule_Export(*fnLinks[n - 1], target, last, options);
  for (std::size_t i = n - 1; i-- > 0;) {
    const tree_800::SplitRule& link = *fnLinks[i];
    const std::string own = fnManager->SplitRule_Export(link, target, TARGET_OR_LINK, options);
    const std::string handOn = fnManager->SplitRule_Export(link, target, TARGET_AND_LINK, options);
    std::string text;
    text.reserve(own.size() + handOn.size() + result.size() + 16);  // with brackets: one allocation
    text += own;
    text += RuleConnectorOR::Export(options);
    text += handOn;
    text += RuleConnectorAND::Export(options);
    text += result;
    ExportUtil::WrapExpression(text, ExportUtil::CH_BRACKETS, 1);
    result = std::move(text);
  }
  if (n > 1) ExportUtil::WrapExpression(result, ExportUtil::CH_BRACKETS, 1);
  return result;
}

}  // namespace TreeOut_800
