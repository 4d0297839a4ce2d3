#include "ruletext/convutils.h"

#include <cstdio>

namespace {

// Formats one value with `format`, sizing the text first so that nothing is
// cut: "%f" of the largest doubles runs to over 300 characters.
template <typename T>
std::string Format(const char* format, T value) {
  const int length = std::snprintf(nullptr, 0, format, value);
  if (length <= 0) return std::string();
  std::string text(static_cast<size_t>(length) + 1, '\0');
  std::snprintf(&text[0], text.size(), format, value);
  text.resize(static_cast<size_t>(length));
  return text;
}

}  // namespace

std::string ToString(double value) { return Format("%f", value); }

std::string ToString(int value) { return Format("%d", value); }
