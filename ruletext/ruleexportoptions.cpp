#include "ruletext/ruleexportoptions.h"

namespace TreeOut_800 {

const int RuleExportOptions::fnLATEST_VERSION = 1;

RuleExportOptions::RuleExportOptions()
    : fnDialect(DIALECT_SQL),
      fnUseVariableLabels(0),
      fnUseValueLabels(0),
      fnEdgeMode(EDGE_MODE_PATH),
      fnNumberFormat(0),
      fnUpdateMode(0) {}

RuleExportOptions::~RuleExportOptions() {}

}  // namespace TreeOut_800
