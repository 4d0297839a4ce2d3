// Number and date texts for rule text, and numbers and dates read from text:
// the number texts against the C library's own conversions (the test runs in
// the "C" locale) on random doubles, and the forms rule text relies on.
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <random>
#include <stdexcept>

#include "host/format.h"
#include "refhost/dates.h"
#include "refhost/numbertext.h"

namespace {

std::string Printf(char const* format, double value) {
  char buffer[400];
  std::snprintf(buffer, sizeof buffer, format, value);
  return buffer;
}

// What the header promises, spelled with printf and strtod.
std::string ShortestByPrintf(double value) {
  for (char const* f : {"%.15g", "%.16g"}) {
    if (std::strtod(Printf(f, value).c_str(), nullptr) == value) return Printf(f, value);
  }
  return Printf("%.17g", value);
}

std::string ExactByPrintf(double value) {
  int digits = 1;
  while (digits < 17 &&
         std::strtod(Printf(("%." + std::to_string(digits - 1) + "e").c_str(), value).c_str(),
                     nullptr) != value) {
    ++digits;
  }
  if (digits <= 15) return Printf("%.15g", value);
  return Printf(("%." + std::to_string(digits - 1) + "e").c_str(), value);
}

std::optional<double> StrtodWhole(std::string const& text) {
  char* end = nullptr;
  double const value = std::strtod(text.c_str(), &end);
  if (text.empty() || end != text.c_str() + text.size()) return std::nullopt;
  return value;
}

bool Same(std::optional<double> a, std::optional<double> b) {
  if (!a || !b) return !a && !b;
  if (std::isnan(*a) || std::isnan(*b)) return std::isnan(*a) && std::isnan(*b);
  return *a == *b && std::signbit(*a) == std::signbit(*b);
}

std::vector<double> Doubles() {
  std::vector<double> values = {0.0,      -0.0,     0.5,      2.5,     -3.5,     0.1 + 0.2,
                                1e-300,   4.9e-324, DBL_MIN,  DBL_MAX, -DBL_MAX, 1e21,
                                1e15,     1e16,     123456.5, 9.5e-5,  0.05,     39999.99999999999,
                                INFINITY, -INFINITY};
  std::mt19937_64 random(7);
  for (int i = 0; i < 3000; ++i) {
    std::uint64_t bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    if (!std::isnan(value)) values.push_back(value);
    values.push_back(static_cast<double>(static_cast<long>(random() % 2000000) - 1000000) / 64);
  }
  return values;
}

TEST(NumberText, AgreesWithTheCLibrary) {
  char const* const formats[] = {"%f",   "%.3f", "%.0f",  "%e",    "%.0e",  "%.12e", "%g",
                                 "%.0g", "%.1g", "%.17g", "%.16g", "%5.2f", "%+g",   "%.f"};
  for (double value : Doubles()) {
    SCOPED_TRACE(Printf("%.17g", value));
    for (char const* format : formats) {
      ASSERT_EQ(refhost::PrintfText(format, value), Printf(format, value)) << format;
    }
    ASSERT_EQ(refhost::ShortestText(value), ShortestByPrintf(value));
    ASSERT_EQ(refhost::ExactText(value), ExactByPrintf(value));
    if (std::isfinite(value) && std::fabs(value) < 9e18) {
      long const whole = static_cast<long>(value);
      ASSERT_EQ(refhost::IntegerText(whole), std::to_string(whole));
    }
    for (char const* format : {"%.17g", "%.3e", "%.0f", "%g", "%+.5e", "%E"}) {
      std::string const text = Printf(format, value);
      ASSERT_TRUE(Same(refhost::ParseDouble(text), StrtodWhole(text))) << text;
    }
  }
  EXPECT_EQ(refhost::IntegerText(LONG_MIN), "-9223372036854775808");
  EXPECT_EQ(refhost::ShortestText(std::nan("")), "nan");
  EXPECT_EQ(refhost::PrintfText("%f", -std::nan("")), "nan");
}

TEST(NumberText, ReadsTheWholeTextOrNothing) {
  for (char const* text :
       {"30.5",   "+1",      "-2e3",   ".5",     "5.",   "1e999", "-1e999",   "+1e999", "1E+999",
        "1e-999", "-1e-999", "1e-320", "inf",    "-inf", "+inf",  "infinity", "nan",    "-nan",
        "",       "+",       "-",      "+-1",    "-+1",  "++1",   "1e",       "1e+",    ".",
        "e5",     "1,5",     "abc",    "1e999x", "1x",   "--1"}) {
    EXPECT_TRUE(Same(refhost::ParseDouble(text), StrtodWhole(text))) << text;
  }
  // Unlike strtod: no blanks, no hexadecimal.
  for (char const* text : {" 1", "1 ", "\t1", "0x10", "0x1p3"}) {
    EXPECT_EQ(refhost::ParseDouble(text), std::nullopt) << text;
  }
}

TEST(Format, ExactTextForEnginesAndTheFormatOtherwise) {
  struct {
    double value;
    bool exact;
    char const* fmt;
    char const* text;
  } const cases[] = {
      {0.1 + 0.2, true, nullptr, "3.0000000000000004e-01"},
      {123456789012345.0, true, nullptr, "123456789012345"},
      {1e21, true, nullptr, "1e+21"},
      {-0.0, true, nullptr, "-0"},
      {2.5, true, "%.2f", "2.5"},  // exact text whatever the format
      {0.1 + 0.2, false, nullptr, "0.3"},
      {DBL_MAX, false, nullptr, "1.797693134862316e+308"},
      {0.75, false, "%f", "0.750000"},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(atg_800::Format(c.value, c.exact, c.fmt), c.text) << c.text << " exact=" << c.exact;
  }
  EXPECT_EQ(atg_800::Format(-42L), "-42");
}

// The host program's locale must not reach the text: "30.5", never "30,5".
TEST(Format, IgnoresTheProcessLocale) {
  char const* const commaLocales[] = {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"};
  std::string const previous = std::setlocale(LC_ALL, nullptr);
  bool switched = false;
  for (char const* name : commaLocales) switched = switched || std::setlocale(LC_ALL, name);
  if (!switched) GTEST_SKIP() << "no comma-decimal locale installed";
  EXPECT_EQ(atg_800::Format(30.5, true, nullptr), "30.5");
  EXPECT_EQ(atg_800::Format(0.8, false, "%f"), "0.800000");
  EXPECT_EQ(atg_800::Format(0.8, false, "%5.2f"), " 0.80");
  EXPECT_EQ(atg_800::Format(0.1 + 0.2, true, nullptr), "3.0000000000000004e-01");
  EXPECT_EQ(refhost::ParseDouble("30.5"), 30.5);
  EXPECT_EQ(refhost::ShortestText(2.5), "2.5");
  std::setlocale(LC_ALL, previous.c_str());
}

// 1970-01-01 is 141428 days after 1582-10-14.
double const kUnix = 141428.0 * 86400;

// Date texts both ways, then the texts that only one way gives.
TEST(Dates, IsoTextAndPlainNumbers) {
  EXPECT_EQ(refhost::kUnixEpochDateNumber, kUnix);
  struct {
    double value;
    char const* text;
  } const both[] = {
      {0, "1582-10-14"},
      {kUnix, "1970-01-01"},
      {kUnix + 86399, "1970-01-01 23:59:59"},
      {kUnix - 1, "1969-12-31 23:59:59"},
      {-49916217600.0, "0001-01-01"},
      {13171206600.0, "2000-02-29 12:30:00"},
      {kUnix - 25508.0 * 86400, "1900-03-01"},
  };
  for (auto const& c : both) {
    EXPECT_EQ(atg_800::FormatRulesDate(c.value, true), c.text);
    EXPECT_EQ(refhost::DateNumberFromIso(c.text), c.value) << c.text;
  }
  struct {
    double value;
    bool iso;
    char const* text;
  } const formatted[] = {
      {kUnix + 86399.6, true, "1970-01-02"},
      {kUnix, false, "12219379200"},
      {13171206600.5, false, "13171206600.5"},
      {2e15, true, "2000000000000000"},
      {INFINITY, true, "inf"},
  };
  for (auto const& c : formatted) {
    EXPECT_EQ(atg_800::FormatRulesDate(c.value, c.iso), c.text) << c.text;
  }
  EXPECT_EQ(refhost::DateNumberFromIso("2000-02-29T12:30:00"), 13171206600.0);
  for (char const* bad : {"", "1970-13-01", "2001-02-29", "1900-02-29", "1970-01-01 24:00:00",
                          "1970-01-01x", "1970-01-01 12:00", "01/02/1970"}) {
    EXPECT_THROW(refhost::DateNumberFromIso(bad), std::invalid_argument) << bad;
  }
  try {
    refhost::DateNumberFromIso("1970-02-30");
    ADD_FAILURE() << "no exception";
  } catch (std::invalid_argument const& e) {
    EXPECT_STREQ(e.what(), "not an ISO 8601 date: '1970-02-30'");
  }
  // Four hundred years around the epoch, including 1600, 1700 and 2000.
  for (long day = -30000; day < 116100; day += 1) {
    double const value = day * 86400.0 + (day % 7 == 0 ? 3723 : 0);
    ASSERT_EQ(refhost::DateNumberFromIso(refhost::IsoFromDateNumber(value)), value) << day;
  }
}

}  // namespace
