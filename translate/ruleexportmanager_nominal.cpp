// Nominal split export. The category codes of all children are collected in
// a map ordered by code (a code in several children's sets belongs to the
// last of them). Without missing values the child's own codes are compared
// for equality and joined by OR; with missing values the other children's
// codes are compared for inequality and joined by AND, behind a clause that
// admits system-missing and user-missing values, joined by OR. In label edge
// mode the child's codes are listed after one comparison, separated by
// commas. Each code is decoded into its values once per translator (the
// metadata does not change while it lives); a variable without encoder uses
// the code itself. A child whose list would be empty gets a condition
// that says what it takes: nothing, or (complement form) every record.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "ruletext/exportutil.h"
#include "ruletext/ruleconnectorand.h"
#include "ruletext/ruleconnectoreq.h"
#include "ruletext/ruleconnectorne.h"
#include "ruletext/ruleconnectoror.h"
#include "translate/ruleexportmanager.h"

namespace TreeOut_800 {
namespace {

// Category code to child, ascending by code; a code in several children's
// sets belongs to the last of them. A sorted vector: a split has few codes.
std::vector<std::pair<int, int>> CategoryMap(const tree_800::SplitRule& rule) {
  std::vector<std::pair<int, int>> categories;
  const int children = rule.GetNumChildren();
  for (int c = 0; c < children; ++c) {
    const std::unique_ptr<tree_800::ValueSet> values(rule.GetMappedValues(c));
    // Only code lists have codes to name; anything else adds none.
    const auto* codes = dynamic_cast<const tree_800::NValueSet*>(values.get());
    if (codes == nullptr) continue;
    const std::unique_ptr<tree_800::ValueIterator> it(codes->GetIterator());
    while (it->HasMore()) categories.emplace_back(it->Next(), c);
  }
  // Children were scanned in ascending order: after a stable sort by code
  // the last entry of each code holds its child.
  std::stable_sort(categories.begin(), categories.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::size_t kept = 0;
  for (std::size_t i = 0; i < categories.size(); ++i) {
    if (i + 1 < categories.size() && categories[i + 1].first == categories[i].first) continue;
    categories[kept++] = categories[i];
  }
  categories.resize(kept);
  return categories;
}

}  // namespace

const std::vector<mdt_800::Variant>& RuleExportManager::CategoryValues(int predictor,
                                                                       int code) const {
  const std::uint64_t key = static_cast<std::uint64_t>(static_cast<std::uint32_t>(predictor))
                                << 32 |
                            static_cast<std::uint32_t>(code);
  const auto known = fnCategoryValues.find(key);
  if (known != fnCategoryValues.end()) return known->second;
  const mdt_800::Encoder* encoder = (*fnVariables)[predictor].GetEncoding();
  const mdt_800::EncodingSets decoded =
      encoder != nullptr ? encoder->Decode(code) : GetEncodingSetList(code);
  std::vector<mdt_800::Variant> values;
  for (const auto& set : decoded.GetEncodingSetList()) {
    for (const mdt_800::EncodingItem& item : set->GetItems()) values.push_back(item.GetValue());
  }
  return fnCategoryValues.emplace(key, std::move(values)).first->second;
}

const mdt_800::EncodingSets* RuleExportManager::UserMissingSets(const mdt_800::Variable& variable) {
  const mdt_800::Encoder* encoder = variable.GetEncoding();
  if (encoder == nullptr) return nullptr;
  const mdt_800::MissingValues* missing = encoder->GetMissingValues();
  return missing == nullptr ? nullptr : missing->GetEncodingSets();
}

std::string RuleExportManager::NominalMissingPrefix(const mdt_800::Variable& variable,
                                                    const RuleExportOptions& options) const {
  const std::string orText = RuleConnectorOR::Export(options);
  std::string userMissing;
  if (const mdt_800::EncodingSets* sets = UserMissingSets(variable)) {
    const std::string eq = RuleConnectorEQ::Export(options);
    bool first = true;
    for (const auto& set : sets->GetEncodingSetList()) {
      for (const mdt_800::EncodingItem& item : set->GetItems()) {
        if (!first) userMissing += orText;
        first = false;
        userMissing +=
            ExportVariableValuePair(variable, options, eq, item.GetValue(), PREFIX_DEFAULT);
      }
    }
  }
  std::string prefix;
  if (options.fnDialect == DIALECT_SQL) {
    prefix = Variable_Export(variable, options) + RulesStr[RS_IS_NULL];
    if (!userMissing.empty()) prefix += orText + userMissing;
    ExportUtil::WrapExpression(prefix, ExportUtil::CH_BRACKETS, 1);
  } else if (options.fnDialect == DIALECT_VELD &&
             variable.GetStorageType() != mdt_800::Variable::STORAGE_STRING) {
    prefix = ExportPrefixedName(variable, options, PREFIX_SYSMIS);
    if (!userMissing.empty()) prefix += orText + userMissing;
  } else {
    prefix = userMissing;
  }
  return prefix;
}

std::string RuleExportManager::NominalSplitRule_Export(const tree_800::SplitRule& rule, int child,
                                                       ExportTargetFlag /*target*/,
                                                       const RuleExportOptions& options,
                                                       bool includeMissing) const {
  const bool labelMode = options.fnEdgeMode == EDGE_MODE_LABEL;
  const std::string orText = RuleConnectorOR::Export(options);
  const std::string joiner = includeMissing ? RuleConnectorAND::Export(options) : orText;
  const std::string comparator = includeMissing && !labelMode ? RuleConnectorNE::Export(options)
                                                              : RuleConnectorEQ::Export(options);
  const mdt_800::Variable& variable = Predictor(rule);

  std::string prefix;
  if (includeMissing && options.fnDialect != DIALECT_GENERIC) {
    prefix = NominalMissingPrefix(variable, options);
  }
  const std::vector<std::pair<int, int>> categories = CategoryMap(rule);
  // The label form lists the child's own categories; the prefix above keeps
  // the caller's flag.
  if (labelMode) includeMissing = false;

  // Comparisons are joined one by one, so a code that decodes to several
  // values (or to none) leaves no dangling joiner.
  std::string result;
  result.reserve(128);  // the usual text in one allocation
  bool written = false;
  for (const auto& [code, owner] : categories) {
    if (includeMissing ? owner == child : owner != child) continue;
    for (const mdt_800::Variant& value : CategoryValues(rule.GetPredictorIndex(), code)) {
      if (labelMode && written) {
        result += RulesStr[RS_COMMA];
        result += ExportValue(variable, value, variable.GetValueLabel(value), options);
      } else {
        if (written) result += joiner;
        result += ExportVariableValuePair(variable, options, comparator, value, PREFIX_DEFAULT);
      }
      written = true;
    }
  }
  if (written) {
    if (!prefix.empty()) result = prefix + orText + result;
  } else if (includeMissing) {
    // No other child names a category: the child takes missing values and
    // every value.
    result = prefix.empty() ? ExportConstant(true, options)
                            : prefix + orText + ExportConstant(true, options);
  } else if (!prefix.empty()) {
    result = prefix;  // the label form of a child with missing values alone
  } else {
    result = ExportConstant(false, options);  // no value reaches the child
  }
  ExportUtil::WrapExpression(result, ExportUtil::CH_BRACKETS, 1);
  return result;
}

}  // namespace TreeOut_800
