// Conjunction: "  AND  " in every dialect, the only operator with two blanks each side.
#pragma once

#include "ruletext/ruleconnector.h"

namespace TreeOut_800 {

class RuleConnectorAND {
 public:
  static std::string Export(const RuleExportOptions& options);
};

}  // namespace TreeOut_800
