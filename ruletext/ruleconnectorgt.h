// Greater than: " GT " in VELD, " > " in SQL and generic text.
#pragma once

#include "ruletext/ruleconnector.h"

namespace TreeOut_800 {

class RuleConnectorGT : public RuleComparisonConnector<RuleConnectorGT> {
 public:
  static std::string Export(const RuleExportOptions& options);
  using RuleComparisonConnector<RuleConnectorGT>::Export;
};

}  // namespace TreeOut_800
