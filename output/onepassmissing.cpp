// The condition that a predictor reaches the tree as system-missing. The host's
// encoder gives system-missing for a value without content, for a declared
// user-missing value and for a category it does not know, so the condition
// is the OR of the dialect's no-value test, one test per user-missing set and,
// for a category encoder, NOT of the test for its known values. The no-value
// test comes first: where the value is absent it is true, so the comparisons
// after it, which are then unknown, cannot make the whole unknown.
#include <vector>

#include "output/onepassplan.h"
#include "output/onepasstext.h"
#include "ruletext/exportutil.h"
#include "ruletext/ruleconnectorand.h"
#include "ruletext/ruleconnectoreq.h"
#include "ruletext/ruleconnectorge.h"
#include "ruletext/ruleconnectorgt.h"
#include "ruletext/ruleconnectorle.h"
#include "ruletext/ruleconnectorlt.h"
#include "ruletext/ruleconnectoror.h"
#include "translate/ruleexportmanager.h"

namespace TreeOut_800 {
namespace {

// The test that a value has no content, in the dialect's words. VELD has no
// system-missing string: an absent string is blank.
std::string NoValue(RuleExportManager const& manager, mdt_800::Variable const& variable,
                    RuleExportOptions const& options) {
  switch (options.fnDialect) {
    case DIALECT_VELD:
      if (variable.GetStorageType() == mdt_800::Variable::STORAGE_STRING) {
        return manager.ExportVariableValuePair(variable, options, RuleConnectorEQ::Export(options),
                                               mdt_800::Variant(std::string()), PREFIX_DEFAULT);
      }
      return manager.ExportPrefixedName(variable, options, PREFIX_SYSMIS);
    case DIALECT_GENERIC:
      return manager.Variable_Export(variable, options) + " " + RulesStr[RS_IS_MISSING];
    default:
      return manager.Variable_Export(variable, options) + RulesStr[RS_IS_NULL];
  }
}

// The test that a value lies in `set`: equal to one of its values, or within
// its range. Empty for a set that holds nothing to compare with.
std::string InSet(RuleExportManager const& manager, mdt_800::Variable const& variable,
                  RuleExportOptions const& options, mdt_800::EncodingSet const& set) {
  std::vector<mdt_800::EncodingItem> const items = set.GetItems();
  std::vector<std::string> tests;
  if (dynamic_cast<mdt_800::Interval const*>(&set) != nullptr && items.size() == 2) {
    mdt_800::EncodingItem const& lower = items[0];
    mdt_800::EncodingItem const& upper = items[1];
    if (!lower.IsInfinity()) {
      std::string const op =
          lower.IsInclusive() ? RuleConnectorGE::Export(options) : RuleConnectorGT::Export(options);
      tests.push_back(
          manager.ExportVariableValuePair(variable, options, op, lower.GetValue(), PREFIX_VALUE));
    }
    if (!upper.IsInfinity()) {
      std::string const op =
          upper.IsInclusive() ? RuleConnectorLE::Export(options) : RuleConnectorLT::Export(options);
      tests.push_back(
          manager.ExportVariableValuePair(variable, options, op, upper.GetValue(), PREFIX_VALUE));
    }
    // A range without ends holds every value.
    if (tests.empty()) return "(1" + RuleConnectorEQ::Export(options) + "1)";
    std::string text = JoinedBy(tests, RuleConnectorAND::Export(options));
    ExportUtil::WrapExpression(text, ExportUtil::CH_BRACKETS, 1);
    return text;
  }
  for (mdt_800::EncodingItem const& item : items) {
    if (item.GetValue().GetType() == mdt_800::Variant::TYPE_NONE) continue;
    tests.push_back(manager.ExportVariableValuePair(
        variable, options, RuleConnectorEQ::Export(options), item.GetValue(), PREFIX_VALUE));
  }
  return JoinedBy(tests, RuleConnectorOR::Export(options));
}

}  // namespace

std::string MissingValueCondition(RuleExportManager const& manager,
                                  mdt_800::Variable const& variable,
                                  RuleExportOptions const& options) {
  std::vector<std::string> tests = {NoValue(manager, variable, options)};
  mdt_800::Encoder const* encoder = variable.GetEncoding();
  if (encoder != nullptr) {
    if (mdt_800::MissingValues const* missing = encoder->GetMissingValues()) {
      for (auto const& set : missing->GetEncodingSets()->GetEncodingSetList()) {
        std::string test = InSet(manager, variable, options, *set);
        if (!test.empty()) tests.push_back(std::move(test));
      }
    }
    if (auto const* categories = dynamic_cast<mdt_800::MapEncoder const*>(encoder)) {
      std::vector<std::string> known;
      for (int code : categories->EncodedValues()) {
        mdt_800::EncodingSets const sets = categories->Decode(code);
        for (auto const& set : sets.GetEncodingSetList()) {
          std::string test = InSet(manager, variable, options, *set);
          if (!test.empty()) known.push_back(std::move(test));
        }
      }
      if (!known.empty()) {
        std::string unknown = JoinedBy(known, RuleConnectorOR::Export(options));
        ExportUtil::WrapExpression(unknown, ExportUtil::CH_BRACKETS, 1);
        tests.push_back(RulesStr[RS_LOGICAL_NOT] + (" " + unknown));
      }
    }
  }
  std::string text = JoinedBy(tests, RuleConnectorOR::Export(options));
  ExportUtil::WrapExpression(text, ExportUtil::CH_BRACKETS, 1);
  return text;
}

}  // namespace TreeOut_800
