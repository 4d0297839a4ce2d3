// Rule text for nodes of a PMML model, through the library's output adapter,
// written statement by statement as each is made.
#pragma once

#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "refhost/pmml/pmmlmodel.h"
#include "ruletext/ruleexportoptions.h"

namespace treeout_cli {

struct RulesRequest {
  TreeOut_800::RuleExportOptions options;
  // Node ids as the document writes them, one selection; empty: one
  // statement per leaf, in prefix order (for updates, a whole script).
  std::vector<std::string> nodes;
  std::string table;         // replaces "<TABLE>" when not empty
  bool quoteAlways = false;  // SQL: every name as a quoted identifier
  bool addColumns = false;   // SQL updates: ALTER TABLE statements first
  // One statement (one VELD script) that scores every record, instead of
  // statements per node.
  bool onePass = false;
  // One-pass SQL: at most this many tree levels per nested expression; 0 as
  // many as SQLite's parser takes; kOneExpression never stages.
  int stageDepth = 0;
  static constexpr int kOneExpression = -1;
};

// A request that cannot be met as asked (the message names the option).
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws UsageError for a request the writers cannot answer: an update or
// generic statement for several nodes, --add-columns outside SQL updates,
// --nodes with --one-pass.
void CheckRequest(RulesRequest const& request);

// Writes the statements to `out`, each ending with a line feed, as soon as it
// is made. Names are made safe for the dialect in the model's metadata while
// the text is written (and restored after); in VELD each renamed field gets
// one note on `notes`. Throws UsageError (CheckRequest), InputError for a node
// id that the tree does not have and for a writer's error text, and
// OutputError as soon as `out` fails.
void WriteRules(refhost::PmmlModel& model, RulesRequest const& request, std::ostream& out,
                std::ostream* notes = nullptr);

}  // namespace treeout_cli
