#include "ruletext/ruleconnectoror.h"

namespace TreeOut_800 {

std::string RuleConnectorOR::Export(const RuleExportOptions& options) {
  return ExportConnector(options, {RS_OR, RS_OR, RS_OR}, 1);
}

}  // namespace TreeOut_800
