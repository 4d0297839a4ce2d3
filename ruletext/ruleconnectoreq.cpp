#include "ruletext/ruleconnectoreq.h"

namespace TreeOut_800 {

std::string RuleConnectorEQ::Export(const RuleExportOptions& options) {
  return ExportConnector(options, {RS_KW_EQ, RS_EQ, RS_SYM_EQ}, 1);
}

}  // namespace TreeOut_800
