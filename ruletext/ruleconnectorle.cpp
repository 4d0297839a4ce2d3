#include "ruletext/ruleconnectorle.h"

namespace TreeOut_800 {

std::string RuleConnectorLE::Export(const RuleExportOptions& options) {
  return ExportConnector(options, {RS_KW_LE, RS_LE, RS_SYM_LE}, 1);
}

}  // namespace TreeOut_800
