// The vocabulary of the rule text and the helpers that pad and wrap it.
// Every keyword, operator, bracket and quote in the output comes from RulesStr;
// brackets and quotes are added only through WrapExpression. The helpers keep
// no state and change the string they are given in place.
#pragma once

#include <string>

namespace TreeOut_800 {

// Indexes of RulesStr. Entries 0-9 are the generic operator set, 10-12 the
// logical words, 17-28 the symbol and VELD keyword of each comparison.
enum RulesStrID {
  RS_AND = 0,
  RS_OR,
  RS_GE,
  RS_GT,
  RS_LE,
  RS_LT,
  RS_EQ,
  RS_NE,
  RS_IS_MISSING,
  RS_NOT_MISSING,
  RS_LOGICAL_AND,
  RS_LOGICAL_NOT,
  RS_LOGICAL_OR,
  RS_LEFT_PAREN,
  RS_RIGHT_PAREN,
  RS_SPACE,
  RS_TAB,
  RS_SYM_GE,
  RS_KW_GE,
  RS_SYM_GT,
  RS_KW_GT,
  RS_SYM_LE,
  RS_KW_LE,
  RS_SYM_LT,
  RS_KW_LT,
  RS_SYM_EQ,
  RS_KW_EQ,
  RS_SYM_NE,
  RS_KW_NE,
  RS_TILDE,
  RS_SYSMIS,
  RS_IS_NULL,
  RS_NEWLINE,
  RS_DOT,
  RS_DOUBLE_QUOTE,
  RS_COMMA,
  RS_SINGLE_QUOTE,
  RS_VALUE,
  RS_MISSING,
  RS_COUNT  // number of texts; RulesStr[RS_COUNT] is the null end marker
};

// The 39 texts indexed by RulesStrID, then a null pointer that ends the table.
extern const char* const RulesStr[RS_COUNT + 1];

}  // namespace TreeOut_800

namespace ExportUtil {

// Single characters used for padding and wrapping. Any int is a valid value;
// values outside 0-9 name no character.
enum CharID : int {
  CH_BRACKETS = 0,  // no text of its own; pads and wraps with "(" and ")"
  CH_SPACE,
  CH_TAB,
  CH_LEFT_PAREN,
  CH_RIGHT_PAREN,
  CH_NEWLINE,
  CH_DOT,
  CH_DOUBLE_QUOTE,
  CH_COMMA,
  CH_SINGLE_QUOTE
};

// The character of `id` as text; empty for CH_BRACKETS and values outside 1-9.
std::string StringFromID(CharID id);

// Puts the pad of `id` in front of `text` `count` times ("(" for CH_BRACKETS).
// No change when the pad is empty or `count` < 1.
void LeftPadding(std::string& text, CharID id, int count);

// Appends the pad of `id` `count` times (")" for CH_BRACKETS).
// No change when the pad is empty or `count` < 1.
void RightPadding(std::string& text, CharID id, int count);

// Encloses `text` in the mark of `id` `count` times; CH_BRACKETS encloses in
// "(" and ")". No change when `count` < 1 or `id` names no character.
void WrapExpression(std::string& text, CharID id, int count);

// Makes `text` a string literal in the quote of `quote` (CH_SINGLE_QUOTE or
// CH_DOUBLE_QUOTE): each quote character of that kind inside is doubled,
// then the text is enclosed once, so the literal reads back as `text`.
void QuoteLiteral(std::string& text, CharID quote);

}  // namespace ExportUtil
