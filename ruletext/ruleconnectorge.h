// Greater or equal: " GE " in VELD, " >= " in SQL and generic text.
#pragma once

#include "ruletext/ruleconnector.h"

namespace TreeOut_800 {

class RuleConnectorGE : public RuleComparisonConnector<RuleConnectorGE> {
 public:
  static std::string Export(const RuleExportOptions& options);
  using RuleComparisonConnector<RuleConnectorGE>::Export;
};

}  // namespace TreeOut_800
