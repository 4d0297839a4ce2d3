#include "ruletext/ruleconnectorlt.h"

namespace TreeOut_800 {

std::string RuleConnectorLT::Export(const RuleExportOptions& options) {
  return ExportConnector(options, {RS_KW_LT, RS_LT, RS_SYM_LT}, 1);
}

}  // namespace TreeOut_800
