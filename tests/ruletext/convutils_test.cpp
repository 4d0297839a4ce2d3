// Number texts: "%f" for doubles and "%d" for ints, complete for every value.
#include "ruletext/convutils.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cstdlib>
#include <limits>
#include <string>

namespace {

// The integer part of DBL_MAX: 316 characters with ".000000", 317 signed.
const char kDblMaxDigits[] =
    "17976931348623157081452742373170435679807056752584499659891747680315726078002853"
    "87605895586327668781715404589535143824642343213268894641827684675467035375169860"
    "49910576551282076245490090389328944075868508455133942304583236903222948165808559"
    "332123348274797826204144723168738177180919299881250404026184124858368";

TEST(ToStringDouble, FixedNotationWithSixDecimalsInFull) {
  struct Case {
    double value;
    std::string expected;
  };
  const double denormMin = std::numeric_limits<double>::denorm_min();
  const Case kCases[] = {
      {1.5, "1.500000"},
      {0.0, "0.000000"},
      {-0.0, "-0.000000"},
      {1e15, "1000000000000000.000000"},
      {1e-7, "0.000000"},
      {denormMin, "0.000000"},
      {-denormMin, "-0.000000"},
      {DBL_MAX, std::string(kDblMaxDigits) + ".000000"},
      {-DBL_MAX, "-" + std::string(kDblMaxDigits) + ".000000"},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(ToString(c.value), c.expected) << "value " << c.value;
  }
  // Large whole numbers read back unchanged: no digit is lost or cut.
  for (double value : {0x1p1023, 1e308, -1e300, 0x1p200}) {
    EXPECT_EQ(std::strtod(ToString(value).c_str(), nullptr), value) << "value " << value;
  }
}

TEST(ToStringInt, DecimalWithSign) {
  struct Case {
    int value;
    const char* expected;
  };
  const Case kCases[] = {
      {-3, "-3"}, {0, "0"}, {42, "42"}, {INT_MAX, "2147483647"}, {INT_MIN, "-2147483648"},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(ToString(c.value), c.expected) << "value " << c.value;
  }
}

}  // namespace
