// The VELD line wrapper: its behaviour as a table, then its promises checked
// over many generated statements.
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

using TreeOut_800::WrapString;

TEST(WrapString, WrapsAsDocumented) {
  struct Case {
    char const* name;
    unsigned long width;
    std::string text, expected;
  } const kCases[] = {
      {"string cut and reopened, doubled quote kept whole", 12, "x EQ 'It''s a long label text'",
       "x EQ\n  'It''s a'+\n ' long'+\n ' label'+\n ' text'\n"},
      {"double-quoted string cut", 12, "a = \"one two three\"",
       "a = \"one\"+\n \" two\"+\n \" three\"\n"},
      {"period kept off the end of a line", 10, "a = 1. + b", "a =\n  1. + b\n"},
      {"short text: trailing blanks, tabs, line feeds cut", 20, "x EQ 1  \n\t", "x EQ 1\n"},
      {"exactly width - 3 characters stay on one line", 8, "abcde", "abcde\n"},
      {"blanks only keep their first blank", 10, "    ", " \n"},
      {"empty text", 10, "", ""},
      {"text ends at its first NUL", 20, std::string("ab\0cd", 5), "ab\n"},
      {"line feeds are ordinary characters", 10, "ab\ncd\nef gh", "ab\ncd\ne\n f gh\n"},
      {"no break character: cut at width - 3", 8, "abcdefghij", "abcde\n fghij\n"},
      {"forced cut moved back over quote characters", 8, "abcd''efg", "abc\n d''ef\n g\n"},
      {"forced cut inside a run of quotes only", 8, "''''''''", "''''''+\n ''''\n"},
      {"a run of quotes is not cut inside a doubled quote", 8, "x''''''''", "x''''+\n ''''''\n"},
      {"an exponent's sign stays with its number", 27, "x LE -6.574729923158884e-05 OR y",
       "x LE\n -6.574729923158884e-05\n  OR y\n"},
      {"after a period the break character stays on the line", 10, "ab. (cdefgh",
       "ab. (\n cdefgh\n"},
      {"a tab between the period and the break counts as a blank", 10, "ab.\t+cdefgh",
       "ab.\t+\n cdefgh\n"},
      {"** stays whole", 10, "aaaaa**bbbbb", "aaaaa**\n bbbbb\n"},
      {"/* at the limit moves to the next line", 10, "aaaaaa/*bbbb", "aaaaaa\n /*bbbb\n"},
      {"&* stays whole", 10, "aaaa&*bbbbb", "aaaa&*\n bbbbb\n"},
      {"&/ stays whole", 10, "aaaa&/bbbbb", "aaaa&/\n bbbbb\n"},
      {"*/ stays whole", 10, "aaaa*/bbbbb", "aaaa*/\n bbbbb\n"},
      {"** after a period is not split", 10, "ab aa.**bbbb", "ab\n  aa.**\n bbbb\n"},
      {"/* after a period is not split", 10, "ab aa./*bbbb", "ab\n  aa./*\n bbbb\n"},
      {"*/ after a period is not split", 10, "ab aa.*/bbbb", "ab\n  aa.*/\n bbbb\n"},
  };
  for (auto const& c : kCases) EXPECT_EQ(WrapString(c.text, c.width), c.expected) << c.name;
}

bool IsQuote(char c) { return c == '\'' || c == '"'; }
bool IsSeparator(char c) { return c == ' ' || c == '\t' || c == '\n'; }
bool IsTokenChar(std::string const& text, std::size_t i) {
  char const c = text[i];
  if (std::isalnum(static_cast<unsigned char>(c)) || std::strchr("._$#@", c) != nullptr)
    return true;
  // The sign of an exponent: "1.5e-05".
  return (c == '+' || c == '-') && i >= 2 && (text[i - 1] == 'e' || text[i - 1] == 'E') &&
         (std::isdigit(static_cast<unsigned char>(text[i - 2])) || text[i - 2] == '.');
}

// open[i]: the quote of the string open before text[i], 0 outside strings.
std::string OpenQuotes(std::string const& text) {
  std::string open(text.size() + 1, '\0');
  char quote = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    open[i] = quote;
    if (quote == 0 && IsQuote(text[i])) {
      quote = text[i];
    } else if (text[i] == quote && i + 1 < text.size() && text[i + 1] == quote) {
      open[++i] = quote;
    } else if (text[i] == quote) {
      quote = 0;
    }
  }
  open[text.size()] = quote;
  return open;
}

