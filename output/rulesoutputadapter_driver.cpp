// The export driver. ExportRules synchronises a private copy of the caller's
// selection with the adapter's tree, marks the selected nodes and all their
// ancestors active, and writes from the root down one condition over the
// active part of the tree: at each node one alternative per active child, in
// branch order, each the condition of the edge into the child joined by AND
// to the child's own text; alternatives joined by OR and bracketed once when
// there are two or more. The statement writer chosen by dialect and mode frames
// the condition; VELD text is then wrapped into lines. Each node's edges are
// written through one attempt chain, built on first use and kept in the cache.
#include <utility>

#include "output/linewrap.h"
#include "output/rulesoutputadapter.h"
#include "ruletext/exportutil.h"
#include "ruletext/ruleconnectorand.h"
#include "ruletext/ruleconnectoror.h"
#include "translate/attemptchain.h"
#include "translate/ruleexportmanager.h"

namespace TreeOut_800 {

namespace {

// The line width of VELD statements.
constexpr unsigned long kVeldLineWidth = 256;

}  // namespace

StringWrapper RulesOutputAdapter::ExportRules(RuleExportOptions const& options,
                                              RulesNodeSelection const& selection) const {
  RulesNodeSelection nodes(selection);
  nodes.Synchronize(fnTree);
  std::set<tree_800::Node const*> activeNodes;
  for (auto const& entry : nodes.EnumerateNodes()) ActivatePath(entry.first, &activeNodes);
  std::string condition = ExportActiveSubtree(options, fnTree->GetRoot(), activeNodes);

  // The writer of each dialect, by mode; the generic dialect has one writer.
  using Writer = std::string (RulesOutputAdapter::*)(std::string, RulesNodeSelection const&) const;
  struct Writers {
    Writer select;
    Writer update;
    bool wrapLines;
  };
  Writers const table[] = {
      {&RulesOutputAdapter::ExportSQLSelect, &RulesOutputAdapter::ExportSQLUpdate, false},
      {&RulesOutputAdapter::ExportVELDSelect, &RulesOutputAdapter::ExportVELDUpdate, true},
      {&RulesOutputAdapter::ExportGenericSelect, &RulesOutputAdapter::ExportGenericSelect, false},
  };
  static_assert(DIALECT_SQL == 0 && DIALECT_VELD == 1 && DIALECT_GENERIC == 2,
                "the writer table is indexed by dialect");
  if (options.fnDialect < 0 || options.fnDialect > DIALECT_GENERIC) return StringWrapper();
  Writers const& writers = table[options.fnDialect];
  Writer const write = options.fnUpdateMode != 0 ? writers.update : writers.select;
  std::string text = (this->*write)(std::move(condition), nodes);
  if (writers.wrapLines) text = WrapString(text, kVeldLineWidth);
  return StringWrapper(text);
}

void RulesOutputAdapter::ActivatePath(tree_800::Node const* node,
                                      std::set<tree_800::Node const*>* activeNodes) const {
  for (; node != nullptr; node = node->GetParent()) activeNodes->insert(node);
}

std::string RulesOutputAdapter::ExportActiveSubtree(
    RuleExportOptions const& options, tree_800::Node const* node,
    std::set<tree_800::Node const*> const& activeNodes) const {
  std::string result;
  int const children = node->GetNumChildren();
  int written = 0;
  for (int i = 0; i < children; ++i) {
    tree_800::Node const* child = node->GetChild(i);
    if (activeNodes.find(child) == activeNodes.end()) continue;
    if (written++ > 0) result += RuleConnectorOR::Export(options);
    result += ExportEdge(options, node, i);
    std::string const below = ExportActiveSubtree(options, child, activeNodes);
    if (!below.empty()) result += RuleConnectorAND::Export(options) + below;
  }
  if (written >= 2) ExportUtil::WrapExpression(result, ExportUtil::CH_BRACKETS, 1);
  return result;
}

std::string RulesOutputAdapter::ExportEdge(RuleExportOptions const& options,
                                           tree_800::Node const* node, int childIndex) const {
  std::unique_ptr<AttemptChain>& cached = fnAttemptChains[node];
  // A host exception while building leaves a null entry, which the next call builds again.
  if (!cached) cached.reset(fnExportManager->BuildAttemptChain(*node));
  cached->SetExportTarget(childIndex);
  return cached->Export(options, *fnMetadata);
}

}  // namespace TreeOut_800
