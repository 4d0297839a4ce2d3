// The options of one rule export: dialect, label use, edge mode, number format
// and statement kind. All fields are 0 by default: SQL selection statements
// over names and values, edges over the whole attempt chain, plain numbers.
#pragma once

#include "ruletext/exportmacro.h"

namespace TreeOut_800 {

// Values of RuleExportOptions::fnDialect. Any other value writes the SQL
// operator texts, and the export driver returns nothing for it.
enum RuleDialect { DIALECT_SQL = 0, DIALECT_VELD = 1, DIALECT_GENERIC = 2 };

// Values of RuleExportOptions::fnEdgeMode: the whole attempt chain, the primary
// split only, or the primary split in label form.
enum RuleEdgeMode { EDGE_MODE_PATH = 0, EDGE_MODE_SPLIT = 1, EDGE_MODE_LABEL = 2 };

class TREEOUT_EXPORT RuleExportOptions {
 public:
  RuleExportOptions();
  ~RuleExportOptions();

  int fnDialect;            // a RuleDialect value
  int fnUseVariableLabels;  // nonzero: a variable is written by its non-empty label
  int fnUseValueLabels;     // nonzero: a value is written as its non-empty label, quoted
  int fnEdgeMode;           // a RuleEdgeMode value
  int fnNumberFormat;       // exactly 1: numbers in the host's exact format
  int fnUpdateMode;         // nonzero: update statements; zero: selection statements

  static const int fnLATEST_VERSION;  // the latest options version: 1
};

}  // namespace TreeOut_800
