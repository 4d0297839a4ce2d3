// Line wrapping of VELD text.
//
// The wrapper works on one writable, trimmed copy of the text and one line
// buffer of width + 4 characters, reused for every line. Each line takes at
// most maxLen = width - 3 characters of the text, after a prefix: nothing on
// the first line, " " on later ones, " " and the quote on a line that
// continues a string. Where the line ends is found by looking back from
// maxLen for a break character:
//   - break in front of it when the last non-blank character before it is
//     not "." (and "*" or "/" is not glued to a preceding "*", "&" or "/");
//   - else break after it, unless it is a blank or tab, stands at maxLen, or
//     opens or closes one of the tokens "**", "*/", "/*";
//   - never where that splits a number (digits, point, exponent letter and
//     its sign are one token, so "1e-05" never breaks at its "-");
//   - with no break at all, cut at maxLen, moved back so that the next piece
//     does not start with a quote character and no number is split, and
//     never between the two quotes of a doubled quote.
// A line that ends inside a string gets the quote and "+" appended, so that
// the pieces join into the same literal. Each line is trimmed and appended to
// the result with a line feed.
#include "output/linewrap.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace TreeOut_800 {

namespace {

// The characters VELDstrtrim cuts, and the quote characters.
const std::string SEPARATORS = " \t\n";
const std::string QUOTES = "\"'";

struct FreeDeleter {
  void operator()(char* p) const { std::free(p); }
};
using CBuffer = std::unique_ptr<char, FreeDeleter>;

// Each character of the text is tested, so by comparison rather than a search.
bool IsSeparator(char c) { return c == SEPARATORS[0] || c == SEPARATORS[1] || c == SEPARATORS[2]; }
bool IsQuote(char c) { return c == QUOTES[0] || c == QUOTES[1]; }
bool IsBlankOrTab(char c) { return c == ' ' || c == '\t'; }
bool IsBreakChar(char c) { return c != '\0' && std::strchr(" \t/+*-,()", c) != nullptr; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsWordChar(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || IsDigit(c) ||
         (c != '\0' && std::strchr("._$#@", c) != nullptr);
}
// Whether s[i] is the sign of an exponent: "+" or "-" after the "e" or "E"
// that follows a digit or point.
bool IsExponentSign(char const* s, unsigned long i) {
  return (s[i] == '+' || s[i] == '-') && i >= 2 && (s[i - 1] == 'e' || s[i - 1] == 'E') &&
         (IsDigit(s[i - 2]) || s[i - 2] == '.');
}

// Whether cutting `s` in front of s[cut] (cut >= 1) splits a number: the
// token around the cut, from its start through s[cut], reads as the start of
// a number (digits, an optional point and digits, an optional exponent letter,
// sign and digits). A token that starts with a letter is a name.
bool SplitsNumber(char const* s, unsigned long cut) {
  if (!(IsWordChar(s[cut - 1]) || IsExponentSign(s, cut - 1))) return false;
  unsigned long start = cut - 1;
  while (start > 0 && (IsWordChar(s[start - 1]) || IsExponentSign(s, start - 1))) --start;
  enum { kInteger, kFraction, kExponentLetter, kExponentSign, kExponent } part = kInteger;
  if (!IsDigit(s[start]) && !(s[start] == '.' && IsDigit(s[start + 1]))) return false;
  for (unsigned long i = start; i <= cut; ++i) {
    char const c = s[i];
    if (IsDigit(c)) {
      if (part == kExponentLetter || part == kExponentSign) part = kExponent;
    } else if (c == '.' && part == kInteger) {
      part = kFraction;
    } else if ((c == 'e' || c == 'E') && (part == kInteger || part == kFraction)) {
      part = kExponentLetter;
    } else if ((c == '+' || c == '-') && part == kExponentLetter) {
      part = kExponentSign;
    } else {
      return false;
    }
  }
  return true;
}

// Whether cutting `s` in front of s[cut] falls between the two quotes of a
// doubled quote, `quote` being the string open before s[0].
bool SplitsDoubledQuote(char const* s, unsigned long cut, char quote) {
  for (unsigned long i = 0; i < cut; ++i) {
    if (!IsQuote(s[i])) continue;
    if (quote == 0) {
      quote = s[i];
    } else if (s[i] == quote) {
      if (s[i + 1] != quote) {
        quote = 0;
      } else if (++i == cut) {
        return true;
      }
    }
  }
  return false;
}

// Number of characters of `s` (more than maxLen remain) that the next line
// takes; `quote` is the string open before s[0].
unsigned long FindBreak(char const* s, unsigned long maxLen, char quote) {
  for (unsigned long pos = maxLen; pos >= 1; --pos) {
    char const c = s[pos];
    if (!IsBreakChar(c)) continue;
    unsigned long k = pos - 1;
    while (k > 0 && IsBlankOrTab(s[k])) --k;
    char const last = s[k];  // last non-blank before c, or s[0]
    char const prev = s[pos - 1];
    if (last != '.' && !SplitsNumber(s, pos)) {
      if (c != '*' && c != '/') return pos;
      if (c == '*' && prev != '*' && prev != '&' && prev != '/') return pos;
      if (c == '/' && prev != '&' && prev != '*') return pos;
    }
    // Keep c on this line instead, where that splits no token.
    if (pos == maxLen || IsBlankOrTab(c) || SplitsNumber(s, pos + 1)) continue;
    char const next = s[pos + 1];
    if (c == '*' && (next == '*' || next == '/')) continue;
    if (c == '/' && next == '*') continue;
    return pos + 1;
  }
  // No break character: cut as late as possible where the next piece does
  // not start with a quote and no number outside a string is split; failing
  // that, anywhere but inside a doubled quote.
  std::string open(maxLen + 2, '\0');  // open[i]: the string open before s[i]
  for (unsigned long i = 0; i <= maxLen; ++i) {
    open[i] = quote;
    if (!IsQuote(s[i])) continue;
    if (quote == 0) {
      quote = s[i];
    } else if (s[i] == quote && s[i + 1] == quote) {
      open[++i] = quote;  // a doubled quote stays inside the string
    } else if (s[i] == quote) {
      quote = 0;
    }
  }
  for (unsigned long count = maxLen; count > 0; --count) {
    if (IsQuote(s[count])) continue;
    if (open[count] == 0 && SplitsNumber(s, count)) continue;
    return count;
  }
  return SplitsDoubledQuote(s, maxLen, open[0]) ? maxLen - 1 : maxLen;
}

}  // namespace

void VELDstrtrim(char* text) {
  std::size_t n = std::strlen(text);
  if (n < 2) return;
  while (n > 1 && IsSeparator(text[n - 1])) text[--n] = '\0';
}

char IsInsideQuotes(unsigned int length, char* text, char quote) {
  char state = quote;
  for (unsigned int i = 0; i < length; ++i) {
    char const c = text[i];
    if (!IsQuote(c)) continue;
    if (state == 0) {
      state = c;
    } else if (c == state) {
      if (i + 1 < length && text[i + 1] == state) {
        ++i;  // a doubled quote: one quote character inside the string
      } else {
        state = 0;
      }
    }
  }
  return state;
}

std::string WrapString(std::string const& text, unsigned long width) {
  std::string result;
  std::size_t const textLength = std::strlen(text.c_str());
  CBuffer copy(static_cast<char*>(std::malloc(textLength + 1)));
  CBuffer line(static_cast<char*>(std::malloc(width + 4)));
  if (!copy || !line) return result;
  std::memcpy(copy.get(), text.c_str(), textLength + 1);
  VELDstrtrim(copy.get());

  unsigned long const maxLen = width - 3;
  char* src = copy.get();
  std::size_t remaining = std::strlen(src);
  result.reserve(remaining + remaining / maxLen * 4 + 8);
  char quote = 0;
  bool first = true;
  while (remaining > 0) {
    char* out = line.get();
    std::size_t used = 0;
    if (quote != 0) {
      out[used++] = ' ';
      out[used++] = quote;
    } else if (!first) {
      out[used++] = ' ';
    }
    out[used] = '\0';
    first = false;

    if (remaining <= maxLen) {
      std::strncat(out + used, src, remaining);
      VELDstrtrim(out);
      result += out;
      result += '\n';
      break;
    }
    unsigned long const count = FindBreak(src, maxLen, quote);
    std::memcpy(out + used, src, count);
    used += count;
    quote = IsInsideQuotes(static_cast<unsigned int>(count), src, quote);
    if (quote != 0) {
      out[used++] = quote;  // close the string here; the next line reopens it
      out[used++] = '+';
    }
    out[used] = '\0';
    VELDstrtrim(out);
    result += out;
    result += '\n';
    src += count;
    remaining -= count;
  }
  return result;
}

}  // namespace TreeOut_800
