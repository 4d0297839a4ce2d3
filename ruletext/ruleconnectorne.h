// Inequality: " NE " in VELD, " != " in generic text, " <> " in SQL.
#pragma once

#include "ruletext/ruleconnector.h"

namespace TreeOut_800 {

class RuleConnectorNE : public RuleComparisonConnector<RuleConnectorNE> {
 public:
  static std::string Export(const RuleExportOptions& options);
  using RuleComparisonConnector<RuleConnectorNE>::Export;
};

}  // namespace TreeOut_800
