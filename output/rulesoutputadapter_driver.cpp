// The export driver. ExportRules synchronises a private copy of the caller's
// selection with the adapter's tree, marks the selected nodes and all their
// ancestors active, and writes from the root down one condition over the
// active part of the tree: at each node one alternative per active child, in
// branch order, each the condition of the edge into the child joined by AND
// to the child's own text; alternatives joined by OR and bracketed once when
// there are two or more. The statement writer chosen by dialect and mode frames
// the condition; VELD text is then wrapped into lines. Each node's edges are
// written through one attempt chain, built on first use and kept in the cache,
// and each edge's text is kept per set of text options, so a statement costs
// the text it appends. The walk keeps its own stack: deep trees need no
// call stack.
#include <utility>
#include <vector>

#include "output/edgetextcache.h"
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
  auto const isActive = [&activeNodes](tree_800::Node const* n) {
    return activeNodes.find(n) != activeNodes.end();
  };
  std::string const orText = RuleConnectorOR::Export(options);
  std::string const andText = RuleConnectorAND::Export(options);

  // One frame per node whose text is being written, from `node` down to the
  // deepest node on the way: the next child to look at, how many alternatives
  // it has written, whether they are bracketed, and where the "  AND  " in
  // front of its text starts (to take it back when the text stays empty).
  struct Frame {
    tree_800::Node const* node;
    int next;
    int children;
    int written;
    bool bracketed;
    std::size_t andAt;
  };
  std::string result;
  std::vector<Frame> stack;
  auto const open = [&](tree_800::Node const* n, std::size_t andAt) {
    int const children = n->GetNumChildren();
    int active = 0;
    for (int i = 0; i < children && active < 2; ++i) active += isActive(n->GetChild(i)) ? 1 : 0;
    if (active >= 2) result += RulesStr[RS_LEFT_PAREN];
    stack.push_back(Frame{n, 0, children, 0, active >= 2, andAt});
  };
  open(node, std::string::npos);
  while (!stack.empty()) {
    Frame& top = stack.back();
    if (top.next >= top.children) {
      if (top.bracketed) result += RulesStr[RS_RIGHT_PAREN];
      if (top.andAt != std::string::npos && result.size() == top.andAt + andText.size()) {
        result.resize(top.andAt);  // nothing below: the edge stands alone
      }
      stack.pop_back();
      continue;
    }
    int const i = top.next++;
    tree_800::Node const* child = top.node->GetChild(i);
    if (!isActive(child)) continue;
    if (top.written++ > 0) result += orText;
    result += EdgeText(options, top.node, i);
    std::size_t const andAt = result.size();
    result += andText;
    open(child, andAt);  // `top` is not used after this: the stack may move
  }
  return result;
}

std::string RulesOutputAdapter::ExportEdge(RuleExportOptions const& options,
                                           tree_800::Node const* node, int childIndex) const {
  return EdgeText(options, node, childIndex);
}

std::string const& RulesOutputAdapter::EdgeText(RuleExportOptions const& options,
                                                tree_800::Node const* node, int childIndex) const {
  return fnEdgeTexts->Get(node, childIndex, options, [&] {
    std::unique_ptr<AttemptChain>& cached = fnAttemptChains[node];
    // A host exception while building leaves a null entry, which the next call builds again.
    if (!cached) cached.reset(fnExportManager->BuildAttemptChain(*node));
    cached->SetExportTarget(childIndex);
    return cached->Export(options, *fnMetadata);
  });
}

}  // namespace TreeOut_800
