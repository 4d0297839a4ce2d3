// The statements that stamp the records stopping at an inner node, for scripts
// of one update statement per leaf, which leave those records out. Each
// selects the records on the node's path that none of its edges takes. In
// SQL "(edge) IS NOT TRUE" holds where the edge is false or NULL, which is
// where the per-leaf statements do not take the record either; in VELD the
// edges are made definite first. When the settings tell the two kinds of stop
// apart, a node gets one statement for each.
#include <set>
#include <vector>

#include "host/format.h"
#include "output/onepasstext.h"
#include "output/rulesoutputadapter.h"
#include "ruletext/ruleconnectorand.h"

namespace TreeOut_800 {
namespace {

// One statement for node `index`: `conditions` select its records; `none`
// says whether they get no prediction.
std::string Statement(OnePassPlan const& plan, std::size_t index,
                      std::vector<std::string> const& conditions, bool none) {
  OnePassPlan::Entry const& entry = plan.Entries()[index];
  RuleExportOptions const& options = plan.Options();
  std::string const number = atg_800::Format(static_cast<long>(entry.number));
  std::string const prediction =
      none || entry.prediction.empty() ? plan.NoPrediction() : entry.prediction;
  std::string const probability = none ? plan.NoProbability() : entry.probability;
  std::string const where = JoinedBy(conditions, RuleConnectorAND::Export(options));
  switch (options.fnDialect) {
    case DIALECT_SQL: {
      std::string text = "UPDATE <TABLE>\n\tSET nod_001 = " + number + ",\tpre_001 = " + prediction;
      if (plan.IsClassification()) text += ",\tprb_001 = " + probability;
      return text + "\nWHERE " + where + ";\n";
    }
    case DIALECT_VELD: {
      std::string text = VeldLine("DO IF " + where + ".");
      text += VeldLine("COMPUTE nod_001 = " + number + ".");
      text += VeldLine("COMPUTE pre_001 = " + prediction + ".");
      if (plan.IsClassification()) text += VeldLine("COMPUTE prb_001 = " + probability + ".");
      return text + "END IF.\nEXECUTE.\n";
    }
    default: {
      std::string text =
          "IF " + where + "\nTHEN\n\tNode = " + number + "\n\tPrediction = " + prediction + "\n";
      if (plan.IsClassification()) text += "\tProbability = " + probability + "\n";
      return text;
    }
  }
}

}  // namespace

std::string OnePassStopStatements(OnePassPlan const& plan, RulesOutputAdapter const& adapter,
                                  tree_800::Node const* root) {
  RuleExportOptions const& options = plan.Options();
  int const dialect = options.fnDialect;
  std::string const negation = RulesStr[RS_LOGICAL_NOT] + std::string(" ");
  // The condition as a statement of the dialect needs it, positive or negated.
  auto condition = [&](std::string const& text, bool negated) {
    if (dialect == DIALECT_SQL) {
      return negated ? "(" + text + ") IS NOT TRUE" : "(" + text + ")";
    }
    std::string const operand = dialect == DIALECT_VELD ? VeldDefinite(text) : "(" + text + ")";
    return negated ? negation + operand : operand;
  };

  std::string text;
  auto const& entries = plan.Entries();
  for (std::size_t index = 0; index < entries.size(); ++index) {
    OnePassPlan::Entry const& entry = entries[index];
    if (!entry.canStop) continue;
    std::set<tree_800::Node const*> active;
    adapter.ActivatePath(entry.node, &active);
    std::vector<std::string> conditions;
    std::string const path = adapter.ExportActiveSubtree(options, root, active);
    if (!path.empty()) conditions.push_back(condition(path, false));
    for (std::string const& edge : entry.edges) conditions.push_back(condition(edge, true));
    if (entry.missing.empty()) {
      text += Statement(plan, index, conditions, plan.StopsWithoutPrediction(false));
      continue;
    }
    for (bool const missing : {true, false}) {
      std::vector<std::string> split = conditions;
      // The missing-value condition is definite, so NOT inverts it in SQL too.
      split.push_back(dialect == DIALECT_SQL ? (missing ? "" : negation) + entry.missing
                                             : condition(entry.missing, !missing));
      text += Statement(plan, index, split, plan.StopsWithoutPrediction(missing));
    }
  }
  return text;
}

}  // namespace TreeOut_800
