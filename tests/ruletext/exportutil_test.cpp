// The options record, the vocabulary table and the padding and wrapping
// helpers, held to the documented texts.
#include "ruletext/exportutil.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "ruletext/ruleexportoptions.h"

namespace {

using namespace TreeOut_800;
using namespace ExportUtil;

// Hosts fill the record field by field and pass the enumerations as ints.
static_assert(sizeof(RuleExportOptions) == 6 * sizeof(int), "six int fields and nothing else");
static_assert(std::is_standard_layout<RuleExportOptions>::value, "plain record");
static_assert(DIALECT_SQL == 0 && DIALECT_VELD == 1 && DIALECT_GENERIC == 2, "dialect values");
static_assert(EDGE_MODE_PATH == 0 && EDGE_MODE_SPLIT == 1 && EDGE_MODE_LABEL == 2, "edge modes");

TEST(RuleExportOptions, DefaultIsSqlOverNamesAndWholeChains) {
  const RuleExportOptions o;
  EXPECT_EQ(o.fnDialect + o.fnUseVariableLabels + o.fnUseValueLabels + o.fnEdgeMode +
                o.fnNumberFormat + o.fnUpdateMode,
            0);
}

TEST(RulesStr, HoldsTheVocabularyInIndexOrderAndEndsWithNull) {
  static_assert(
      RS_AND == 0 && RS_IS_MISSING == 8 && RS_SYM_GE == 17 && RS_TILDE == 29 && RS_MISSING == 38,
      "index order");
  const char* const kTexts[] = {
      "AND",    "OR",       ">=", ">", "<=", "<", "=",  "!=",    "IS MISSING", "NOT MISSING",
      "AND",    "NOT",      "OR", "(", ")",  " ", "\t", ">=",    "GE",         ">",
      "GT",     "<=",       "LE", "<", "LT", "=", "EQ", "<>",    "NE",         "~",
      "SYSMIS", " IS NULL", "\n", ".", "\"", ",", "'",  "VALUE", "MISSING"};
  static_assert(std::size(kTexts) == 39);
  for (size_t i = 0; i < std::size(kTexts); ++i) {
    ASSERT_NE(RulesStr[i], nullptr) << "entry " << i;
    EXPECT_STREQ(RulesStr[i], kTexts[i]) << "entry " << i;
  }
  EXPECT_EQ(std::extent<decltype(RulesStr)>::value, 40u);
  EXPECT_EQ(RulesStr[39], nullptr);
}

TEST(StringFromID, GivesEachCharacterAndNothingOutsideTheRange) {
  const struct {
    int id;
    const char* text;
  } kCases[] = {
      {CH_BRACKETS, ""},     {CH_SPACE, " "},        {CH_TAB, "\t"}, {CH_LEFT_PAREN, "("},
      {CH_RIGHT_PAREN, ")"}, {CH_NEWLINE, "\n"},     {CH_DOT, "."},  {CH_DOUBLE_QUOTE, "\""},
      {CH_COMMA, ","},       {CH_SINGLE_QUOTE, "'"}, {10, ""},       {-1, ""}};
  for (const auto& c : kCases) {
    EXPECT_EQ(StringFromID(static_cast<CharID>(c.id)), c.text) << "id " << c.id;
  }
}

// One call of a text helper (W wrap, L left, R right) and the text it leaves.
TEST(TextHelpers, Edits) {
  const struct {
    char helper;
    const char* text;
    int id, count;
    const char* expected;
  } kCases[] = {
      {'W', "x", CH_SPACE, 2, "  x  "},
      {'W', "x", CH_BRACKETS, 1, "(x)"},
      {'W', "x", CH_BRACKETS, 2, "((x))"},
      {'W', "x", CH_SINGLE_QUOTE, 1, "'x'"},
      {'L', "x", CH_TAB, 2, "\t\tx"},
      {'L', "x", CH_BRACKETS, 1, "(x"},
      {'R', "x", CH_COMMA, 3, "x,,,"},
      {'R', "x", CH_BRACKETS, 1, "x)"},
      // Empty texts get their marks; quotes inside are not escaped; a mark
      // other than brackets is the same on both sides.
      {'W', "", CH_SPACE, 1, "  "},
      {'W', "", CH_BRACKETS, 1, "()"},
      {'W', "it's", CH_SINGLE_QUOTE, 1, "'it's'"},
      {'W', "x", CH_LEFT_PAREN, 1, "(x("},
      {'L', "x", CH_RIGHT_PAREN, 1, ")x"},
      {'R', "x", CH_BRACKETS, 3, "x)))"},
      // A count below 1, or a value naming no character, adds nothing.
      {'W', "x", CH_BRACKETS, 0, "x"},
      {'L', "x", CH_BRACKETS, 0, "x"},
      {'R', "x", CH_COMMA, -1, "x"},
      {'W', "x", 10, 2, "x"},
      {'W', "x", -1, 2, "x"},
      {'L', "x", -3, 1, "x"},
      {'R', "x", 42, 1, "x"},
  };
  for (const auto& c : kCases) {
    std::string text = c.text;
    const CharID id = static_cast<CharID>(c.id);
    if (c.helper == 'W') WrapExpression(text, id, c.count);
    if (c.helper == 'L') LeftPadding(text, id, c.count);
    if (c.helper == 'R') RightPadding(text, id, c.count);
    EXPECT_EQ(text, c.expected) << c.helper << "(\"" << c.text << "\", " << c.id << ", " << c.count
                                << ")";
  }
}

}  // namespace
