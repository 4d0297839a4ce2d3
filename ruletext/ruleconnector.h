// What the operator connectors share: the operator text chosen by dialect and
// wrapped in blanks, and a comparison written from two operands. Connectors
// are never instantiated; all their operations are static.
#pragma once

#include <string>

#include "ruletext/exportutil.h"
#include "ruletext/ruleatom.h"
#include "ruletext/ruleexportoptions.h"

namespace TreeOut_800 {

// The vocabulary entries of one operator in each dialect. Any dialect value
// other than generic or VELD takes the SQL entry.
struct ConnectorWords {
  RulesStrID fnVeld;
  RulesStrID fnGeneric;
  RulesStrID fnSql;
};

// The operator text for `options.fnDialect` with `blanks` blanks on each side.
std::string ExportConnector(const RuleExportOptions& options, const ConnectorWords& words,
                            int blanks);

// Base of the comparison connectors: `Op` supplies the one-argument Export,
// this adds the comparison of two operands, "left op right" with nothing added.
template <class Op>
class RuleComparisonConnector {
 public:
  static std::string Export(const RuleExportOptions& options, const RuleAtom& left,
                            const RuleAtom& right) {
    std::string text = left.Export(options);
    text += Op::Export(options);
    text += right.Export(options);
    return text;
  }
};

}  // namespace TreeOut_800
