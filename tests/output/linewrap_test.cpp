// The VELD line wrapper: the documented examples and edge cases as tables,
// then its promises checked over many generated texts.
#include "output/linewrap.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <functional>
#include <random>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using TreeOut_800::IsInsideQuotes;
using TreeOut_800::VELDstrtrim;
using TreeOut_800::WrapString;

struct WrapCase {
  char const* name;
  unsigned long width;
  std::string text;
  std::string expected;
};

TEST(WrapString, WrapsAsDocumented) {
  const WrapCase kCases[] = {
      {"string cut and reopened, doubled quote kept whole", 12, "x EQ 'It''s a long label text'",
       "x EQ\n  'It''s a'+\n ' long'+\n ' label'+\n ' text'\n"},
      {"period kept off the end of a line", 10, "a = 1. + b", "a =\n  1. + b\n"},
      {"short text: trailing blanks, tabs, line feeds cut", 20, "x EQ 1  \n\t", "x EQ 1\n"},
      {"exactly width - 3 characters stay on one line", 8, "abcde", "abcde\n"},
      {"blanks only keep their first blank", 10, "    ", " \n"},
      {"empty text", 10, "", ""},
      {"double-quoted string cut", 12, "a = \"one two three\"",
       "a = \"one\"+\n \" two\"+\n \" three\"\n"},
      {"run without break characters cut at width - 3", 8, "abcdefghij", "abcde\n fghij\n"},
      {"forced cut moved back over quote characters", 8, "abcd''efg", "abc\n d''ef\n g\n"},
      {"forced cut inside a run of quotes only", 8, "''''''''", "''''''+\n ''''\n"},
      {"a run of quotes is not cut inside a doubled quote", 8, "x''''''''", "x''''+\n ''''''\n"},
      {"an exponent's sign stays with its number", 27, "x LE -6.574729923158884e-05 OR y",
       "x LE\n -6.574729923158884e-05\n  OR y\n"},
      {"** stays whole", 10, "aaaaa**bbbbb", "aaaaa**\n bbbbb\n"},
      {"/* stays whole", 10, "aaaaa/*bbbbb", "aaaaa/*\n bbbbb\n"},
      {"/* at the limit moves to the next line", 10, "aaaaaa/*bbbb", "aaaaaa\n /*bbbb\n"},
      {"after a period the break character stays on the line", 10, "ab. (cdefgh",
       "ab. (\n cdefgh\n"},
      {"a tab between the period and the break counts as a blank", 10, "ab.\t+cdefgh",
       "ab.\t+\n cdefgh\n"},
      {"&* stays whole", 10, "aaaa&*bbbbb", "aaaa&*\n bbbbb\n"},
      {"&/ stays whole", 10, "aaaa&/bbbbb", "aaaa&/\n bbbbb\n"},
      {"*/ stays whole", 10, "aaaa*/bbbbb", "aaaa*/\n bbbbb\n"},
      {"** after a period is not split", 10, "ab aa.**bbbb", "ab\n  aa.**\n bbbb\n"},
      {"/* after a period is not split", 10, "ab aa./*bbbb", "ab\n  aa./*\n bbbb\n"},
      {"*/ after a period is not split", 10, "ab aa.*/bbbb", "ab\n  aa.*/\n bbbb\n"},
      {"line feeds are ordinary characters", 10, "ab\ncd\nef gh", "ab\ncd\ne\n f gh\n"},
      {"text ends at its first NUL", 20, std::string("ab\0cd", 5), "ab\n"},
  };
  for (WrapCase const& c : kCases) {
    EXPECT_EQ(WrapString(c.text, c.width), c.expected) << c.name;
  }
}

TEST(VELDstrtrim, CutsTrailingSeparatorsButNeverTheFirstCharacter) {
  struct Case {
    char const* text;
    char const* expected;
  };
  const Case kCases[] = {
      {"abc \n\t", "abc"}, {"x   ", "x"},  {"   ", " "}, {" ", " "}, {"", ""},
      {"a b", "a b"},      {"\n\n", "\n"}, {"a\t", "a"},
  };
  for (Case const& c : kCases) {
    std::vector<char> buffer(c.text, c.text + std::strlen(c.text) + 1);
    VELDstrtrim(buffer.data());
    EXPECT_STREQ(buffer.data(), c.expected) << '"' << c.text << '"';
  }
}

