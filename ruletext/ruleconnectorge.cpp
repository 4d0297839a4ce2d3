#include "ruletext/ruleconnectorge.h"

namespace TreeOut_800 {

std::string RuleConnectorGE::Export(const RuleExportOptions& options) {
  return ExportConnector(options, {RS_KW_GE, RS_GE, RS_SYM_GE}, 1);
}

}  // namespace TreeOut_800
