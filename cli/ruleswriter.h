// Rule text for nodes of a PMML model, through the library's output adapter.
#pragma once

#include <string>
#include <vector>

#include "refhost/pmml/pmmlmodel.h"
#include "ruletext/ruleexportoptions.h"

namespace treeout_cli {

struct RulesRequest {
  TreeOut_800::RuleExportOptions options;
  // Node ids as the document writes them, one selection; empty: one
  // statement per leaf, in prefix order.
  std::vector<std::string> nodes;
  std::string table;  // replaces "<TABLE>" when not empty
};

// The statements, each ending with a line feed. Throws InputError for a node
// id that the tree does not have, and for a writer's error text (its line).
// For SQL, names and labels that are not plain identifiers are first made
// quoted identifiers in the model's metadata (QuoteSqlNames).
std::string WriteRules(refhost::PmmlModel& model, RulesRequest const& request);

}  // namespace treeout_cli
