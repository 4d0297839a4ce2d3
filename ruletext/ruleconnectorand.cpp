#include "ruletext/ruleconnectorand.h"

namespace TreeOut_800 {

std::string RuleConnectorAND::Export(const RuleExportOptions& options) {
  return ExportConnector(options, {RS_AND, RS_AND, RS_AND}, 2);
}

}  // namespace TreeOut_800
