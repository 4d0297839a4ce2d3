// The translator's lowest layer: how a variable is named (name or label, with
// the VELD function prefix), how one value is written (label, number, integer,
// string, date; quoted by dialect, the enclosing quote doubled inside) and how
// a comparison and a whole interval are written. In VELD the two extreme doubles DBL_MAX and the
// low value just above -DBL_MAX are written as a tenth of themselves, so that
// the number reads back inside the dialect's range.
#include "translate/ruleexportmanager.h"

#include <cfloat>
#include <cstdint>
#include <cstring>

#include "host/format.h"
#include "ruletext/exportutil.h"
#include "ruletext/ruleconnectorand.h"
#include "ruletext/ruleconnectoreq.h"
#include "ruletext/ruleconnectorge.h"
#include "ruletext/ruleconnectorgt.h"
#include "ruletext/ruleconnectorle.h"
#include "ruletext/ruleconnectorlt.h"

namespace TreeOut_800 {
namespace {

double FromBits(std::uint64_t bits) {
  double value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

// The texts that stand for DBL_MAX and the low value in VELD.
double VeldHighReplacement() { return FromBits(0x7FB9999999999999ULL); }
double VeldLowReplacement() { return FromBits(0xFFB9999999999999ULL); }

const char kNumberFormat[] = "%.16g";

}  // namespace

RuleExportManager::RuleExportManager(const tree_800::TreeAlgorithmBase* tree,
                                     const mdt_800::ModelMetadata* metadata)
    : fnTree(tree), fnVariables(&metadata->GetVariables()) {}

double RuleExportManager::GetLowValue() const { return FromBits(0xFFEFFFFFFFFFFFFEULL); }

const mdt_800::Variable& RuleExportManager::Predictor(const tree_800::SplitRule& rule) const {
  return (*fnVariables)[rule.GetPredictorIndex()];
}

std::string RuleExportManager::Variable_Export(const mdt_800::Variable& variable,
                                               const RuleExportOptions& options) const {
  if (options.fnUseVariableLabels != 0 && !variable.GetLabel().empty()) {
    return variable.GetLabel();
  }
  return variable.GetName();
}

std::string RuleExportManager::ExportPrefixedName(const mdt_800::Variable& variable,
                                                  const RuleExportOptions& options,
                                                  PrefixOperator op) const {
  std::string name = Variable_Export(variable, options);
  if (options.fnDialect != DIALECT_VELD) return name;
  const char* prefix = RulesStr[RS_VALUE];
  switch (op) {
    case PREFIX_SYSMIS:
      prefix = RulesStr[RS_SYSMIS];
      break;
    case PREFIX_MISSING:
      prefix = RulesStr[RS_MISSING];
      break;
    case PREFIX_DEFAULT:
    case PREFIX_VALUE:
      if (variable.GetStorageType() == mdt_800::Variable::STORAGE_STRING) return name;
      break;
  }
  ExportUtil::WrapExpression(name, ExportUtil::CH_BRACKETS, 1);
  return prefix + name;
}

std::string RuleExportManager::ExportValue(const mdt_800::Variable& variable,
                                           const mdt_800::Variant& value,
                                           const std::string& valueLabel,
                                           const RuleExportOptions& options) const {
  const bool exact = options.fnNumberFormat == 1;
  std::string text;
  if (options.fnUseValueLabels != 0 && !valueLabel.empty()) {
    text = valueLabel;
  } else {
    switch (value.GetType()) {
      case mdt_800::Variant::TYPE_DOUBLE: {
        double x = value;
        if (options.fnDialect == DIALECT_VELD) {
          // Dates are plain numbers in VELD, so the date property is not read.
          if (x == DBL_MAX) {
            x = VeldHighReplacement();
          } else if (x == GetLowValue()) {
            x = VeldLowReplacement();
          }
          return atg_800::Format(x, exact, kNumberFormat);
        }
        if (!variable.IsDate()) return atg_800::Format(x, exact, kNumberFormat);
        const bool iso = options.fnDialect == DIALECT_SQL || options.fnDialect == DIALECT_GENERIC;
        std::string date = atg_800::FormatRulesDate(x, iso);
        ExportUtil::WrapExpression(date, ExportUtil::CH_SINGLE_QUOTE, 1);
        return date;
      }
      case mdt_800::Variant::TYPE_LONG:
        return atg_800::Format(static_cast<long>(value));
      case mdt_800::Variant::TYPE_STRING:
        text = static_cast<const std::string&>(value);
        break;
      default:
        return std::string();
    }
  }
  ExportUtil::QuoteLiteral(text, options.fnDialect == DIALECT_SQL ? ExportUtil::CH_SINGLE_QUOTE
                                                                  : ExportUtil::CH_DOUBLE_QUOTE);
  return text;
}

std::string RuleExportManager::ExportVariableValuePair(const mdt_800::Variable& variable,
                                                       const RuleExportOptions& options,
                                                       const std::string& operatorText,
                                                       const mdt_800::Variant& value,
                                                       PrefixOperator op) const {
  const std::string name = ExportPrefixedName(variable, options, op);
  const std::string valueText =
      ExportValue(variable, value, variable.GetValueLabel(value), options);
  std::string text;
  text.reserve(name.size() + operatorText.size() + valueText.size());
  text += name;
  text += operatorText;
  text += valueText;
  return text;
}

std::string RuleExportManager::ExportConstant(bool truth, const RuleExportOptions& options) const {
  return std::string("1") + RuleConnectorEQ::Export(options) + (truth ? "1" : "0");
}

std::string RuleExportManager::ExportInterval(const mdt_800::Variable& variable,
                                              const RuleExportOptions& options,
                                              const Interval& interval, bool includeMissing) const {
  const PrefixOperator op = includeMissing ? PREFIX_VALUE : PREFIX_DEFAULT;
  std::string text;
  text.reserve(96);  // two comparisons in one allocation
  if (interval.IsBoundedLeft()) {
    const std::string comparison =
        interval.IsOpenLeft() ? RuleConnectorGT::Export(options) : RuleConnectorGE::Export(options);
    text = ExportVariableValuePair(variable, options, comparison, interval.GetLeftEnd().GetValue(),
                                   op);
    if (interval.IsBoundedRight()) text += RuleConnectorAND::Export(options);
  }
  if (interval.IsBoundedRight()) {
    const std::string comparison = interval.IsOpenRight() ? RuleConnectorLT::Export(options)
                                                          : RuleConnectorLE::Export(options);
    text += ExportVariableValuePair(variable, options, comparison,
                                    interval.GetRightEnd().GetValue(), op);
  }
  return text;
}

}  // namespace TreeOut_800