TEST(IsInsideQuotes, FollowsTheQuoteState) {
  struct Case {
    char const* text;
    unsigned int length;
    char before;
    char after;
  };
  const Case kCases[] = {
      {"abc", 3, 0, 0},        {"abc", 0, '"', '"'},  // nothing scanned
      {"a 'b", 4, 0, '\''},                           // opens
      {"'b'", 3, 0, 0},                               // opens and closes
      {"x'", 2, '\'', 0},                             // closes a string open before
      {"'it''s", 6, 0, '\''},                         // doubled quote stays inside
      {"'it''", 5, 0, '\''},                          // doubled quote at the end
      {"'it''", 4, 0, 0},                             // second quote beyond length: closing
      {"\"it's\"", 6, 0, 0},                          // the other quote is ordinary inside
      {"\"it's", 5, 0, '"'},   {"'a\"b", 4, 0, '\''},
      {"ab\"\"", 4, '"', '"'},  // doubled double quote inside
  };
  for (Case const& c : kCases) {
    std::vector<char> buffer(c.text, c.text + std::strlen(c.text) + 1);
    EXPECT_EQ(IsInsideQuotes(c.length, buffer.data(), c.before), c.after)
        << c.text << " / " << c.length;
  }
}

bool IsQuoteChar(char c) { return c == '\'' || c == '"'; }
bool IsSeparatorChar(char c) { return c == ' ' || c == '\t' || c == '\n'; }

std::string RightTrimmed(std::string text) {
  while (text.size() > 1 && IsSeparatorChar(text.back())) text.pop_back();
  return text;
}

// state[i]: the quote open before text[i], 0 outside strings.
std::vector<char> StringStates(std::string const& text) {
  std::vector<char> state(text.size() + 1, 0);
  char open = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    state[i] = open;
    char const c = text[i];
    if (open == 0) {
      if (IsQuoteChar(c)) open = c;
    } else if (c == open) {
      if (i + 1 < text.size() && text[i + 1] == open) {
        state[++i] = open;
      } else {
        open = 0;
      }
    }
  }
  state[text.size()] = open;
  return state;
}

