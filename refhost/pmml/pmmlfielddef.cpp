// A field's values: category codes by text, value texts as numbers (dates
// and booleans included), and the casts of derived fields.
#include <cmath>
#include <stdexcept>

#include "refhost/dates.h"
#include "refhost/pmml/pmmlinternal.h"

namespace refhost::pmml {

int FieldDef::CodeOf(std::string_view text) const {
  // A short list is searched in place, sparing a key string per lookup; the
  // first category with the text has it, as in the map.
  if (categories.size() <= 16) {
    for (std::size_t i = 0; i < categories.size(); ++i) {
      if (categories[i] == text) return static_cast<int>(i) + 1;
    }
  } else {
    auto const found = codeByText.find(std::string(text));
    if (found != codeByText.end()) return found->second;
  }
  if (kind == PmmlField::kString && !boolean) return 0;
  std::optional<double> const number = NumberOf(text);
  if (!number) return 0;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (numbers[i] == *number) return static_cast<int>(i) + 1;
  }
  return 0;
}

std::optional<double> FieldDef::NumberOf(std::string_view text) const {
  if (boolean) {
    std::string lower;
    for (char c : text) lower += static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    if (lower == "true" || lower == "1") return 1.0;
    if (lower == "false" || lower == "0") return 0.0;
    return ParseNumber(text);  // a threshold such as 0.5
  }
  if (kind == PmmlField::kNumber) return ParseNumber(text);
  if (kind == PmmlField::kDate) {
    try {
      return DateNumberFromIso(std::string(text));
    } catch (std::invalid_argument const&) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

void FieldDef::AddCategory(std::string const& text, double number) {
  categories.push_back(text);
  numbers.push_back(number);
  codeByText.emplace(text, static_cast<int>(categories.size()));
}

FieldDef const* Fields::Find(std::string const& name) const {
  auto const found = byName.find(name);
  return found == byName.end() ? nullptr : &defs[static_cast<std::size_t>(found->second)];
}

// A float cast rounds to the nearest 32-bit float (ties to even), as the
// machine does; an integer cast rounds to the nearest integer with halves
// going up, as PMML's round does.
double ApplyCasts(std::vector<Cast> const& casts, double x) {
  for (Cast cast : casts) {
    if (cast == Cast::kFloat) {
      x = static_cast<double>(static_cast<float>(x));
    } else if (cast == Cast::kInteger && std::isfinite(x)) {
      double const whole = std::floor(x);
      x = x - whole >= 0.5 ? whole + 1 : whole;
    }
  }
  return x;
}

}  // namespace refhost::pmml
