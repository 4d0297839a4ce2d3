// Split-rule dispatch. Records with a missing predictor value satisfy a
// child's condition when the rule sends them to that child, or when the rule
// sends them nowhere and the chain leaves them to later rules or to the
// default child. Nominal predictors are written as category lists, numeric
// ordered predictors as ranges, and ordered non-numeric predictors with a map
// encoder as category lists over the codes their ranges hold.
#include <memory>
#include <vector>

#include "translate/attemptchain.h"
#include "translate/ruleexportmanager.h"

namespace TreeOut_800 {

std::string RuleExportManager::SplitRule_Export(const tree_800::SplitRule& rule, int child,
                                                ExportTargetFlag target,
                                                const RuleExportOptions& options) const {
  const int missingChild = rule.GetMissingValueMapping();
  const bool includeMissing =
      missingChild == child ||
      (missingChild < 0 && (target == TARGET_AND_LINK || target == TARGET_DUMB_RULE));
  const mdt_800::Variable& variable = Predictor(rule);
  if (variable.GetMeasurementLevel() == mdt_800::Variable::LEVEL_NOMINAL) {
    return NominalSplitRule_Export(rule, child, target, options, includeMissing);
  }
  if (variable.GetStorageType() == mdt_800::Variable::STORAGE_NUMERIC) {
    return OrdinalSplitRule_Export(rule, child, target, options, includeMissing);
  }
  return OrdinalToNominal_Export(rule, child, target, options, includeMissing);
}

std::string RuleExportManager::OrdinalToNominal_Export(const tree_800::SplitRule& rule, int child,
                                                       ExportTargetFlag target,
                                                       const RuleExportOptions& options,
                                                       bool includeMissing) const {
  const auto* encoder = dynamic_cast<const mdt_800::MapEncoder*>(Predictor(rule).GetEncoding());
  if (encoder == nullptr) {
    return OrdinalSplitRule_Export(rule, child, target, options, includeMissing);
  }
  tree_800::NSplitRule nominal(rule.GetPredictorIndex(), 0);
  const int children = rule.GetNumChildren();
  const std::vector<int> codes = encoder->EncodedValues();
  for (int c = 0; c < children; ++c) {
    const std::unique_ptr<tree_800::ValueSet> values(rule.GetMappedValues(c));
    if (!values || values->IsEmpty()) continue;
    for (int code : codes) {
      if (values->Contains(static_cast<double>(code))) nominal.SetCatMapping(code, c);
    }
  }
  const tree_800::SplitRule wrapped(nominal);
  return NominalSplitRule_Export(wrapped, child, target, options, includeMissing);
}

bool RuleExportManager::SplitRule_IsValid(const tree_800::SplitRule& /*rule*/) const {
  return true;
}

AttemptChain* RuleExportManager::BuildAttemptChain(const tree_800::Node& node) const {
  auto chain = std::make_unique<AttemptChain>(this);
  if (node.GetNumSplitRules() > 0) {
    chain->SetDumbRule(node.GetDumbRuleIndex());
    chain->AddLink(node.GetSplitRule(0));
  }
  const int surrogates = node.GetNumSurrogates();
  for (int i = 0; i < surrogates; ++i) chain->AddLink(node.GetSurrogate(i));
  return chain.release();
}

}  // namespace TreeOut_800