std::vector<std::string> Lines(std::string const& wrapped) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (start < wrapped.size()) {
    std::size_t end = wrapped.find('\n', start);
    if (end == std::string::npos) end = wrapped.size();
    lines.push_back(wrapped.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

bool IsTokenChar(std::string const& text, std::size_t i) {
  char const c = text[i];
  if (std::isalnum(static_cast<unsigned char>(c)) || std::strchr("._$#@", c) != nullptr)
    return true;
  // The sign of an exponent: "1.5e-05".
  return (c == '+' || c == '-') && i >= 2 && (text[i - 1] == 'e' || text[i - 1] == 'E') &&
         (std::isdigit(static_cast<unsigned char>(text[i - 2])) || text[i - 2] == '.');
}

// What a cut in front of text[cut] splits: "" when it falls between tokens;
// a number (digits, point, exponent and its sign) is never to be split, a
// name or keyword only when `wholeTokens`.
std::string SplitToken(std::string const& text, std::size_t cut, bool wholeTokens) {
  if (cut == 0 || cut >= text.size() || !IsTokenChar(text, cut - 1) || !IsTokenChar(text, cut)) {
    return "";
  }
  std::size_t start = cut - 1, end = cut;
  while (start > 0 && IsTokenChar(text, start - 1)) --start;
  while (end + 1 < text.size() && IsTokenChar(text, end + 1)) ++end;
  static std::regex const kNumber("[0-9]*\\.?[0-9]+([eE][+-]?[0-9]+)?|[0-9]+\\.");
  std::string const token = text.substr(start, end + 1 - start);
  if (std::regex_match(token, kNumber)) return "splits the number " + token;
  return wholeTokens ? "splits the name " + token : "";
}

// The first promise that `wrapped` (of `text`, without line feeds) breaks, or
// "": each line is a prefix ("", " ", or " " and the quote continuing a
// string), at most width - 3 characters of the text, and the quote and "+"
// when a string is open at its end; lines read back into the text up to
// trimmed blanks; a line ends at a break character and not in a period,
// unless cut at width - 3 or just before quote or number characters there;
// outside strings no cut splits a number (nor, with `wholeTokens`, a name).
std::string CheckLines(std::string const& text, std::string const& wrapped, unsigned long width,
                       bool wholeTokens = false) {
  std::string const input = RightTrimmed(text);
  if (input.empty()) return wrapped.empty() ? "" : "non-empty result for empty text";
  if (wrapped.empty() || wrapped.back() != '\n') return "result does not end with a line feed";
  std::vector<std::string> const lines = Lines(wrapped);
  std::vector<char> const states = StringStates(input);
  std::size_t const maxLen = width - 3;
  // Backtracks: a quote and "+" may close a string or end one of the text's,
  // and a line may have lost trailing separators.
  std::vector<std::size_t> starts;  // where each line's piece starts in the text
  std::set<std::pair<std::size_t, std::size_t>> failed;
  std::function<bool(std::size_t, std::size_t)> read = [&](std::size_t i, std::size_t pos) {
    if (i == lines.size()) return pos == input.size();
    if (failed.count({i, pos}) != 0) return false;
    std::string const& line = lines[i];
    for (std::size_t skip = 0; !line.empty() && pos + skip <= input.size(); ++skip) {
      if (skip > 0 && !IsSeparatorChar(input[pos + skip - 1])) break;
      std::size_t const start = pos + skip;
      char const open = states[start];
      std::string const prefix = i == 0      ? std::string()
                                 : open != 0 ? std::string(" ") + open
                                             : std::string(" ");
      if (line.compare(0, prefix.size(), prefix) != 0) continue;
      std::string const rest = line.substr(prefix.size());
      auto takes = [&](std::size_t length, char openAfter) {
        return length <= maxLen && start + length <= input.size() &&
               input.compare(start, length, rest, 0, length) == 0 &&
               states[start + length] == openAfter;
      };
      std::size_t const n = rest.size();
      starts.push_back(start);
      if (n >= 2 && rest[n - 1] == '+' && IsQuoteChar(rest[n - 2]) && takes(n - 2, rest[n - 2]) &&
          read(i + 1, start + n - 2)) {
        return true;
      }
      if (takes(n, 0) && read(i + 1, start + n)) return true;
      starts.pop_back();
    }
    failed.insert({i, pos});
    return false;
  };
  if (!read(0, 0)) return "the lines do not read back into the text";
  for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
    auto problem = [&](std::size_t cut) -> std::string {
      if (cut - starts[i] > maxLen) return "took too much";
      // No break found: cut at width - 3, or before quotes or number
      // characters there.
      bool forced = true;
      for (std::size_t k = cut + 1; k <= starts[i] + maxLen && k < input.size(); ++k) {
        forced = forced && (IsQuoteChar(input[k]) || std::strchr("0123456789.eE+-", input[k]));
      }
      if (states[cut] == 0) {
        std::string const split = SplitToken(input, cut, wholeTokens);
        if (!split.empty()) return split;
      }
      bool const inFront = std::strchr(" \t/+*-,()", input[cut]) != nullptr;
      bool const after = std::strchr("/+*-,()", input[cut - 1]) != nullptr;
      if (!inFront && !after && !forced) return "cut away from a break character";
      std::string taken = input.substr(starts[i], cut - starts[i]);
      while (taken.size() > 1 && (taken.back() == ' ' || taken.back() == '\t')) taken.pop_back();
      return taken.back() == '.' && states[cut] == 0 && !forced ? "ends in a period" : "";
    };
    // A line of blanks only was trimmed to its prefix: its piece may begin
    // anywhere in the blanks it covers.
    std::string const first = problem(starts[i + 1]);
    bool ok = first.empty();
    for (std::size_t cut = starts[i + 1]; !ok && lines[i + 1] == " " && i + 2 < starts.size() &&
                                          cut < starts[i + 2] && IsSeparatorChar(input[cut]);) {
      ok = problem(++cut).empty();
    }
    if (!ok) return "line " + std::to_string(i + 1) + " «" + lines[i] + "»: " + first;
  }
  return "";
}

// A VELD filter statement as the library writes it: conditions over names of
// up to `maxName` characters, numbers with exponents (or ending in a period),
// arithmetic, and strings with doubled quotes, now and then a long string or
// a run of quotes only.
std::string VeldStatement(std::mt19937& random, std::size_t maxName) {
  auto pick = [&](unsigned n) { return std::uniform_int_distribution<unsigned>(0, n - 1)(random); };
  auto digits = [&](unsigned n) {
    std::string text;
    while (n-- > 0) text += static_cast<char>('0' + pick(10));
    return text;
  };
  auto name = [&] {
    static char const kFirst[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ@";
    static char const kRest[] = "abcdefghijklmnopqrstuvwxyz0123456789._$#@E";
    std::string text(1, kFirst[pick(sizeof kFirst - 1)]);
    for (std::size_t n = pick(static_cast<unsigned>(maxName)); n > 0; --n) {
      text += kRest[pick(sizeof kRest - 1)];
    }
    if (text.back() == '.') text.back() = '_';
    return text;
  };
  auto number = [&] {
    switch (pick(5)) {
      case 0:
        return std::string(pick(2) ? "-" : "") + digits(1 + pick(3));
      case 1:
        return digits(1 + pick(3)) + ".";
      case 2:
        return digits(1 + pick(2)) + "." + digits(1 + pick(6));
      default:  // 16 or 17 significant digits need an exponent
        return std::string(pick(2) ? "-" : "") + digits(1) + "." + digits(15 + pick(2)) + "e" +
               (pick(2) ? "-" : "+") + digits(2 + pick(2));
    }
  };
  auto string = [&] {
    char const quote = pick(2) ? '"' : '\'';
    std::string text;
    switch (pick(6)) {
      case 0:  // a run of quotes only
        text = std::string(2 * (1 + pick(300)), quote);
        break;
      case 1:  // long, with and without blanks
        while (text.size() < 300) text += name() + (pick(3) ? "" : " ") + std::string(2, quote);
        break;
      default:
        text = name() + std::string(2, quote) + (pick(2) ? " " : "") + name();
    }
    return quote + text + quote;
  };
  auto clause = [&]() -> std::string {
    static char const* const kCompare[] = {" EQ ", " NE ", " GT ", " GE ", " LT ", " LE "};
    static char const* const kArithmetic[] = {" * ", "*", " / ", "/", " + ", " - ", " ** ", "**"};
    switch (pick(6)) {
      case 5:
        return "(" + name() + kArithmetic[pick(8)] + number() + kArithmetic[pick(8)] + name() +
               ")" + kCompare[pick(6)] + number();
      case 0:
        return "SYSMIS(" + name() + ")";
      case 1:
        return "~(SYSMIS(" + name() + "))";
      case 2:
        return name() + kCompare[pick(2)] + string();
      default:
        return "VALUE(" + name() + ")" + kCompare[pick(6)] + number();
    }
  };
  std::string condition = clause();
  for (std::size_t n = 1 + pick(60); n > 0; --n) {
    condition += pick(2) ? "  AND  " : " OR ";
    condition += pick(4) ? clause() : "(" + clause() + " OR " + clause() + ")";
  }
  // Its first line only: the checker reads lines back at their line feeds.
  return "COMPUTE filter_$ = (" + condition + ").";
}

// Statements as the library writes them: every cut outside strings falls
// between tokens, never inside a number, name or keyword; the lines read back
// into the statement; doubled quotes stay whole, also in runs of quotes
// longer than a line.
TEST(WrapString, KeepsVeldStatementsWhole) {
  struct Case {
    unsigned long width;
    std::size_t maxName;
    int count;
  };
  const Case kCases[] = {{256, 64, 300}, {40, 12, 300}};
  std::mt19937 random(2024);
  long exponentsNearCuts = 0;  // lines that end within a few characters of an exponent sign
  for (Case const& c : kCases) {
    for (int i = 0; i < c.count; ++i) {
      std::string const text = VeldStatement(random, c.maxName);
      std::string const wrapped = WrapString(text, c.width);
      ASSERT_EQ(CheckLines(text, wrapped, c.width, true), "")
          << "width " << c.width << ", text «" << text << "»\nwrapped:\n"
          << wrapped;
      for (std::string const& line : Lines(wrapped)) {
        std::size_t const e = line.find_last_of("eE");
        exponentsNearCuts += e != std::string::npos && e + 6 > line.size() &&
                             std::strchr("+-", line[std::min(e + 1, line.size() - 1)]);
      }
    }
  }
  EXPECT_GT(exponentsNearCuts, 20);
}

TEST(WrapString, CheckerRejectsWhatAFaultyWrapperWouldWrite) {
  // The checker must reject faulty wrappings.
  std::string const text = "x EQ 'It''s a long label text'";
  struct Case {
    char const* fault;
    std::string wrapped;
  };
  const Case kCases[] = {
      {"none", "x EQ\n  'It''s a'+\n ' long'+\n ' label'+\n ' text'\n"},
      {"string not closed", "x EQ\n  'It''s a\n ' long'+\n ' label'+\n ' text'\n"},
      {"string not reopened", "x EQ\n  'It''s a'+\n  long'+\n ' label'+\n ' text'\n"},
      {"character lost", "x EQ\n  'It''s a'+\n ' lng'+\n ' label'+\n ' text'\n"},
      {"line too long", "x EQ 'It''s a'+\n ' long'+\n ' label'+\n ' text'\n"},
      {"no prefix blank", "x EQ\n 'It''s a'+\n ' long'+\n ' label'+\n ' text'\n"},
      {"no final line feed", "x EQ\n  'It''s a'+\n ' long'+\n ' label'+\n ' text'"},
  };
  for (Case const& c : kCases) {
    bool const rejected = !CheckLines(text, c.wrapped, 12).empty();
    EXPECT_EQ(rejected, std::string(c.fault) != "none") << c.fault;
  }
  EXPECT_NE(CheckLines("a = 1. + b", "a = 1.\n  + b\n", 12), "");
}

}  // namespace
