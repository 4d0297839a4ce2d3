#include "cli/outline.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "cli/conditiontext.h"
#include "cli/messages.h"
#include "cli/output.h"
#include "refhost/numbertext.h"

namespace treeout_cli {
namespace {

std::size_t const kMaxIndent = 50;

}  // namespace

void PrintOutline(refhost::PmmlModel const& model, std::ostream& out) {
  out << "model " << (model.ModelName().empty() ? "(unnamed)" : model.ModelName()) << ", "
      << model.GetModel().GetTree().Size() << " nodes\n";
  if (model.NumberedInOrder()) {
    out << "nodes numbered in document order from 0 (the document's ids in brackets)\n";
  }
  // Nodes still to print with their depth and the condition that leads there,
  // the next one last: a tree of any depth takes no stack of calls.
  struct Pending {
    refhost::TreeNode const* node;
    std::size_t depth;
    std::string condition;
  };
  std::vector<Pending> stack;
  stack.push_back({model.GetModel().Root(), 0, ""});
  while (!stack.empty()) {
    Pending const item = std::move(stack.back());
    stack.pop_back();
    refhost::TreeNode const& node = *item.node;
    // Deep trees stop indenting at kMaxIndent levels and say their level, so
    // that the text stays linear in the number of nodes.
    out << std::string(2 * std::min(item.depth, kMaxIndent), ' ');
    if (item.depth > kMaxIndent) out << "[level " << item.depth << "] ";
    out << model.PmmlId(node.GetId());
    // A node the loader added is part of its document node; numbered in
    // document order, a node shows the document's own id beside.
    if (model.IsAdded(node.GetId())) out << " (added)";
    if (model.NumberedInOrder() && !model.DocumentId(node.GetId()).empty()) {
      out << " [id " << model.DocumentId(node.GetId()) << "]";
    }
    if (!item.condition.empty()) out << "  " << item.condition;
    if (std::optional<double> n = model.RecordCount(node.GetId()))
      out << "  n=" << refhost::ShortestText(*n);
    std::string const prediction = PredictionText(model, node);
    if (!prediction.empty()) out << "  " << prediction;
    out << '\n';
    CheckOutput(out);
    for (int i = node.GetNumChildren() - 1; i >= 0; --i) {
      stack.push_back({static_cast<refhost::TreeNode const*>(node.GetChild(i)), item.depth + 1,
                       EdgeText(model, node, i)});
    }
  }
}

}  // namespace treeout_cli
