// Messages and the texts of numbers and arrays.
#include <cmath>

#include "refhost/numbertext.h"
#include "refhost/pmml/pmmlinternal.h"

namespace refhost::pmml {

std::string Quote(std::string_view text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\n') {
      quoted += "\\n";
    } else if (c == '\r') {
      quoted += "\\r";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

std::optional<double> ParseNumber(std::string_view text) {
  auto const blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  if (text.empty()) return std::nullopt;
  std::optional<double> const value = ParseDouble(text);
  if (!value || !std::isfinite(*value)) return std::nullopt;
  return value;
}

void Fail(std::string_view element, long line, std::string const& what) {
  throw PmmlError(std::string(element) + " at line " + std::to_string(line) + ": " + what, line);
}

std::vector<std::string> ParseArray(std::string const& text, Where const& at,
                                    std::string const* n) {
  std::vector<std::string> tokens;
  std::size_t i = 0;
  auto const blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
  while (i < text.size()) {
    if (blank(text[i])) {
      ++i;
      continue;
    }
    std::string token;
    if (text[i] == '"') {
      ++i;
      bool closed = false;
      while (i < text.size()) {
        if (text[i] == '\\' && i + 1 < text.size() && text[i + 1] == '"') {
          token += '"';
          i += 2;
        } else if (text[i] == '"') {
          closed = true;
          ++i;
          break;
        } else {
          token += text[i++];
        }
      }
      if (!closed) at.Fail("quoted value without its closing quote");
    } else {
      while (i < text.size() && !blank(text[i])) token += text[i++];
    }
    tokens.push_back(std::move(token));
  }
  if (n != nullptr && ParseNumber(*n) != static_cast<double>(tokens.size())) {
    at.Fail("n=\"" + *n + "\" but it holds " + std::to_string(tokens.size()) + " values");
  }
  return tokens;
}

}  // namespace refhost::pmml
