#include "ruletext/exportutil.h"

namespace TreeOut_800 {

const char* const RulesStr[RS_COUNT + 1] = {
    "AND",          // RS_AND
    "OR",           // RS_OR
    ">=",           // RS_GE
    ">",            // RS_GT
    "<=",           // RS_LE
    "<",            // RS_LT
    "=",            // RS_EQ
    "!=",           // RS_NE
    "IS MISSING",   // RS_IS_MISSING
    "NOT MISSING",  // RS_NOT_MISSING
    "AND",          // RS_LOGICAL_AND
    "NOT",          // RS_LOGICAL_NOT
    "OR",           // RS_LOGICAL_OR
    "(",            // RS_LEFT_PAREN
    ")",            // RS_RIGHT_PAREN
    " ",            // RS_SPACE
    "\t",           // RS_TAB
    ">=",           // RS_SYM_GE
    "GE",           // RS_KW_GE
    ">",            // RS_SYM_GT
    "GT",           // RS_KW_GT
    "<=",           // RS_SYM_LE
    "LE",           // RS_KW_LE
    "<",            // RS_SYM_LT
    "LT",           // RS_KW_LT
    "=",            // RS_SYM_EQ
    "EQ",           // RS_KW_EQ
    "<>",           // RS_SYM_NE
    "NE",           // RS_KW_NE
    "~",            // RS_TILDE
    "SYSMIS",       // RS_SYSMIS
    " IS NULL",     // RS_IS_NULL
    "\n",           // RS_NEWLINE
    ".",            // RS_DOT
    "\"",           // RS_DOUBLE_QUOTE
    ",",            // RS_COMMA
    "'",            // RS_SINGLE_QUOTE
    "VALUE",        // RS_VALUE
    "MISSING",      // RS_MISSING
    nullptr,        // end of the table
};

}  // namespace TreeOut_800

namespace ExportUtil {

namespace {

using TreeOut_800::RulesStr;

// The pad put on one side of a text: CH_BRACKETS pads with a bracket.
std::string Mark(CharID id, CharID bracket) {
  return StringFromID(id == CH_BRACKETS ? bracket : id);
}

std::string Repeat(const std::string& text, int count) {
  std::string result;
  result.reserve(text.size() * static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

}  // namespace

std::string StringFromID(CharID id) {
  using namespace TreeOut_800;
  static const RulesStrID kEntries[] = {RS_SPACE,        RS_TAB,     RS_LEFT_PAREN,
                                        RS_RIGHT_PAREN,  RS_NEWLINE, RS_DOT,
                                        RS_DOUBLE_QUOTE, RS_COMMA,   RS_SINGLE_QUOTE};
  if (id < CH_SPACE || id > CH_SINGLE_QUOTE) return std::string();
  return RulesStr[kEntries[id - CH_SPACE]];
}

void LeftPadding(std::string& text, CharID id, int count) {
  const std::string pad = Mark(id, CH_LEFT_PAREN);
  if (pad.empty() || count < 1) return;
  if (pad.size() == 1) {
    text.insert(0, static_cast<size_t>(count), pad[0]);
  } else {
    text.insert(0, Repeat(pad, count));
  }
}

void RightPadding(std::string& text, CharID id, int count) {
  const std::string pad = Mark(id, CH_RIGHT_PAREN);
  if (pad.empty() || count < 1) return;
  if (pad.size() == 1) {
    text.append(static_cast<size_t>(count), pad[0]);
  } else {
    text += Repeat(pad, count);
  }
}

void WrapExpression(std::string& text, CharID id, int count) {
  // Enclosing count times in one mark is the same as padding each side count
  // times; room for both sides is made at once.
  if (count >= 1) text.reserve(text.size() + 2 * static_cast<size_t>(count));
  LeftPadding(text, id, count);
  RightPadding(text, id, count);
}

void QuoteLiteral(std::string& text, CharID quote) {
  const std::string mark = StringFromID(quote);
  if (mark.size() == 1 && text.find(mark[0]) != std::string::npos) {
    std::string doubled;
    doubled.reserve(text.size() + 8);
    for (char c : text) {
      doubled += c;
      if (c == mark[0]) doubled += c;
    }
    text = std::move(doubled);
  }
  WrapExpression(text, quote, 1);
}

}  // namespace ExportUtil
