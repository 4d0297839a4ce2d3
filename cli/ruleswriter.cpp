#include "cli/ruleswriter.h"

#include "cli/recordreader.h"
#include "cli/sqlnames.h"
#include "output/rulesoutputadapter.h"
#include "selection/rulesnodeselection.h"

namespace treeout_cli {
namespace {

void Leaves(tree_800::Node const* node, std::vector<tree_800::Node const*>* leaves) {
  std::vector<tree_800::Node const*> stack{node};
  while (!stack.empty()) {
    tree_800::Node const* n = stack.back();
    stack.pop_back();
    if (n->GetNumChildren() == 0) leaves->push_back(n);
    for (int i = n->GetNumChildren() - 1; i >= 0; --i) stack.push_back(n->GetChild(i));
  }
}

// One statement: the adapter's text with the table name put in and a final
// line feed; a writer's error text becomes an InputError.
std::string Statement(TreeOut_800::RulesOutputAdapter const& adapter, RulesRequest const& request,
                      TreeOut_800::RulesNodeSelection const& selection) {
  std::string text = adapter.ExportRules(request.options, selection).Str();
  std::size_t const error = text.find(" ERROR: ");
  if (!text.empty() && text[0] == '\n' && error != std::string::npos) {
    std::size_t const end = text.find('\n', 1);
    throw InputError(text.substr(1, end == std::string::npos ? std::string::npos : end - 1));
  }
  if (!request.table.empty()) {
    std::string const placeholder = "<TABLE>";
    for (std::size_t at = text.find(placeholder); at != std::string::npos;
         at = text.find(placeholder, at + request.table.size())) {
      text.replace(at, placeholder.size(), request.table);
    }
  }
  if (text.empty() || text.back() != '\n') text += '\n';
  return text;
}

}  // namespace

std::string WriteRules(refhost::PmmlModel& model, RulesRequest const& request) {
  int const dialect = request.options.fnDialect;
  if (dialect != TreeOut_800::DIALECT_VELD && dialect != TreeOut_800::DIALECT_GENERIC) {
    QuoteSqlNames(model.MutableModel().MutableMetadata());
  }
  refhost::Model const& m = model.GetModel();
  TreeOut_800::RulesOutputAdapter const adapter(&m.GetTree(), &m.GetMetadata());
  if (!request.nodes.empty()) {
    TreeOut_800::RulesNodeSelection selection;
    for (std::string const& id : request.nodes) {
      std::vector<tree_800::Node const*> const nodes = model.NodesFor(id);
      if (nodes.empty()) throw InputError("the tree has no node '" + id + "'");
      for (tree_800::Node const* node : nodes) {
        selection.AddNode(node, static_cast<int>(model.OutputId(node->GetId())));
      }
    }
    return Statement(adapter, request, selection);
  }
  std::vector<tree_800::Node const*> leaves;
  Leaves(m.Root(), &leaves);
  std::string text;
  for (tree_800::Node const* leaf : leaves) {
    if (model.IsAdded(leaf->GetId())) continue;  // a copy: selected with its original
    TreeOut_800::RulesNodeSelection selection;
    for (tree_800::Node const* node : model.NodesFor(model.PmmlId(leaf->GetId()))) {
      selection.AddNode(node, static_cast<int>(model.OutputId(node->GetId())));
    }
    text += Statement(adapter, request, selection);
  }
  return text;
}

}  // namespace treeout_cli
