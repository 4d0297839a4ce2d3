// Equality: " EQ " in VELD, " = " in SQL and generic text.
#pragma once

#include "ruletext/ruleconnector.h"

namespace TreeOut_800 {

class RuleConnectorEQ : public RuleComparisonConnector<RuleConnectorEQ> {
 public:
  static std::string Export(const RuleExportOptions& options);
  using RuleComparisonConnector<RuleConnectorEQ>::Export;
};

}  // namespace TreeOut_800
