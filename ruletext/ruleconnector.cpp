#include "ruletext/ruleconnector.h"

namespace TreeOut_800 {

std::string ExportConnector(const RuleExportOptions& options, const ConnectorWords& words,
                            int blanks) {
  RulesStrID entry = words.fnSql;
  if (options.fnDialect == DIALECT_GENERIC) {
    entry = words.fnGeneric;
  } else if (options.fnDialect == DIALECT_VELD) {
    entry = words.fnVeld;
  }
  std::string text = RulesStr[entry];
  ExportUtil::WrapExpression(text, ExportUtil::CH_SPACE, blanks);
  return text;
}

}  // namespace TreeOut_800
