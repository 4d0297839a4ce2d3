// Element lookup and error messages with line numbers.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "refhost/numbertext.h"
#include "refhost/pmml/pmmlinternal.h"

namespace refhost::pmml {

Doc::Doc(std::string const& text) {
  fnLineStarts.push_back(0);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n') fnLineStarts.push_back(i + 1);
  }
}

int Doc::Line(pugi::xml_node node) const {
  std::ptrdiff_t const offset = node.offset_debug();
  if (offset < 0) return 0;
  auto const it =
      std::upper_bound(fnLineStarts.begin(), fnLineStarts.end(), static_cast<std::size_t>(offset));
  return static_cast<int>(it - fnLineStarts.begin());
}

void Doc::Fail(pugi::xml_node node, std::string const& what) const {
  int const line = Line(node);
  throw PmmlError(Local(node) + " at line " + std::to_string(line) + ": " + what, line);
}

std::string Local(pugi::xml_node node) {
  char const* name = node.name();
  char const* colon = std::strchr(name, ':');
  return colon ? colon + 1 : name;
}

std::vector<pugi::xml_node> Children(pugi::xml_node node, char const* name) {
  std::vector<pugi::xml_node> found;
  for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
    if (child.type() == pugi::node_element && Local(child) == name) found.push_back(child);
  }
  return found;
}

pugi::xml_node FirstChild(pugi::xml_node node, char const* name) {
  for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
    if (child.type() == pugi::node_element && Local(child) == name) return child;
  }
  return pugi::xml_node();
}

std::optional<double> ParseNumber(std::string const& text) {
  char const* begin = text.c_str();
  while (*begin == ' ' || *begin == '\t' || *begin == '\n' || *begin == '\r') ++begin;
  if (*begin == '\0') return std::nullopt;
  char const* end = text.c_str() + text.size();
  while (end > begin && (end[-1] == ' ' || end[-1] == '\t' || end[-1] == '\n' || end[-1] == '\r'))
    --end;
  std::optional<double> const value = ParseDouble(std::string_view(begin, end - begin));
  if (!value || !std::isfinite(*value)) return std::nullopt;
  return value;
}

std::string Quote(std::string const& text) { return "'" + text + "'"; }

}  // namespace refhost::pmml

namespace refhost::pmml {

std::vector<std::string> ParseArray(Doc const& doc, pugi::xml_node array) {
  std::string const text = array.child_value();
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
      if (!closed) doc.Fail(array, "quoted value without its closing quote");
    } else {
      while (i < text.size() && !blank(text[i])) token += text[i++];
    }
    tokens.push_back(std::move(token));
  }
  pugi::xml_attribute const n = array.attribute("n");
  if (n && ParseNumber(n.value()) != static_cast<double>(tokens.size())) {
    doc.Fail(array, "n=\"" + std::string(n.value()) + "\" but it holds " +
                        std::to_string(tokens.size()) + " values");
  }
  return tokens;
}

}  // namespace refhost::pmml
