// Built on std::to_chars / std::from_chars, which the standard defines as the
// "C" locale's printf and strtod. Conversions to_chars cannot express (a
// width, flags) fall back to snprintf under a private "C" locale object.
#include "refhost/numbertext.h"

#include <locale.h>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <system_error>

namespace refhost {
namespace {

// Room for "%f" of DBL_MAX: 309 digits, the point, 6 decimals and a sign.
constexpr std::size_t kBufferSize = 400;

std::string ToChars(double value, std::chars_format form) {
  char buffer[kBufferSize];
  auto const result = std::to_chars(buffer, buffer + sizeof buffer, value, form);
  return std::string(buffer, result.ptr);
}

std::string ToChars(double value, std::chars_format form, int precision) {
  char buffer[kBufferSize];
  auto const result = std::to_chars(buffer, buffer + sizeof buffer, value, form, precision);
  if (result.ec != std::errc()) return ToChars(value, form);
  return std::string(buffer, result.ptr);
}

// printf writes "inf"/"nan" where to_chars does too, but never "-nan".
std::string NonFinite(double value) {
  if (std::isnan(value)) return "nan";
  return value < 0 ? "-inf" : "inf";
}

// The number of significant digits of the shortest round-trip text.
int ShortestDigits(double value) {
  std::string const text = ToChars(value, std::chars_format::scientific);
  int digits = 0;
  for (char c : text) {
    if (c == 'e') break;
    if (c >= '0' && c <= '9') ++digits;
  }
  return digits;
}

// snprintf with the "C" locale current on this thread only, for the
// conversions that to_chars has no form for.
std::string PrintfInCLocale(char const* format, double value) {
  locale_t const c = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
  locale_t const previous = uselocale(c);
  int const length = std::snprintf(nullptr, 0, format, value);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  if (length > 0) std::snprintf(&text[0], text.size() + 1, format, value);
  uselocale(previous);
  freelocale(c);
  return text;
}

}  // namespace

std::string ShortestText(double value) {
  if (!std::isfinite(value)) return NonFinite(value);
  int const digits = ShortestDigits(value);
  return ToChars(value, std::chars_format::general, digits < 15 ? 15 : digits);
}

std::string ExactText(double value) {
  if (!std::isfinite(value)) return NonFinite(value);
  int const digits = ShortestDigits(value);
  if (digits <= 15) return ToChars(value, std::chars_format::general, 15);
  return ToChars(value, std::chars_format::scientific, digits - 1);
}

std::string PrintfText(char const* format, double value) {
  // "%[.N]c" with c one of f, e, g maps onto to_chars; anything else goes to
  // snprintf.
  std::size_t const length = std::strlen(format);
  if (length >= 2 && format[0] == '%') {
    char const conversion = format[length - 1];
    std::string_view const middle(format + 1, length - 2);
    int precision = 6;
    bool plain = middle.empty();
    if (!plain && middle[0] == '.') {
      auto const [end, ec] =
          std::from_chars(middle.data() + 1, middle.data() + middle.size(), precision);
      plain = ec == std::errc() && end == middle.data() + middle.size() && middle.size() > 1;
    }
    std::chars_format form{};
    bool const known = conversion == 'f' || conversion == 'e' || conversion == 'g';
    if (conversion == 'f') form = std::chars_format::fixed;
    if (conversion == 'e') form = std::chars_format::scientific;
    if (conversion == 'g') form = std::chars_format::general;
    if (plain && known) {
      if (!std::isfinite(value)) return NonFinite(value);
      if (conversion == 'g' && precision == 0) precision = 1;
      return ToChars(value, form, precision);
    }
  }
  return PrintfInCLocale(format, value);
}

std::string IntegerText(long value) {
  char buffer[24];
  auto const result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::optional<double> ParseDouble(std::string_view text) {
  char const* begin = text.data();
  char const* const end = text.data() + text.size();
  // from_chars takes no leading '+', which strtod and people do.
  if (begin != end && *begin == '+' && end - begin > 1 && begin[1] != '-') ++begin;
  double value = 0;
  auto const result = std::from_chars(begin, end, value);
  if (result.ec == std::errc::result_out_of_range) {
    // Overflow reads as infinity, underflow as zero, as strtod reads them.
    bool const huge = [&] {
      char const* e = begin;
      while (e != end && *e != 'e' && *e != 'E') ++e;
      return e == end || e + 1 == end || e[1] != '-';
    }();
    bool const negative = *begin == '-';
    value = huge ? HUGE_VAL : 0.0;
    if (negative) value = -value;
    return result.ptr == end ? std::optional<double>(value) : std::nullopt;
  }
  if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
  return value;
}

}  // namespace refhost
