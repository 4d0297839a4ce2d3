// Variable and value texts: names with the VELD prefixes, values of every type
// in each dialect, comparisons and intervals.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "hosttestutil.h"
#include "refhost/dates.h"
#include "ruletext/ruleconnectoreq.h"
#include "translate/ruleexportmanager.h"

namespace {

using namespace TreeOut_800;
using mdt_800::Variant;
using translatetest::Host;
using translatetest::Options;

std::uint64_t Bits(double x) {
  std::uint64_t bits;
  std::memcpy(&bits, &x, sizeof bits);
  return bits;
}

enum Kind { kNumber, kDate, kString };

struct Fixture {
  Host host;
  int number, date, string;
  Fixture() {
    number = host.Add(translatetest::Numeric("num"));
    mdt_800::Variable day = translatetest::Numeric("day");
    day.SetDate(true);
    date = host.Add(day);
    string = host.Add(translatetest::Text("str"));
  }
  int Index(Kind kind) const { return kind == kNumber ? number : kind == kDate ? date : string; }
};

const double kUnixEpoch = refhost::kUnixEpochDateNumber;

TEST(Render, ValueTextInEachDialect) {
  const double low = std::nextafter(-DBL_MAX, 0.0);
  const struct {
    Kind kind;
    Variant value;
    const char* label;
    int dialect, useValueLabels, numberFormat;
    const char* expected;
  } kCases[] = {
      // dialect 5 is unknown; number format 1 is exact
      {kNumber, Variant(10.0), "", DIALECT_SQL, 0, 0, "10"},
      {kNumber, Variant(10.0), "", DIALECT_VELD, 0, 0, "10"},
      {kNumber, Variant(DBL_MAX), "", DIALECT_VELD, 0, 0, "1.797693134862316e+307"},
      {kNumber, Variant(DBL_MAX), "", DIALECT_SQL, 0, 0, "1.797693134862316e+308"},
      {kNumber, Variant(low), "", DIALECT_VELD, 0, 0, "-1.797693134862316e+307"},
      {kNumber, Variant(low), "", DIALECT_SQL, 0, 1, "-1.7976931348623155e+308"},
      {kNumber, Variant(-DBL_MAX), "", DIALECT_VELD, 0, 1, "-1.7976931348623157e+308"},
      {kNumber, Variant(0.1 + 0.2), "", DIALECT_SQL, 0, 1, "3.0000000000000004e-01"},
      {kNumber, Variant(0.1 + 0.2), "", DIALECT_SQL, 0, 0, "0.3"},
      {kNumber, Variant(3L), "", DIALECT_SQL, 0, 0, "3"},
      {kNumber, Variant(-3L), "", DIALECT_GENERIC, 0, 0, "-3"},
      {kString, Variant("abc"), "", DIALECT_SQL, 0, 0, "'abc'"},
      {kString, Variant("abc"), "", DIALECT_VELD, 0, 0, "\"abc\""},
      {kString, Variant("O'Brien"), "", DIALECT_SQL, 0, 0, "'O''Brien'"},  // inner quote doubled
      {kString, Variant("a\"b"), "", DIALECT_VELD, 0, 0, "\"a\"\"b\""},
      {kString, Variant("'\"'"), "", DIALECT_GENERIC, 0, 0, "\"'\"\"'\""},
      {kNumber, Variant(1.0), "it's", DIALECT_SQL, 1, 0, "'it''s'"},
      {kString, Variant("abc"), "", 5, 0, 0, "\"abc\""},
      {kNumber, Variant(DBL_MAX), "", 5, 0, 0, "1.797693134862316e+308"},
      {kNumber, Variant(1.0), "Male", DIALECT_SQL, 1, 0, "'Male'"},
      {kNumber, Variant(1.0), "Male", DIALECT_VELD, 1, 0, "\"Male\""},
      {kString, Variant("m"), "Male", DIALECT_SQL, 1, 0, "'Male'"},
      {kNumber, Variant(1.0), "Male", 5, 1, 0, "\"Male\""},
      {kNumber, Variant(1.0), "Male", DIALECT_SQL, 0, 0, "1"},
      {kNumber, Variant(1.0), "", DIALECT_SQL, 1, 0, "1"},
      {kDate, Variant(kUnixEpoch), "", DIALECT_SQL, 0, 0, "'1970-01-01'"},
      {kDate, Variant(kUnixEpoch + 3661), "", DIALECT_GENERIC, 0, 0, "'1970-01-01 01:01:01'"},
      {kDate, Variant(kUnixEpoch), "", DIALECT_VELD, 0, 0, "12219379200"},
      {kDate, Variant(kUnixEpoch), "", 5, 0, 0, "'12219379200'"},
      {kDate, Variant(7L), "", DIALECT_SQL, 0, 0, "7"},  // an integer is no date
      {kNumber, Variant(), "", DIALECT_SQL, 0, 0, ""},
  };
  Fixture f;
  const RuleExportManager manager = f.host.Manager();
  for (const auto& c : kCases) {
    RuleExportOptions options = Options(c.dialect);
    options.fnUseValueLabels = c.useValueLabels;
    options.fnNumberFormat = c.numberFormat;
    EXPECT_EQ(manager.ExportValue(f.host.Var(f.Index(c.kind)), c.value, c.label, options),
              c.expected)
        << "row " << (&c - kCases);
  }
}

// The low value and the VELD replacements as bit patterns, read back from the
// exact number text; the doubles next to the replaced ones are kept.
TEST(Render, LowValueAndVeldReplacementBitPatterns) {
  Fixture f;
  const RuleExportManager manager = f.host.Manager();
  EXPECT_EQ(Bits(manager.GetLowValue()), 0xFFEFFFFFFFFFFFFEULL);
  RuleExportOptions options = Options(DIALECT_VELD);
  options.fnNumberFormat = 1;
  const auto readBack = [&](double x) {
    const std::string text = manager.ExportValue(f.host.Var(f.number), Variant(x), "", options);
    return Bits(std::strtod(text.c_str(), nullptr));
  };
  EXPECT_EQ(readBack(DBL_MAX), 0x7FB9999999999999ULL);
  EXPECT_EQ(readBack(manager.GetLowValue()), 0xFFB9999999999999ULL);
  EXPECT_EQ(readBack(-DBL_MAX), Bits(-DBL_MAX));
  const double aboveLow = std::nextafter(manager.GetLowValue(), 0.0);
  EXPECT_EQ(readBack(aboveLow), Bits(aboveLow));
  EXPECT_EQ(readBack(std::nextafter(DBL_MAX, 0.0)), Bits(std::nextafter(DBL_MAX, 0.0)));
}

TEST(Render, PrefixedNames) {
  const struct {
    bool string;
    const char* label;
    int useLabels, dialect, op;
    const char* expected;
  } kCases[] = {
      // operators 9 and -1 and dialect 4 are unknown
      {false, "", 0, DIALECT_VELD, PREFIX_DEFAULT, "VALUE(age)"},
      {false, "", 0, DIALECT_VELD, PREFIX_SYSMIS, "SYSMIS(age)"},
      {false, "", 0, DIALECT_VELD, PREFIX_MISSING, "MISSING(age)"},
      {false, "", 0, DIALECT_VELD, 9, "VALUE(age)"},
      {true, "", 0, DIALECT_VELD, PREFIX_DEFAULT, "age"},
      {true, "", 0, DIALECT_VELD, PREFIX_SYSMIS, "SYSMIS(age)"},
      {true, "", 0, DIALECT_VELD, PREFIX_MISSING, "MISSING(age)"},
      {true, "", 0, DIALECT_VELD, -1, "VALUE(age)"},
      {false, "", 0, DIALECT_SQL, PREFIX_SYSMIS, "age"},
      {false, "", 0, 4, PREFIX_VALUE, "age"},
      {false, "Age in years", 1, DIALECT_VELD, PREFIX_VALUE, "VALUE(Age in years)"},
      {false, "Age's \"years\"", 1, DIALECT_SQL, PREFIX_DEFAULT, "Age's \"years\""},
      {false, "Age in years", 0, DIALECT_VELD, PREFIX_SYSMIS, "SYSMIS(age)"},
      {false, "", 1, DIALECT_SQL, PREFIX_DEFAULT, "age"},
  };
  for (const auto& c : kCases) {
    Host host;
    mdt_800::Variable variable =
        c.string ? translatetest::Text("age") : translatetest::Numeric("age");
    variable.SetLabel(c.label);
    const int index = host.Add(variable);
    RuleExportOptions options = Options(c.dialect);
    options.fnUseVariableLabels = c.useLabels;
    EXPECT_EQ(host.Manager().ExportPrefixedName(host.Var(index), options,
                                                static_cast<PrefixOperator>(c.op)),
              c.expected)
        << "row " << (&c - kCases);
  }
}

TEST(Render, PairWritesTheValueLabelOfTheValue) {
  Host host;
  mdt_800::Variable region = translatetest::Numeric("region", mdt_800::Variable::LEVEL_NOMINAL);
  region.AddValueLabel(Variant(1.0), "North");
  const int index = host.Add(region);
  RuleExportOptions options = Options(DIALECT_VELD);
  options.fnUseValueLabels = 1;
  const RuleExportManager manager = host.Manager();
  EXPECT_EQ(
      manager.ExportVariableValuePair(host.Var(index), options, RuleConnectorEQ::Export(options),
                                      Variant(1.0), PREFIX_DEFAULT),
      "VALUE(region) EQ \"North\"");
  EXPECT_EQ(
      manager.ExportVariableValuePair(host.Var(index), options, RuleConnectorEQ::Export(options),
                                      Variant(2.0), PREFIX_SYSMIS),
      "SYSMIS(region) EQ 2");
}

TEST(Render, IntervalTexts) {
  const struct {
    int dialect;
    bool string, leftBounded, leftOpen;
    double left;
    bool rightBounded, rightOpen;
    double right;
    const char* expected;
  } kCases[] = {
      {DIALECT_VELD, false, true, true, 10, true, false, 20,
       "VALUE(age) GT 10  AND  VALUE(age) LE 20"},
      {DIALECT_SQL, false, true, true, 10, true, false, 20, "age > 10  AND  age <= 20"},
      {DIALECT_SQL, false, true, false, 10, false, false, 20, "age >= 10"},
      {DIALECT_VELD, false, false, false, 10, true, true, 20, "VALUE(age) LT 20"},
      {DIALECT_SQL, false, false, false, 10, false, false, 20, ""},
      {DIALECT_VELD, true, true, false, 1, true, true, 4, "age GE 1  AND  age LT 4"},
  };
  for (const auto& c : kCases) {
    for (bool includeMissing : {false, true}) {
      Host host;
      const int index =
          host.Add(c.string ? translatetest::Text("age") : translatetest::Numeric("age"));
      Interval interval;
      interval.SetLeftEnd(mdt_800::Value(Variant(c.left)));
      interval.SetRightEnd(mdt_800::Value(Variant(c.right)));
      interval.SetBoundedLeft(c.leftBounded);
      interval.SetOpenLeft(c.leftOpen);
      interval.SetBoundedRight(c.rightBounded);
      interval.SetOpenRight(c.rightOpen);
      EXPECT_EQ(host.Manager().ExportInterval(host.Var(index), Options(c.dialect), interval,
                                              includeMissing),
                c.expected)
          << "row " << (&c - kCases) << ", includeMissing " << includeMissing;
    }
  }
}

}  // namespace
