// Nominal split texts: listing, complement and label forms in each dialect,
// the missing-value clause in front, code order and overlapping codes.
#include <gtest/gtest.h>

#include <string>

#include "hosttestutil.h"
#include "translate/ruleexportmanager.h"

namespace {

using namespace TreeOut_800;
using mdt_800::Variant;
using translatetest::Codes;
using translatetest::FakeRule;
using translatetest::Options;

enum Predictor { kRegion, kRegionNoMissing, kRegionMissingRange, kColor };

struct NominalCase {
  Predictor predictor;
  int child;
  bool includeMissing;
  int dialect, edgeMode, valueLabels;
  const char* expected;
};

// region as in the helper (9 user-missing, or none, or 9 and 97..99); color:
// codes red, it's blue, green, "none" user-missing, children {1}, {2, 3}.
TEST(Nominal, Texts) {
  const NominalCase kCases[] = {
      {kRegion, 0, false, DIALECT_SQL, EDGE_MODE_PATH, 0, "(region = 1 OR region = 2)"},
      {kRegion, 0, false, DIALECT_VELD, EDGE_MODE_PATH, 0,
       "(VALUE(region) EQ 1 OR VALUE(region) EQ 2)"},
      {kRegion, 1, false, DIALECT_GENERIC, EDGE_MODE_PATH, 0, "(region = 3)"},
      {kRegion, 2, true, DIALECT_SQL, EDGE_MODE_PATH, 0,
       "((region IS NULL OR region = 9) OR region <> 1  AND  region <> 2  AND  region <> 3)"},
      {kRegion, 2, true, DIALECT_VELD, EDGE_MODE_PATH, 0,
       "(SYSMIS(region) OR VALUE(region) EQ 9 OR VALUE(region) NE 1  AND  VALUE(region) NE 2  "
       "AND  VALUE(region) NE 3)"},
      {kRegion, 2, true, DIALECT_GENERIC, EDGE_MODE_PATH, 0,
       "(region != 1  AND  region != 2  AND  region != 3)"},
      {kRegion, 0, false, DIALECT_GENERIC, EDGE_MODE_LABEL, 0, "(region = 1,2)"},
      {kRegion, 2, true, DIALECT_GENERIC, EDGE_MODE_LABEL, 0, "(region = 4,5)"},
      {kRegion, 2, true, DIALECT_SQL, EDGE_MODE_LABEL, 0,
       "((region IS NULL OR region = 9) OR region = 4,5)"},
      {kRegion, 2, true, DIALECT_VELD, EDGE_MODE_LABEL, 0,
       "(SYSMIS(region) OR VALUE(region) EQ 9 OR VALUE(region) EQ 4,5)"},
      {kRegion, 0, false, DIALECT_SQL, EDGE_MODE_LABEL, 1, "(region = 'North','South West')"},
      {kRegion, 0, false, DIALECT_VELD, EDGE_MODE_PATH, 1,
       "(VALUE(region) EQ \"North\" OR VALUE(region) EQ \"South West\")"},
      {kRegion, 2, true, 7, EDGE_MODE_PATH, 0,
       "(region = 9 OR region <> 1  AND  region <> 2  AND  region <> 3)"},
      {kRegionNoMissing, 1, true, DIALECT_SQL, EDGE_MODE_PATH, 0,
       "((region IS NULL) OR region <> 1  AND  region <> 2  AND  region <> 4  AND  region <> 5)"},
      {kRegionNoMissing, 0, true, DIALECT_VELD, EDGE_MODE_PATH, 0,
       "(SYSMIS(region) OR VALUE(region) NE 3  AND  VALUE(region) NE 4  AND  VALUE(region) NE 5)"},
      // A user-missing range is written item by item, as equalities.
      {kRegionMissingRange, 1, true, DIALECT_SQL, EDGE_MODE_PATH, 0,
       "((region IS NULL OR region = 9 OR region = 97 OR region = 99) OR region <> 1  AND  "
       "region <> 2  AND  region <> 4  AND  region <> 5)"},
      // A string in VELD gets its user-missing comparisons but no SYSMIS.
      {kColor, 0, true, DIALECT_VELD, EDGE_MODE_PATH, 0,
       "(color EQ \"none\" OR color NE \"it's blue\"  AND  color NE \"green\")"},
      {kColor, 1, false, DIALECT_SQL, EDGE_MODE_PATH, 0,
       "(color = 'it''s blue' OR color = 'green')"},
      {kColor, 0, true, DIALECT_SQL, EDGE_MODE_PATH, 0,
       "((color IS NULL OR color = 'none') OR color <> 'it''s blue'  AND  color <> 'green')"},
  };
  for (const NominalCase& c : kCases) {
    RuleExportOptions options = Options(c.dialect, c.edgeMode);
    options.fnUseValueLabels = c.valueLabels;
    const auto text = [&](const translatetest::Host& host, const tree_800::SplitRule& rule) {
      return host.Manager().NominalSplitRule_Export(rule, c.child, TARGET_NODE, options,
                                                    c.includeMissing);
    };
    std::string actual;
    if (c.predictor == kColor) {
      using translatetest::Single;
      translatetest::Host host;
      const int color = host.Add(
          translatetest::Text("color"),
          translatetest::CodeEncoder(
              {Single(Variant("red")), Single(Variant("it's blue")), Single(Variant("green"))},
              translatetest::Missing({Variant("none")})));
      actual = text(host, translatetest::NominalRule(color, {{1}, {2, 3}}));
    } else {
      const translatetest::Region region(
          c.predictor == kRegion            ? translatetest::Missing({Variant(9.0)})
          : c.predictor == kRegionNoMissing ? nullptr
                                            : translatetest::Missing({Variant(9.0)}, {{97, 99}}));
      actual = text(region.host, region.Rule());
    }
    EXPECT_EQ(actual, c.expected) << "row " << (&c - kCases);
  }
}

// Codes come out ascending; a code in two children's sets belongs to the later
// child; without codes a child takes nothing, or with missing values every
// record.
TEST(Nominal, CodeOrderOverlapAndEmptySets) {
  translatetest::Host host;
  const int x = host.Add(translatetest::Numeric("x", mdt_800::Variable::LEVEL_NOMINAL));
  const FakeRule unordered(x, -1, {Codes({5, 1}), Codes({4}), Codes({3, 2})});
  const FakeRule overlap(x, -1, {Codes({1, 2}), translatetest::NoValues(), Codes({2, 3})});
  const FakeRule empty(x, -1, {translatetest::NoValues(), Codes({})});
  const struct {
    const FakeRule& rule;
    int child;
    bool includeMissing;
    const char* expected;
  } kCases[] = {
      {unordered, 0, false, "(x = 1 OR x = 5)"},
      {unordered, 1, true, "((x IS NULL) OR x <> 1  AND  x <> 2  AND  x <> 3  AND  x <> 5)"},
      {overlap, 0, false, "(x = 1)"},
      {overlap, 2, false, "(x = 2 OR x = 3)"},
      {overlap, 1, true, "((x IS NULL) OR x <> 1  AND  x <> 2  AND  x <> 3)"},
      {empty, 0, false, "(1 = 0)"},
      {empty, 0, true, "((x IS NULL) OR 1 = 1)"},
  };
  const RuleExportManager manager = host.Manager();
  for (const auto& c : kCases) {
    EXPECT_EQ(manager.NominalSplitRule_Export(c.rule, c.child, TARGET_NODE, Options(DIALECT_SQL),
                                              c.includeMissing),
              c.expected)
        << "row " << (&c - kCases);
  }
}

}  // namespace
