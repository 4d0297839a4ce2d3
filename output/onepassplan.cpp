#include "output/onepassplan.h"

#include <memory>
#include <utility>

#include "host/format.h"
#include "output/onepasswriter.h"
#include "output/rulesoutputadapter.h"
#include "ruletext/ruleconnectoreq.h"
#include "ruletext/ruleconnectorne.h"
#include "translate/ruleexportmanager.h"

namespace TreeOut_800 {
namespace {

bool HasDefaultChild(tree_800::Node const& node) {
  int const dumb = node.GetDumbRuleIndex();
  return dumb >= 0 && dumb < node.GetNumChildren();
}

// An edge that the adapter writes as empty text (a node without split rules)
// takes every record when it leads to the default child, else none.
std::string ConstantEdge(RuleExportOptions const& options, bool taken) {
  std::string const op =
      taken ? RuleConnectorEQ::Export(options) : RuleConnectorNE::Export(options);
  return "(1" + op + "1)";
}

}  // namespace

OnePassPlan::OnePassPlan(RulesOutputAdapter const& adapter, RuleExportManager const& manager,
                         tree_800::TreeAlgorithmBase const& tree,
                         mdt_800::ModelMetadata const& metadata, RuleExportOptions const& options,
                         OnePassSettings const& settings)
    : fnOptions(options),
      fnClassification(false),
      fnStopMissing(settings.fnStopMissing == STOP_NO_PREDICTION ? STOP_NO_PREDICTION
                                                                 : STOP_PREDICT),
      fnStopOther(settings.fnStopOther == STOP_NO_PREDICTION ? STOP_NO_PREDICTION : STOP_PREDICT),
      fnStringPrediction(false) {
  tree_800::Node const* root = tree.GetRoot();
  fnClassification = root->GetClassStatistics(0) != nullptr;
  bool const quoted = options.fnDialect != DIALECT_VELD;
  bool const exact = options.fnNumberFormat == 1;
  bool const dateTarget = metadata.GetTarget() != nullptr && metadata.GetTarget()->IsDate();

  // Prefix order through an explicit stack: a child is entered after its
  // parent, and its whole subtree before its next sibling.
  std::vector<std::pair<tree_800::Node const*, int>> pending = {{root, -1}};
  while (!pending.empty()) {
    auto const [node, parent] = pending.back();
    pending.pop_back();
    int const index = static_cast<int>(fnEntries.size());
    Entry entry;
    entry.node = node;
    entry.parent = parent;
    entry.branch = 0;
    if (parent >= 0) {
      std::vector<int>& siblings = fnEntries[static_cast<std::size_t>(parent)].children;
      entry.branch = static_cast<int>(siblings.size());
      siblings.push_back(index);
    }
    auto const numbered = settings.fnNodeNumbers.find(node);
    entry.number = numbered != settings.fnNodeNumbers.end() ? numbered->second
                                                            : static_cast<int>(node->GetId());
    int const children = node->GetNumChildren();
    entry.canStop = children > 0 && !HasDefaultChild(*node);
    for (int i = 0; i < children; ++i) {
      std::string edge = adapter.ExportEdge(options, node, i);
      if (edge.empty()) edge = ConstantEdge(options, i == node->GetDumbRuleIndex());
      entry.edges.push_back(std::move(edge));
    }

    // A regression value is written by the number format of the options, so
    // that exact text gives the engine the double the host predicts.
    tree_800::ValueStatistics const* value = node->GetValueStatistics(0);
    if (value != nullptr && !dateTarget) {
      entry.prediction = atg_800::Format(value->GetPredictedValue(), exact, nullptr);
    } else {
      entry.prediction = adapter.GetPredictionAsString(node, quoted);
    }
    if (!entry.prediction.empty() && entry.prediction[0] == '\'') fnStringPrediction = true;
    if (tree_800::ClassStatistics const* stats = node->GetClassStatistics(0)) {
      double const probability = stats->GetProbability(stats->GetPredictedCategory());
      entry.probability = exact ? atg_800::Format(probability, true, nullptr)
                                : atg_800::Format(probability, false, "%f");
    }
    if (entry.canStop && TellsStopsApart()) {
      std::unique_ptr<tree_800::SplitRule> const primary(node->GetSplitRule(0));
      if (primary != nullptr) {
        mdt_800::Variable const& predictor =
            metadata.GetVariables().at(static_cast<std::size_t>(primary->GetPredictorIndex()));
        entry.missing = MissingValueCondition(manager, predictor, options);
      }
    }
    fnEntries.push_back(std::move(entry));
    for (int i = children - 1; i >= 0; --i) pending.emplace_back(node->GetChild(i), index);
  }
}

bool OnePassPlan::StopsWithoutPrediction(bool missing) const {
  return (missing ? fnStopMissing : fnStopOther) == STOP_NO_PREDICTION;
}

std::string OnePassPlan::NoPrediction() const {
  switch (fnOptions.fnDialect) {
    case DIALECT_VELD:
      return fnStringPrediction ? "''" : "$SYSMIS";
    case DIALECT_GENERIC:
      return RulesStr[RS_MISSING];
    default:
      return "NULL";
  }
}

std::string OnePassPlan::NoProbability() const {
  switch (fnOptions.fnDialect) {
    case DIALECT_VELD:
      return "$SYSMIS";
    case DIALECT_GENERIC:
      return RulesStr[RS_MISSING];
    default:
      return "NULL";
  }
}

}  // namespace TreeOut_800
