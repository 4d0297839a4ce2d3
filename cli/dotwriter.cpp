#include "cli/dotwriter.h"

#include <string>
#include <vector>

#include "cli/conditiontext.h"
#include "cli/messages.h"
#include "cli/output.h"
#include "refhost/numbertext.h"

namespace treeout_cli {
namespace {

// `text` inside a DOT string: quotes and backslashes escaped, line breaks of
// the data as blanks (the label's own breaks are added as \n).
std::string Escape(std::string const& text) {
  std::string escaped;
  for (char c : text) {
    if (c == '"' || c == '\\') escaped += '\\';
    escaped += (c == '\n' || c == '\r') ? ' ' : c;
  }
  return escaped;
}

// A probability for the picture: three significant digits are enough to read.
std::string Rounded(double p) { return refhost::PrintfText("%.3g", p); }

std::string Name(refhost::TreeNode const& node) { return "n" + std::to_string(node.GetId()); }

// The label lines of a node's box.
std::string Label(refhost::PmmlModel const& model, refhost::TreeNode const& node) {
  std::string label = "node " + Escape(model.PmmlId(node.GetId()));
  if (tree_800::Node const* parent = node.GetParent()) {
    auto const& up = static_cast<refhost::TreeNode const&>(*parent);
    for (int i = 0; i < up.GetNumChildren(); ++i) {
      if (up.GetChild(i) == &node && up.GetPrimary() != nullptr)
        label += "\\n" + Escape(SplitText(model, *up.GetPrimary(), i));
    }
  }
  if (std::optional<double> n = model.RecordCount(node.GetId()))
    label += "\\nn = " + refhost::ShortestText(*n);
  std::string const prediction = PredictionText(model, node);
  if (!prediction.empty()) label += "\\n" + Escape(prediction);
  if (tree_800::ClassStatistics const* stats = node.GetClassStatistics(0)) {
    for (auto const& field : model.Fields()) {
      if (!field.isTarget) continue;
      std::string distribution;
      for (std::size_t code = 1; code <= field.categories.size(); ++code) {
        distribution += (code > 1 ? ", " : "") + field.categories[code - 1] + ": " +
                        Rounded(stats->GetProbability(static_cast<int>(code)));
      }
      if (!distribution.empty()) label += "\\n" + Escape(distribution);
    }
  }
  return label;
}

// The label of the edge into child `child`: the primary split's values, then
// each surrogate's on a line of its own.
std::string EdgeLabel(refhost::PmmlModel const& model, refhost::TreeNode const& node, int child) {
  std::string label;
  if (node.GetPrimary() != nullptr)
    label = Escape(SplitText(model, *node.GetPrimary(), child, false));
  for (int s = 0; s < node.GetNumSurrogates(); ++s) {
    label += "\\nelse " + Escape(SplitText(model, node.GetSurrogateImp(s), child, false));
  }
  return label;
}

}  // namespace

void PrintDot(refhost::PmmlModel const& model, std::ostream& out) {
  out << "digraph tree {\n"
         "  node [shape=box, fontname=\"Helvetica\"];\n"
         "  edge [fontname=\"Helvetica\", fontsize=10];\n";
  std::vector<refhost::TreeNode const*> stack{model.GetModel().Root()};
  while (!stack.empty()) {
    refhost::TreeNode const& node = *stack.back();
    stack.pop_back();
    out << "  " << Name(node) << " [label=\"" << Label(model, node) << "\"];\n";
    tree_800::SplitRuleImp const* primary = node.GetPrimary();
    for (int i = 0; i < node.GetNumChildren(); ++i) {
      auto const& child = static_cast<refhost::TreeNode const&>(*node.GetChild(i));
      std::string const arrow = "  " + Name(node) + " -> " + Name(child);
      out << arrow << " [label=\"" << EdgeLabel(model, node, i) << "\"];\n";
      if (primary != nullptr && primary->GetMissingValueMapping() == i)
        out << arrow << " [label=\"missing\", style=dashed];\n";
      if (node.GetDumbRuleIndex() == i)
        out << arrow << " [label=\"otherwise (default)\", style=dashed];\n";
    }
    for (int i = node.GetNumChildren() - 1; i >= 0; --i) {
      stack.push_back(static_cast<refhost::TreeNode const*>(node.GetChild(i)));
    }
    CheckOutput(out);
  }
  out << "}\n";
}

}  // namespace treeout_cli
