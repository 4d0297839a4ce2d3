// Less than: " LT " in VELD, " < " in SQL and generic text.
#pragma once

#include "ruletext/ruleconnector.h"

namespace TreeOut_800 {

class RuleConnectorLT : public RuleComparisonConnector<RuleConnectorLT> {
 public:
  static std::string Export(const RuleExportOptions& options);
  using RuleComparisonConnector<RuleConnectorLT>::Export;
};

}  // namespace TreeOut_800
