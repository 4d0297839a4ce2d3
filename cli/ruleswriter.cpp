#include "cli/ruleswriter.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <set>

#include "cli/messages.h"
#include "cli/output.h"
#include "cli/sqlnames.h"
#include "output/onepasswriter.h"
#include "output/rulesoutputadapter.h"
#include "selection/rulesnodeselection.h"

namespace treeout_cli {
namespace {

using TreeOut_800::DIALECT_GENERIC;
using TreeOut_800::DIALECT_SQL;
using TreeOut_800::DIALECT_VELD;

// Every node of the tree in prefix order.
std::vector<tree_800::Node const*> PrefixNodes(tree_800::Node const* root) {
  std::vector<tree_800::Node const*> nodes;
  std::vector<tree_800::Node const*> stack{root};
  while (!stack.empty()) {
    tree_800::Node const* n = stack.back();
    stack.pop_back();
    nodes.push_back(n);
    for (int i = n->GetNumChildren() - 1; i >= 0; --i) stack.push_back(n->GetChild(i));
  }
  return nodes;
}

// What the one-pass and stop statements need beside the export options: what
// a record that stops at an inner node predicts, by the document's
// strategies, and every node numbered as scoring numbers it (an added node as
// the document node it stands for).
TreeOut_800::OnePassSettings Settings(refhost::PmmlModel const& model,
                                      RulesRequest const& request) {
  using TreeOut_800::STOP_NO_PREDICTION;
  using TreeOut_800::STOP_PREDICT;
  refhost::PmmlModel::StopRule const rule = model.GetStopRule();
  TreeOut_800::OnePassSettings settings;
  settings.fnStopMissing = rule.predictsWhenMissing ? STOP_PREDICT : STOP_NO_PREDICTION;
  settings.fnStopOther = rule.predictsOtherwise ? STOP_PREDICT : STOP_NO_PREDICTION;
  settings.fnMaxNesting = request.stageDepth == RulesRequest::kOneExpression
                              ? std::numeric_limits<int>::max()
                              : request.stageDepth;
  for (tree_800::Node const* node : PrefixNodes(model.GetModel().Root())) {
    settings.fnNodeNumbers[node] = static_cast<int>(model.OutputId(node->GetId()));
  }
  return settings;
}

refhost::PmmlField const* Target(refhost::PmmlModel const& model) {
  for (auto const& field : model.Fields()) {
    if (field.isTarget) return &field;
  }
  return nullptr;
}

// The predicted category's text of a classification node, if any.
std::optional<std::string> Category(refhost::PmmlField const& target, tree_800::Node const& node) {
  tree_800::ClassStatistics const* stats = node.GetClassStatistics(0);
  if (stats == nullptr) return std::nullopt;
  int const code = stats->GetPredictedCategory();
  if (code < 1 || code > static_cast<int>(target.categories.size())) return std::nullopt;
  return target.categories[static_cast<std::size_t>(code - 1)];
}

// What a whole script needs before its statements: VELD declares a string
// prediction's width; SQL may create the three columns.
std::string Preamble(refhost::PmmlModel const& model, RulesRequest const& request,
                     std::string const& table) {
  refhost::PmmlField const* target = Target(model);
  bool const classification = model.IsClassification();
  bool const text = target != nullptr && target->kind != refhost::PmmlField::kNumber;
  if (request.options.fnDialect == DIALECT_SQL && request.addColumns) {
    std::string const alter = "ALTER TABLE " + table + " ADD COLUMN ";
    return alter + "nod_001 INTEGER;\n" + alter + "pre_001 " +
           (text ? "TEXT" : "DOUBLE PRECISION") + ";\n" +
           (classification ? alter + "prb_001 DOUBLE PRECISION;\n" : "");
  }
  // (the one-pass script declares its own)
  if (request.options.fnDialect == DIALECT_VELD && request.nodes.empty() && !request.onePass &&
      request.options.fnUpdateMode != 0 && classification && target != nullptr &&
      target->kind == refhost::PmmlField::kString) {
    std::size_t width = 1;
    for (tree_800::Node const* node : PrefixNodes(model.GetModel().Root())) {
      if (std::optional<std::string> category = Category(*target, *node))
        width = std::max(width, category->size());
    }
    return "STRING pre_001 (A" + std::to_string(width) + ").\n";
  }
  return "";
}

// A writer's text with the table name put in and a final line feed; a
// writer's error text becomes an InputError.
std::string Finished(std::string text, RulesRequest const& request, std::string const& table) {
  std::size_t const error = text.find(" ERROR: ");
  if (!text.empty() && text[0] == '\n' && error != std::string::npos) {
    std::size_t const end = text.find('\n', 1);
    throw InputError(text.substr(1, end == std::string::npos ? std::string::npos : end - 1));
  }
  if (!request.table.empty()) {
    std::string const placeholder = "<TABLE>";
    for (std::size_t at = text.find(placeholder); at != std::string::npos;
         at = text.find(placeholder, at + table.size())) {
      text.replace(at, placeholder.size(), table);
    }
  }
  if (text.empty() || text.back() != '\n') text += '\n';
  return text;
}

std::string Statement(TreeOut_800::RulesOutputAdapter const& adapter, RulesRequest const& request,
                      TreeOut_800::RulesNodeSelection const& selection, std::string const& table) {
  return Finished(adapter.ExportRules(request.options, selection).Str(), request, table);
}

}  // namespace

void CheckRequest(RulesRequest const& request) {
  std::set<std::string> const distinct(request.nodes.begin(), request.nodes.end());
  if (distinct.size() > 1 && request.options.fnDialect == DIALECT_GENERIC) {
    throw UsageError("--dialect generic writes one node's block: give --nodes one node id");
  }
  if (distinct.size() > 1 && request.options.fnUpdateMode != 0) {
    throw UsageError("--update writes one node's statement: give --nodes one node id");
  }
  if (request.onePass && !request.nodes.empty()) {
    throw UsageError("--one-pass scores every node: leave out --nodes");
  }
  if (request.addColumns &&
      (request.options.fnDialect != DIALECT_SQL || request.options.fnUpdateMode == 0)) {
    throw UsageError("--add-columns goes with --dialect sql --update");
  }
}

void WriteRules(refhost::PmmlModel& model, RulesRequest const& request, std::ostream& out,
                std::ostream* notes) {
  CheckRequest(request);
  int const dialect = request.options.fnDialect;
  bool const sql = dialect != DIALECT_VELD && dialect != DIALECT_GENERIC;
  std::optional<DialectNames> names;
  if (sql) {
    names.emplace(model.MutableModel().MutableMetadata(),
                  request.quoteAlways ? DialectNames::kSqlAlways : DialectNames::kSql);
  } else if (dialect == DIALECT_VELD) {
    names.emplace(model.MutableModel().MutableMetadata(), DialectNames::kVeld);
    for (Renamed const& r : names->Changed()) {
      if (notes != nullptr)
        *notes << "treeout: note: field '" << OneLine(r.from) << "' is written as " << r.to
               << " in VELD\n";
    }
  }
  std::string const table = request.table.empty() ? "<TABLE>"
                            : sql                 ? SqlTableName(request.table, request.quoteAlways)
                                                  : request.table;
  // What the text cannot say (blends, penalties), said once.
  if (notes != nullptr && !model.TextLimit().empty()) {
    *notes << "treeout: note: " << model.TextLimit() << '\n';
  }
  refhost::Model const& m = model.GetModel();
  if (request.onePass) {
    TreeOut_800::OnePassWriter const writer(&m.GetTree(), &m.GetMetadata());
    out << Preamble(model, request, table)
        << Finished(writer.ExportOnePass(request.options, Settings(model, request)).Str(), request,
                    table);
    CheckOutput(out);
    return;
  }
  TreeOut_800::RulesOutputAdapter const adapter(&m.GetTree(), &m.GetMetadata());
  if (!request.nodes.empty()) {
    TreeOut_800::RulesNodeSelection selection;
    for (std::string const& id : request.nodes) {
      // A document node and its copies (the loader copies a node that a
      // compound predicate reaches by two routes), each writing its number.
      std::vector<tree_800::Node const*> const hosts = model.NodesFor(id);
      if (hosts.empty()) throw InputError("the tree has no node '" + OneLine(id) + "'");
      for (tree_800::Node const* host : hosts) {
        selection.AddNode(host, static_cast<int>(model.OutputId(host->GetId())));
      }
    }
    out << Preamble(model, request, table) << Statement(adapter, request, selection, table);
    CheckOutput(out);
    return;
  }
  // One statement per leaf in prefix order; a whole update script then
  // stamps the records that stop at inner nodes, which no leaf takes.
  out << Preamble(model, request, table);
  bool const update = request.options.fnUpdateMode != 0;
  for (tree_800::Node const* node : PrefixNodes(m.Root())) {
    if (node->GetNumChildren() > 0) continue;
    // A selection covers a leaf and its copies; an update statement takes
    // one node, so each copy gets its own, under the leaf's number.
    if (!update && model.IsAdded(node->GetId())) continue;
    TreeOut_800::RulesNodeSelection selection;
    for (tree_800::Node const* host : update ? std::vector<tree_800::Node const*>{node}
                                             : model.NodesFor(model.PmmlId(node->GetId()))) {
      selection.AddNode(host, static_cast<int>(model.OutputId(host->GetId())));
    }
    out << Statement(adapter, request, selection, table);
    CheckOutput(out);
  }
  if (!update) return;
  TreeOut_800::OnePassWriter const writer(&m.GetTree(), &m.GetMetadata());
  std::string const stops =
      writer.ExportStopStatements(request.options, Settings(model, request)).Str();
  if (!stops.empty()) out << Finished(stops, request, table);
  CheckOutput(out);
}

}  // namespace treeout_cli
