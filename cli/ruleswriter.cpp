#include "cli/ruleswriter.h"

#include <algorithm>
#include <optional>
#include <set>

#include "cli/output.h"
#include "cli/recordreader.h"
#include "cli/sqlnames.h"
#include "output/rulesoutputadapter.h"
#include "selection/rulesnodeselection.h"

namespace treeout_cli {
namespace {

using TreeOut_800::DIALECT_GENERIC;
using TreeOut_800::DIALECT_SQL;
using TreeOut_800::DIALECT_VELD;

// Whether a record can stop at inner node `node`: no default child takes
// what no rule places, and no missing-value child takes every missing value.
bool CanKeepRecords(refhost::TreeNode const& node) {
  tree_800::SplitRuleImp const* primary = node.GetPrimary();
  return node.GetDumbRuleIndex() < 0 &&
         (primary == nullptr || primary->GetMissingValueMapping() < 0);
}

// The nodes of a script in prefix order: the leaves and, for updates, the
// inner nodes where records can stop. A parent comes before its subtree, so
// the last statement that stamps a record is the one of the node where it
// stops.
std::vector<tree_800::Node const*> ScriptNodes(refhost::TreeNode const* root, bool stops) {
  std::vector<tree_800::Node const*> nodes;
  std::vector<refhost::TreeNode const*> stack{root};
  while (!stack.empty()) {
    refhost::TreeNode const* n = stack.back();
    stack.pop_back();
    if (n->GetNumChildren() <= 0 || (stops && CanKeepRecords(*n))) nodes.push_back(n);
    for (int i = n->GetNumChildren() - 1; i >= 0; --i)
      stack.push_back(static_cast<refhost::TreeNode const*>(n->GetChild(i)));
  }
  return nodes;
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
                     std::vector<tree_800::Node const*> const& nodes, std::string const& table) {
  refhost::PmmlField const* target = Target(model);
  bool const classification = model.IsClassification();
  bool const text = target != nullptr && target->kind != refhost::PmmlField::kNumber;
  if (request.options.fnDialect == DIALECT_SQL && request.addColumns) {
    std::string const alter = "ALTER TABLE " + table + " ADD COLUMN ";
    return alter + "nod_001 INTEGER;\n" + alter + "pre_001 " +
           (text ? "TEXT" : "DOUBLE PRECISION") + ";\n" +
           (classification ? alter + "prb_001 DOUBLE PRECISION;\n" : "");
  }
  if (request.options.fnDialect == DIALECT_VELD && request.nodes.empty() &&
      request.options.fnUpdateMode != 0 && classification && target != nullptr &&
      target->kind == refhost::PmmlField::kString) {
    std::size_t width = 1;
    for (tree_800::Node const* node : nodes) {
      if (std::optional<std::string> category = Category(*target, *node))
        width = std::max(width, category->size());
    }
    return "STRING pre_001 (A" + std::to_string(width) + ").\n";
  }
  return "";
}

// One statement: the adapter's text with the table name put in and a final
// line feed; a writer's error text becomes an InputError.
std::string Statement(TreeOut_800::RulesOutputAdapter const& adapter, RulesRequest const& request,
                      TreeOut_800::RulesNodeSelection const& selection, std::string const& table) {
  std::string text = adapter.ExportRules(request.options, selection).Str();
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

}  // namespace

void CheckRequest(RulesRequest const& request) {
  std::set<std::string> const distinct(request.nodes.begin(), request.nodes.end());
  if (distinct.size() > 1 && request.options.fnDialect == DIALECT_GENERIC) {
    throw UsageError("--dialect generic writes one node's block: give --nodes one node id");
  }
  if (distinct.size() > 1 && request.options.fnUpdateMode != 0) {
    throw UsageError("--update writes one node's statement: give --nodes one node id");
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
  refhost::Model const& m = model.GetModel();
  TreeOut_800::RulesOutputAdapter const adapter(&m.GetTree(), &m.GetMetadata());
  int const number = TreeOut_800::RulesNodeSelection::kDefaultNodeNumber;
  if (!request.nodes.empty()) {
    TreeOut_800::RulesNodeSelection selection;
    for (std::string const& id : request.nodes) {
      std::optional<unsigned int> const host = model.HostId(id);
      if (!host) throw InputError("the tree has no node '" + OneLine(id) + "'");
      selection.AddNode(m.Find(*host), number);
    }
    out << Preamble(model, request, {}, table) << Statement(adapter, request, selection, table);
    CheckOutput(out);
    return;
  }
  std::vector<tree_800::Node const*> const nodes =
      ScriptNodes(m.Root(), request.options.fnUpdateMode != 0);
  out << Preamble(model, request, nodes, table);
  for (tree_800::Node const* node : nodes) {
    TreeOut_800::RulesNodeSelection selection;
    selection.AddNode(node, number);
    out << Statement(adapter, request, selection, table);
    CheckOutput(out);
  }
}

}  // namespace treeout_cli
