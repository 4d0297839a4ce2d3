// Less or equal: " LE " in VELD, " <= " in SQL and generic text.
#pragma once

#include "ruletext/ruleconnector.h"

namespace TreeOut_800 {

class RuleConnectorLE : public RuleComparisonConnector<RuleConnectorLE> {
 public:
  static std::string Export(const RuleExportOptions& options);
  using RuleComparisonConnector<RuleConnectorLE>::Export;
};

}  // namespace TreeOut_800
