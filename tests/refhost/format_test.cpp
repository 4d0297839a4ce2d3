// Number and date texts for rule text, and date numbers read from ISO text.
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

TEST(Format, Integers) {
  EXPECT_EQ(atg_800::Format(0L), "0");
  EXPECT_EQ(atg_800::Format(-42L), "-42");
  EXPECT_EQ(atg_800::Format(LONG_MIN), "-9223372036854775808");
}

TEST(Format, Numbers) {
  struct {
    double value;
    bool exact;
    char const* fmt;
    char const* text;
  } const cases[] = {
      {0.3, true, nullptr, "0.3"},
      {0.3, false, nullptr, "0.3"},
      {0.1 + 0.2, true, nullptr, "3.0000000000000004e-01"},
      {0.024511689320206642, true, nullptr, "2.4511689320206642e-02"},
      {39999.99999999999, true, nullptr, "3.999999999999999e+04"},
      {1e-300, true, nullptr, "1e-300"},
      {123456789012345.0, true, nullptr, "123456789012345"},
      {0.1 + 0.2, false, nullptr, "0.3"},
      {DBL_MAX, true, nullptr, "1.7976931348623157e+308"},
      {0.75, false, "%f", "0.750000"},
      {DBL_MAX, false, nullptr, "1.797693134862316e+308"},
      {-DBL_MAX, true, nullptr, "-1.7976931348623157e+308"},
      {-DBL_MAX, false, "%.16g", "-1.797693134862316e+308"},
      {30.0, true, nullptr, "30"},
      {1e21, true, nullptr, "1e+21"},
      {-0.0, true, nullptr, "-0"},
      {2.5, false, "%.2f", "2.50"},
      {2.5, true, "%.2f", "2.5"},  // exact text whatever the format
      {INFINITY, true, nullptr, "inf"},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(atg_800::Format(c.value, c.exact, c.fmt), c.text) << c.text << " exact=" << c.exact;
  }
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
  EXPECT_EQ(atg_800::Format(0.1 + 0.2, true, nullptr), "3.0000000000000004e-01");
  EXPECT_EQ(refhost::ParseDouble("30.5"), 30.5);
  EXPECT_EQ(refhost::ShortestText(2.5), "2.5");
  std::setlocale(LC_ALL, previous.c_str());
}

TEST(ParseDouble, WholeTextOrNothing) {
  struct {
    char const* text;
    std::optional<double> value;
  } const cases[] = {
      {"30.5", 30.5},       {"+1", 1.0},           {"-2e3", -2000.0},     {".5", 0.5},
      {"1e999", HUGE_VAL},  {"1e-999", 0.0},       {"", std::nullopt},    {" 1", std::nullopt},
      {"1 ", std::nullopt}, {"1,5", std::nullopt}, {"abc", std::nullopt}, {"+-1", std::nullopt},
  };
  for (auto const& c : cases) EXPECT_EQ(refhost::ParseDouble(c.text), c.value) << c.text;
  EXPECT_EQ(refhost::ShortestText(0.1 + 0.2), "0.30000000000000004");
  EXPECT_EQ(refhost::ShortestText(100000), "100000");
}

TEST(Format, WideFormatsDoNotTruncate) {
  std::string const text = atg_800::Format(DBL_MAX, false, "%f");
  EXPECT_EQ(text.size(), 309u + 7u);  // 309 digits, then ".000000"
  EXPECT_EQ(text.compare(0, 17, "17976931348623157"), 0);
  EXPECT_EQ(std::strtod(text.c_str(), nullptr), DBL_MAX);
}

TEST(Format, ExactTextReadsBackAsTheSameDouble) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 20000; ++i) {
    std::uint64_t bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    if (!std::isfinite(value)) continue;
    std::string const text = atg_800::Format(value, true, nullptr);
    ASSERT_EQ(std::strtod(text.c_str(), nullptr), value) << text;
    ASSERT_LE(text.size(), 24u) << text;
  }
}

// 1970-01-01 is 141428 days after 1582-10-14.
double const kUnix = 141428.0 * 86400;

TEST(FormatRulesDate, IsoTextAndPlainNumbers) {
  EXPECT_EQ(refhost::kUnixEpochDateNumber, kUnix);
  struct {
    double value;
    bool iso;
    char const* text;
  } const cases[] = {
      {0, true, "1582-10-14"},
      {kUnix, true, "1970-01-01"},
      {kUnix + 86399, true, "1970-01-01 23:59:59"},
      {kUnix - 1, true, "1969-12-31 23:59:59"},
      {kUnix - 86400 * 365, true, "1969-01-01"},
      {-86400, true, "1582-10-13"},
      {-49916217600.0, true, "0001-01-01"},
      {13171206600.0, true, "2000-02-29 12:30:00"},
      {kUnix + 0.4, true, "1970-01-01"},
      {kUnix + 86399.6, true, "1970-01-02"},
      {kUnix, false, "12219379200"},
      {13171206600.5, false, "13171206600.5"},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(atg_800::FormatRulesDate(c.value, c.iso), c.text) << c.text;
  }
}

TEST(DateNumberFromIso, ReadsDatesAndTimes) {
  struct {
    char const* text;
    double value;
  } const cases[] = {
      {"1970-01-01", kUnix},
      {"1582-10-14", 0},
      {"2000-02-29 12:30:00", 13171206600.0},
      {"2000-02-29T12:30:00", 13171206600.0},
      {"0001-01-01", -49916217600.0},
      {"1900-03-01", kUnix - 25508.0 * 86400},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(refhost::DateNumberFromIso(c.text), c.value) << c.text;
  }
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
}

TEST(DateNumberFromIso, RoundTripsEveryDayAcrossCenturies) {
  // Four hundred years around the epoch, including 1600, 1700 and 2000.
  for (long day = -30000; day < 116100; day += 1) {
    double const value = day * 86400.0 + (day % 7 == 0 ? 3723 : 0);
    ASSERT_EQ(refhost::DateNumberFromIso(refhost::IsoFromDateNumber(value)), value) << day;
  }
}

}  // namespace
