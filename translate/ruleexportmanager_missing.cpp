// Missing-value clauses of ordered splits. The system-missing test is written
// in each dialect's words (SYSMIS in VELD, IS NULL in SQL, IS MISSING / NOT
// MISSING in the generic dialect), positive when missing values belong to the
// child, negated otherwise (VELD then writes nothing: its comparisons already
// fail on system-missing values). The discrete user-missing values are
// compared one by one: equal and joined by OR to admit them, unequal and
// joined by AND to exclude them. User-missing ranges are left to the range
// clause.
#include <typeinfo>

#include "ruletext/exportutil.h"
#include "ruletext/ruleconnectorand.h"
#include "ruletext/ruleconnectoreq.h"
#include "ruletext/ruleconnectorne.h"
#include "ruletext/ruleconnectoror.h"
#include "translate/ruleexportmanager.h"

namespace TreeOut_800 {
namespace {

bool IsMissingRange(const mdt_800::EncodingSet& set) {
  return typeid(set) == typeid(mdt_800::Interval);
}

bool HasValue(const mdt_800::EncodingItem& item) {
  return item.GetValue().GetType() != mdt_800::Variant::TYPE_NONE;
}

// Whether some set of single values holds a value with content.
bool HasDiscreteValue(const mdt_800::EncodingSets& sets) {
  for (const auto& set : sets.GetEncodingSetList()) {
    if (typeid(*set) != typeid(mdt_800::DiscreteValues)) continue;
    for (const mdt_800::EncodingItem& item : set->GetItems()) {
      if (HasValue(item)) return true;
    }
  }
  return false;
}

}  // namespace

int RuleExportManager::ExportSystemMissing(const tree_800::SplitRule& rule, std::string& out,
                                           const RuleExportOptions& options,
                                           bool includeMissing) const {
  out.clear();
  const mdt_800::Variable& variable = Predictor(rule);
  switch (options.fnDialect) {
    case DIALECT_VELD:
      if (!includeMissing) return 0;
      out = ExportPrefixedName(variable, options, PREFIX_SYSMIS);
      return 1;
    case DIALECT_SQL:
      out = Variable_Export(variable, options) + RulesStr[RS_IS_NULL];
      ExportUtil::WrapExpression(out, ExportUtil::CH_BRACKETS, 1);
      if (!includeMissing) out = RulesStr[RS_LOGICAL_NOT] + out;
      return 1;
    case DIALECT_GENERIC: {
      if (options.fnEdgeMode == EDGE_MODE_LABEL) return 0;
      std::string test = RulesStr[includeMissing ? RS_IS_MISSING : RS_NOT_MISSING];
      ExportUtil::WrapExpression(test, ExportUtil::CH_SPACE, 1);
      out = Variable_Export(variable, options) + test;
      return 1;
    }
    default:
      return 0;
  }
}

int RuleExportManager::ExportDiscreteMissing(const tree_800::SplitRule& rule, std::string& out,
                                             const RuleExportOptions& options,
                                             const Interval& childRange, bool includeMissing,
                                             ExportTargetFlag target, bool writeAllValues) const {
  if (options.fnEdgeMode == EDGE_MODE_LABEL) return 0;
  const mdt_800::Variable& variable = Predictor(rule);
  const mdt_800::EncodingSets* sets = UserMissingSets(variable);
  if (sets == nullptr || !HasDiscreteValue(*sets)) {
    out.clear();
    return 0;
  }
  out.clear();
  const std::string joiner =
      includeMissing ? RuleConnectorOR::Export(options) : RuleConnectorAND::Export(options);
  const std::string comparator =
      includeMissing ? RuleConnectorEQ::Export(options) : RuleConnectorNE::Export(options);
  int written = 0;
  for (const auto& set : sets->GetEncodingSetList()) {
    if (IsMissingRange(*set)) continue;
    for (const mdt_800::EncodingItem& item : set->GetItems()) {
      if (!HasValue(item)) continue;
      bool write = target == TARGET_AND_LINK || writeAllValues;
      if (!write) {
        // Exclude values the child's range would take; add those it would not.
        const bool inside = childRange.Contains(mdt_800::Value(item.GetValue()));
        write = inside != includeMissing;
      }
      if (!write) continue;
      if (written > 0) out += joiner;
      out += ExportVariableValuePair(variable, options, comparator, item.GetValue(), PREFIX_VALUE);
      ++written;
    }
  }
  return written;
}

}  // namespace TreeOut_800
