// Ordinal split export. A child's condition is up to four clauses: the
// system-missing test, the discrete user-missing values, the child's range,
// and in VELD a guard against system-missing values when no range was
// written. When missing values belong to the child the clauses admit them
// and are joined by OR, otherwise they exclude them and are joined by AND.
// The variable's first user-missing range is combined with the child's range:
// added in front of it when it lies apart and missing values belong to the
// child, cut out of it when the two overlap and they do not. When missing
// values belong to the child, so do the values that no child's range holds;
// a child that no value reaches and that takes no missing values gets a
// condition that is always false.
#include <typeinfo>

#include "ruletext/exportutil.h"
#include "ruletext/ruleconnectorand.h"
#include "ruletext/ruleconnectoror.h"
#include "translate/ruleexportmanager.h"

namespace TreeOut_800 {
namespace {

bool Overlap(const Interval& child, const Interval& missing) {
  return child.Contains(missing.GetLeftEnd()) || child.Contains(missing.GetRightEnd()) ||
         missing.Contains(child.GetLeftEnd()) || missing.Contains(child.GetRightEnd());
}

}  // namespace

std::string RuleExportManager::OrdinalSplitRule_Export(const tree_800::SplitRule& rule, int child,
                                                       ExportTargetFlag target,
                                                       const RuleExportOptions& options,
                                                       bool includeMissing) const {
  Interval childRange;
  if (target != TARGET_AND_LINK) {
    BuildInterval(&childRange, rule, child);
    // No value reaches the child, and missing values go elsewhere.
    if (!includeMissing && childRange.IsEmpty()) {
      std::string never = ExportConstant(false, options);
      ExportUtil::WrapExpression(never, ExportUtil::CH_BRACKETS, 1);
      return never;
    }
  }
  return ExportOrdinalClauses(rule, childRange, target, options, includeMissing);
}

std::string RuleExportManager::ExportOrdinalClauses(const tree_800::SplitRule& rule,
                                                    const Interval& childRange,
                                                    ExportTargetFlag target,
                                                    const RuleExportOptions& options,
                                                    bool includeMissing) const {
  const mdt_800::Variable& variable = Predictor(rule);
  const std::string joiner =
      includeMissing ? RuleConnectorOR::Export(options) : RuleConnectorAND::Export(options);
  std::string result;
  result.reserve(128);  // the usual text in one allocation
  std::string text;
  int count = 0;

  const int system = ExportSystemMissing(rule, text, options, includeMissing);
  if (system > 0) {
    result = text;
    count = system;
  }
  const int discrete =
      ExportDiscreteMissing(rule, text, options, childRange, includeMissing, target, true);
  if (discrete > 0) {
    if (count > 0) result += joiner;
    result += text;
    count += discrete;
  }
  if (count > 1) {
    ExportUtil::WrapExpression(result, ExportUtil::CH_BRACKETS, 1);
    count = 1;
  }
  const int ranges = ExportIntervals(rule, text, options, childRange, includeMissing, target);
  if (ranges > 0) {
    if (count > 0) result += joiner;
    result += text;
    ++count;
  }
  if (includeMissing) {
    // Values that no child's range holds are placed as missing values are.
    int gaps = 0;
    const std::string unplaced = ExportUnplacedValues(rule, options, &gaps);
    if (gaps > 0) {
      if (count > 0) result += joiner;
      result += unplaced;
      count += gaps;
    }
  }
  if (!includeMissing && ranges == 0 && options.fnDialect == DIALECT_VELD) {
    // Without a range clause nothing here makes the condition false for a
    // system-missing value, so a guard in front does.
    std::string guard = ExportPrefixedName(variable, options, PREFIX_SYSMIS);
    ExportUtil::WrapExpression(guard, ExportUtil::CH_BRACKETS, 1);
    guard = RulesStr[RS_TILDE] + guard;
    result = result.empty() ? guard : guard + RuleConnectorAND::Export(options) + result;
    ++count;
  }
  if (count > 1) ExportUtil::WrapExpression(result, ExportUtil::CH_BRACKETS, 1);
  return result;
}

int RuleExportManager::ExportIntervals(const tree_800::SplitRule& rule, std::string& out,
                                       const RuleExportOptions& options, const Interval& childRange,
                                       bool includeMissing, ExportTargetFlag target) const {
  out.clear();
  const mdt_800::Variable& variable = Predictor(rule);
  bool hasMissingRange = false;
  Interval missingRange;
  if (const mdt_800::EncodingSets* sets = UserMissingSets(variable)) {
    for (const auto& set : sets->GetEncodingSetList()) {
      if (typeid(*set) != typeid(mdt_800::Interval)) continue;
      EncodingSetToInterval(*set, &missingRange);
      hasMissingRange = true;
      break;
    }
  }

  bool writeMissing = false;
  bool writeChild = false;
  bool writeSplit = false;
  if (target == TARGET_AND_LINK) {
    if (!hasMissingRange) return 0;
    writeMissing = true;
  } else if (!hasMissingRange) {
    writeChild = !childRange.IsEmpty();
  } else if (Overlap(childRange, missingRange)) {
    writeChild = includeMissing;
    writeSplit = !includeMissing;
  } else {
    writeMissing = includeMissing;
    writeChild = !childRange.IsEmpty();
  }

  const std::string orText = RuleConnectorOR::Export(options);
  int count = 0;
  if (writeMissing) {
    Interval closed;
    closed.SetLeftEnd(missingRange.GetLeftEnd());
    closed.SetRightEnd(missingRange.GetRightEnd());
    closed.SetOpenLeft(false);
    closed.SetOpenRight(false);
    out += ExportInterval(variable, options, closed, includeMissing);
    ++count;
  }
  if (writeChild) {
    std::string text = ExportInterval(variable, options, childRange, includeMissing);
    // An unbounded range takes every value; with missing values too, every record.
    if (text.empty() && includeMissing) text = ExportConstant(true, options);
    if (!text.empty()) {
      if (count > 0) out += orText;
      out += text;
      ++count;
    }
  }
  if (writeSplit) {
    Interval lower;
    lower.SetLeftEnd(childRange.GetLeftEnd());
    lower.SetOpenLeft(childRange.IsOpenLeft());
    lower.SetBoundedLeft(childRange.IsBoundedLeft());
    lower.SetRightEnd(missingRange.GetLeftEnd());
    lower.SetOpenRight(true);
    Interval upper;
    upper.SetLeftEnd(missingRange.GetRightEnd());
    upper.SetOpenLeft(true);
    upper.SetRightEnd(childRange.GetRightEnd());
    upper.SetOpenRight(childRange.IsOpenRight());
    upper.SetBoundedRight(childRange.IsBoundedRight());
    if (count > 0) out += orText;
    out += ExportInterval(variable, options, lower, includeMissing);
    out += orText;
    out += ExportInterval(variable, options, upper, includeMissing);
    count += 2;
  }
  if (count > 0) ExportUtil::WrapExpression(out, ExportUtil::CH_BRACKETS, 1);
  return count;
}

}  // namespace TreeOut_800
