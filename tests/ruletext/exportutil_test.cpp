// The vocabulary table and the padding and wrapping helpers, held to the
// documented texts.
#include "ruletext/exportutil.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

using namespace TreeOut_800;
using namespace ExportUtil;

TEST(RulesStr, HoldsTheVocabularyInIndexOrder) {
  struct Case {
    RulesStrID id;
    const char* text;
  };
  const Case kCases[] = {
      {RS_AND, "AND"},
      {RS_OR, "OR"},
      {RS_GE, ">="},
      {RS_GT, ">"},
      {RS_LE, "<="},
      {RS_LT, "<"},
      {RS_EQ, "="},
      {RS_NE, "!="},
      {RS_IS_MISSING, "IS MISSING"},
      {RS_NOT_MISSING, "NOT MISSING"},
      {RS_LOGICAL_AND, "AND"},
      {RS_LOGICAL_NOT, "NOT"},
      {RS_LOGICAL_OR, "OR"},
      {RS_LEFT_PAREN, "("},
      {RS_RIGHT_PAREN, ")"},
      {RS_SPACE, " "},
      {RS_TAB, "\t"},
      {RS_SYM_GE, ">="},
      {RS_KW_GE, "GE"},
      {RS_SYM_GT, ">"},
      {RS_KW_GT, "GT"},
      {RS_SYM_LE, "<="},
      {RS_KW_LE, "LE"},
      {RS_SYM_LT, "<"},
      {RS_KW_LT, "LT"},
      {RS_SYM_EQ, "="},
      {RS_KW_EQ, "EQ"},
      {RS_SYM_NE, "<>"},
      {RS_KW_NE, "NE"},
      {RS_TILDE, "~"},
      {RS_SYSMIS, "SYSMIS"},
      {RS_IS_NULL, " IS NULL"},
      {RS_NEWLINE, "\n"},
      {RS_DOT, "."},
      {RS_DOUBLE_QUOTE, "\""},
      {RS_COMMA, ","},
      {RS_SINGLE_QUOTE, "'"},
      {RS_VALUE, "VALUE"},
      {RS_MISSING, "MISSING"},
  };
  ASSERT_EQ(std::size(kCases), 39u);
  for (size_t i = 0; i < std::size(kCases); ++i) {
    EXPECT_EQ(static_cast<size_t>(kCases[i].id), i) << "entry " << kCases[i].text;
    ASSERT_NE(RulesStr[kCases[i].id], nullptr) << "entry " << i;
    EXPECT_STREQ(RulesStr[kCases[i].id], kCases[i].text) << "entry " << i;
  }
}

TEST(RulesStr, EndsWithANullFortiethSlot) {
  EXPECT_EQ(std::extent<decltype(RulesStr)>::value, 40u);
  EXPECT_EQ(RulesStr[39], nullptr);
}

TEST(StringFromID, GivesEachCharacterAndNothingOutsideTheRange) {
  struct Case {
    int id;
    const char* text;
  };
  const Case kCases[] = {
      {CH_BRACKETS, ""},
      {CH_SPACE, " "},
      {CH_TAB, "\t"},
      {CH_LEFT_PAREN, "("},
      {CH_RIGHT_PAREN, ")"},
      {CH_NEWLINE, "\n"},
      {CH_DOT, "."},
      {CH_DOUBLE_QUOTE, "\""},
      {CH_COMMA, ","},
      {CH_SINGLE_QUOTE, "'"},
      {10, ""},
      {-1, ""},
      {1000, ""},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(StringFromID(static_cast<CharID>(c.id)), c.text) << "id " << c.id;
  }
}

// One call of a text helper on a text, and the text it must leave.
enum class Helper { kWrap, kLeft, kRight };

struct EditCase {
  Helper helper;
  const char* text;
  int id;
  int count;
  const char* expected;
};

const char* HelperName(Helper helper) {
  switch (helper) {
    case Helper::kWrap:
      return "WrapExpression";
    case Helper::kLeft:
      return "LeftPadding";
    case Helper::kRight:
      return "RightPadding";
  }
  return "?";
}

void RunEditCases(const EditCase* begin, const EditCase* end) {
  for (const EditCase* c = begin; c != end; ++c) {
    std::string text = c->text;
    const CharID id = static_cast<CharID>(c->id);
    switch (c->helper) {
      case Helper::kWrap:
        WrapExpression(text, id, c->count);
        break;
      case Helper::kLeft:
        LeftPadding(text, id, c->count);
        break;
      case Helper::kRight:
        RightPadding(text, id, c->count);
        break;
    }
    EXPECT_EQ(text, c->expected) << "row " << (c - begin) << ": " << HelperName(c->helper) << "(\""
                                 << c->text << "\", " << c->id << ", " << c->count << ")";
  }
}

TEST(TextHelpers, WorkedExamples) {
  const EditCase kCases[] = {
      {Helper::kWrap, "x", CH_SPACE, 2, "  x  "},
      {Helper::kWrap, "x", CH_BRACKETS, 1, "(x)"},
      {Helper::kWrap, "x", CH_BRACKETS, 2, "((x))"},
      {Helper::kWrap, "x", CH_SINGLE_QUOTE, 1, "'x'"},
      {Helper::kLeft, "x", CH_TAB, 2, "\t\tx"},
      {Helper::kLeft, "x", CH_BRACKETS, 1, "(x"},
      {Helper::kRight, "x", CH_COMMA, 3, "x,,,"},
      {Helper::kRight, "x", CH_BRACKETS, 1, "x)"},
  };
  RunEditCases(std::begin(kCases), std::end(kCases));
}

TEST(TextHelpers, MarksOnEachSide) {
  const EditCase kCases[] = {
      // An empty text still gets its marks.
      {Helper::kWrap, "", CH_SPACE, 1, "  "},
      {Helper::kWrap, "", CH_BRACKETS, 1, "()"},
      // Quotes already inside the text are not escaped.
      {Helper::kWrap, "it's", CH_SINGLE_QUOTE, 1, "'it's'"},
      {Helper::kWrap, "say \"hi\"", CH_DOUBLE_QUOTE, 1, "\"say \"hi\"\""},
      // Passes nest outwards; a mark other than brackets is the same on both sides.
      {Helper::kWrap, "a OR b", CH_BRACKETS, 3, "(((a OR b)))"},
      {Helper::kWrap, "x", CH_LEFT_PAREN, 1, "(x("},
      {Helper::kLeft, "x", CH_RIGHT_PAREN, 1, ")x"},
      {Helper::kRight, "ab", CH_NEWLINE, 2, "ab\n\n"},
      {Helper::kRight, "x", CH_BRACKETS, 3, "x)))"},
  };
  RunEditCases(std::begin(kCases), std::end(kCases));
}

TEST(TextHelpers, LeaveTheTextWhenThereIsNothingToAdd) {
  const EditCase kCases[] = {
      // A count below 1 adds nothing, brackets included.
      {Helper::kWrap, "x", CH_BRACKETS, 0, "x"},
      {Helper::kWrap, "x", CH_SPACE, -1, "x"},
      {Helper::kLeft, "x", CH_BRACKETS, 0, "x"},
      {Helper::kRight, "x", CH_COMMA, -1, "x"},
      // A value that names no character has an empty pad.
      {Helper::kWrap, "x", 10, 2, "x"},
      {Helper::kWrap, "x", -1, 2, "x"},
      {Helper::kLeft, "x", -3, 1, "x"},
      {Helper::kRight, "x", 42, 1, "x"},
  };
  RunEditCases(std::begin(kCases), std::end(kCases));
}

}  // namespace
