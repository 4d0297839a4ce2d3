// Default options, operator texts per dialect, and the padding, wrapping and
// quoting helpers.
#include <gtest/gtest.h>

#include <string>

#include "ruletext/exportutil.h"
#include "ruletext/ruleconnectorand.h"
#include "ruletext/ruleconnectoreq.h"
#include "ruletext/ruleconnectorge.h"
#include "ruletext/ruleconnectorgt.h"
#include "ruletext/ruleconnectorle.h"
#include "ruletext/ruleconnectorlt.h"
#include "ruletext/ruleconnectorne.h"
#include "ruletext/ruleconnectoror.h"

namespace {

using namespace TreeOut_800;
using namespace ExportUtil;

RuleExportOptions Dialect(int dialect) {
  RuleExportOptions options;
  options.fnDialect = dialect;
  return options;
}

// By default: SQL over names, whole chains, "%.16g" numbers, SELECT statements.
TEST(RuleExportOptions, Defaults) {
  RuleExportOptions const o;
  EXPECT_EQ(o.fnDialect + o.fnUseVariableLabels + o.fnUseValueLabels + o.fnEdgeMode +
                o.fnNumberFormat + o.fnUpdateMode,
            0);
}

// A value that is no dialect (3, -1) writes the SQL text.
TEST(Connector, OperatorTextInEachDialect) {
  struct Case {
    std::string (*exporter)(RuleExportOptions const&);
    char const *sql, *veld, *generic;
  } const kCases[] = {
      {&RuleConnectorAND::Export, "  AND  ", "  AND  ", "  AND  "},
      {&RuleConnectorOR::Export, " OR ", " OR ", " OR "},
      {&RuleConnectorEQ::Export, " = ", " EQ ", " = "},
      {&RuleConnectorNE::Export, " <> ", " NE ", " != "},
      {&RuleConnectorGT::Export, " > ", " GT ", " > "},
      {&RuleConnectorGE::Export, " >= ", " GE ", " >= "},
      {&RuleConnectorLT::Export, " < ", " LT ", " < "},
      {&RuleConnectorLE::Export, " <= ", " LE ", " <= "},
  };
  for (auto const& c : kCases) {
    for (int dialect : {0, 3, -1}) EXPECT_EQ(c.exporter(Dialect(dialect)), c.sql) << dialect;
    EXPECT_EQ(c.exporter(Dialect(DIALECT_VELD)), c.veld);
    EXPECT_EQ(c.exporter(Dialect(DIALECT_GENERIC)), c.generic);
  }
}

// One call of a helper (W wrap, L left, R right, Q quote) on a text.
TEST(TextHelpers, Edits) {
  struct Case {
    char helper;
    char const* text;
    int id, count;
    char const* expected;
  } const kCases[] = {
      {'W', "x", CH_SPACE, 2, "  x  "},
      {'W', "x", CH_BRACKETS, 2, "((x))"},
      {'W', "", CH_SPACE, 1, "  "},
      {'W', "x", CH_LEFT_PAREN, 1, "(x("},
      {'W', "x", CH_BRACKETS, 0, "x"},
      {'W', "x", 10, 2, "x"},
      {'W', "x", -1, 2, "x"},
      {'L', "x", CH_TAB, 2, "\t\tx"},
      {'L', "x", CH_BRACKETS, 1, "(x"},
      {'L', "x", CH_NEWLINE, 1, "\nx"},
      {'L', "x", CH_BRACKETS, 0, "x"},
      {'R', "x", CH_COMMA, 3, "x,,,"},
      {'R', "x", CH_BRACKETS, 3, "x)))"},
      {'R', "x", CH_DOT, 1, "x."},
      {'R', "x", CH_COMMA, -1, "x"},
      {'R', "x", 42, 1, "x"},
      {'L', "x", CH_RIGHT_PAREN, 1, ")x"},
      {'Q', "it's", CH_SINGLE_QUOTE, 1, "'it''s'"},
      {'Q', "a\"\"", CH_DOUBLE_QUOTE, 1, "\"a\"\"\"\"\""},
      {'Q', "it's", CH_DOUBLE_QUOTE, 1, "\"it's\""},
  };
  for (auto const& c : kCases) {
    std::string text = c.text;
    CharID const id = static_cast<CharID>(c.id);
    if (c.helper == 'W') WrapExpression(text, id, c.count);
    if (c.helper == 'L') LeftPadding(text, id, c.count);
    if (c.helper == 'R') RightPadding(text, id, c.count);
    if (c.helper == 'Q') QuoteLiteral(text, id);
    EXPECT_EQ(text, c.expected) << c.helper << "(\"" << c.text << "\", " << c.id << ", " << c.count
                                << ")";
  }
  EXPECT_EQ(StringFromID(CH_BRACKETS), "");
}

}  // namespace
