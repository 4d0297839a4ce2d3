#include "ruletext/ruleconnectorne.h"

namespace TreeOut_800 {

std::string RuleConnectorNE::Export(const RuleExportOptions& options) {
  return ExportConnector(options, {RS_KW_NE, RS_NE, RS_SYM_NE}, 1);
}

}  // namespace TreeOut_800