// The first promise that `wrapped` breaks, or "": each line is a prefix (""
// first, then " ", or " " and the quote continuing a string) and at most
// width - 3 characters of the text, then the quote and "+" when a string is
// open there; the lines read back into the text up to separators trimmed at
// their ends; outside strings no cut falls inside a token (a name, keyword
// or number with its exponent sign).
std::string CheckLines(std::string const& text, std::string const& wrapped, unsigned long width) {
  std::vector<std::string> lines;
  for (std::size_t start = 0, end; start < wrapped.size(); start = end + 1) {
    end = wrapped.find('\n', start);
    if (end == std::string::npos) return "no final line feed";
    lines.push_back(wrapped.substr(start, end - start));
  }
  std::string const open = OpenQuotes(text);
  std::set<std::pair<std::size_t, std::size_t>> failed;
  std::vector<std::size_t> cuts;
  // Reads line i from text[pos] on; a line may start after separators that
  // the line before lost, and a quote and "+" may close a string or end one.
  std::function<bool(std::size_t, std::size_t)> read = [&](std::size_t i, std::size_t pos) {
    if (i == lines.size()) return text.find_first_not_of(" \t\n", pos) == std::string::npos;
    if (!failed.insert({i, pos}).second) return false;
    for (std::size_t start = pos; start <= text.size(); ++start) {
      std::string const prefix = i == 0 ? "" : open[start] ? std::string(" ") + open[start] : " ";
      std::string const& line = lines[i];
      if (line.compare(0, prefix.size(), prefix) == 0) {
        std::string const rest = line.substr(prefix.size());
        std::size_t const n = rest.size();
        for (bool suffix : {true, false}) {
          std::size_t const length = suffix ? n - 2 : n;
          if ((suffix && (n < 2 || rest[n - 1] != '+' || !IsQuote(rest[n - 2]))) ||
              length > width - 3 || text.compare(start, length, rest, 0, length) != 0 ||
              open[start + length] != (suffix ? rest[n - 2] : 0)) {
            continue;
          }
          cuts.push_back(start + length);
          if (read(i + 1, start + length)) return true;
          cuts.pop_back();
        }
      }
      if (start == text.size() || !IsSeparator(text[start]) || i == 0) break;
    }
    return false;
  };
  if (!read(0, 0)) return "the lines do not read back into the text";
  for (std::size_t cut : cuts) {
    if (cut > 0 && cut < text.size() && open[cut] == 0 && IsTokenChar(text, cut - 1) &&
        IsTokenChar(text, cut)) {
      return "cut inside a token at " + std::to_string(cut);
    }
  }
  return "";
}

// A VELD filter statement as the library writes it: comparisons of names of
// up to `maxName` characters with numbers (some with exponents, some ending
// in a period), arithmetic, and strings with doubled quotes, now and then a
// long string or a run of quotes only.
std::string VeldStatement(std::mt19937& random, std::size_t maxName) {
  auto pick = [&](unsigned n) { return std::uniform_int_distribution<unsigned>(0, n - 1)(random); };
  auto digits = [&](unsigned n) {
    std::string text;
    while (n-- > 0) text += static_cast<char>('0' + pick(10));
    return text;
  };
  auto name = [&] {
    std::string text(1, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ@"[pick(53)]);
    for (std::size_t n = pick(static_cast<unsigned>(maxName)); n > 0; --n) {
      text += "abcdefghijklmnopqrstuvwxyz0123456789._$#@E"[pick(42)];
    }
    if (text.back() == '.') text.back() = '_';
    return text;
  };
  auto number = [&] {
    switch (pick(4)) {
      case 0:
        return std::string(pick(2) ? "-" : "") + digits(1 + pick(3));
      case 1:
        return digits(1 + pick(3)) + "." + (pick(2) ? digits(1 + pick(6)) : "");
      default:  // 16 or 17 significant digits need an exponent
        return std::string(pick(2) ? "-" : "") + digits(1) + "." + digits(15 + pick(2)) + "e" +
               (pick(2) ? "-" : "+") + digits(2 + pick(2));
    }
  };
  auto string = [&] {
    char const quote = pick(2) ? '"' : '\'';
    std::string text;
    if (pick(6) == 0) {
      text = std::string(2 * (1 + pick(300)), quote);  // a run of quotes only
    } else {
      do {
        text += name() + (pick(3) ? "" : " ") + std::string(2, quote);
      } while (pick(6) == 0 && text.size() < 300);
    }
    return quote + text + quote;
  };
  auto clause = [&]() -> std::string {
    static char const* const kCompare[] = {" EQ ", " NE ", " GT ", " GE ", " LT ", " LE "};
    static char const* const kArithmetic[] = {" * ", "*", " / ", "/", " + ", " - ", " ** ", "**"};
    switch (pick(5)) {
      case 0:
        return "(" + name() + kArithmetic[pick(8)] + number() + kArithmetic[pick(8)] + name() +
               ")" + kCompare[pick(6)] + number();
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
  return "COMPUTE filter_$ = (" + condition + ").";
}

TEST(WrapString, KeepsVeldStatementsWhole) {
  std::mt19937 random(2024);
  for (auto const& [width, maxName] : {std::pair<unsigned long, std::size_t>{256, 64}, {40, 12}}) {
    for (int i = 0; i < 300; ++i) {
      std::string const text = VeldStatement(random, maxName);
      std::string const wrapped = WrapString(text, width);
      ASSERT_EQ(CheckLines(text, wrapped, width), "")
          << "width " << width << ", text «" << text << "»\nwrapped:\n"
          << wrapped;
    }
  }
}

}  // namespace
