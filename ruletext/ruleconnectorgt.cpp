#include "ruletext/ruleconnectorgt.h"

namespace TreeOut_800 {

std::string RuleConnectorGT::Export(const RuleExportOptions& options) {
  return ExportConnector(options, {RS_KW_GT, RS_GT, RS_SYM_GT}, 1);
}

}  // namespace TreeOut_800
