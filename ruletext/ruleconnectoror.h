// Disjunction: " OR " in every dialect.
#pragma once

#include "ruletext/ruleconnector.h"

namespace TreeOut_800 {

class RuleConnectorOR {
 public:
  static std::string Export(const RuleExportOptions& options);
};

}  // namespace TreeOut_800
