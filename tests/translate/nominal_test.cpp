// Nominal split texts: listing, complement and label forms in each dialect,
// the missing-value clause in front, code order and overlapping codes.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "hosttestutil.h"
#include "refhost/faults.h"
#include "translate/ruleexportmanager.h"

namespace {

using namespace TreeOut_800;
using mdt_800::Variant;
using translatetest::Codes;
using translatetest::FakeRule;
using translatetest::Host;
using translatetest::NominalRule;
using translatetest::Options;

// region: a numeric nominal predictor whose encoder decodes each code to the
// same number and declares 9 user-missing. Children {1, 2}, {3}, {4, 5};
// missing values go to child 2.
struct Region {
  Host host;
  int index;
  explicit Region(
      std::unique_ptr<mdt_800::MissingValues> missing = translatetest::Missing({Variant(9.0)})) {
    mdt_800::Variable region = translatetest::Numeric("region", mdt_800::Variable::LEVEL_NOMINAL);
    region.AddValueLabel(Variant(1.0), "North");
    region.AddValueLabel(Variant(2.0), "South West");
    index = host.Add(region, translatetest::NumberEncoder(std::move(missing)));
  }
  tree_800::SplitRule Rule() const { return NominalRule(index, {{1, 2}, {3}, {4, 5}}, 2); }
};

struct NominalCase {
  const char* name;
  int child;
  bool includeMissing;
  int dialect;
  int edgeMode;
  int valueLabels;
  const char* expected;
};

void RunCases(const Host& host, const tree_800::SplitRule& rule, const NominalCase* begin,
              const NominalCase* end) {
  const RuleExportManager manager = host.Manager();
  for (const NominalCase* c = begin; c != end; ++c) {
    RuleExportOptions options = Options(c->dialect, c->edgeMode);
    options.fnUseValueLabels = c->valueLabels;
    EXPECT_EQ(
        manager.NominalSplitRule_Export(rule, c->child, TARGET_NODE, options, c->includeMissing),
        c->expected)
        << c->name;
  }
}

TEST(Nominal, RegionTexts) {
  const NominalCase kCases[] = {
      {"child 0 sql", 0, false, DIALECT_SQL, EDGE_MODE_PATH, 0, "(region = 1 OR region = 2)"},
      {"child 0 veld", 0, false, DIALECT_VELD, EDGE_MODE_PATH, 0,
       "(VALUE(region) EQ 1 OR VALUE(region) EQ 2)"},
      {"child 1 generic", 1, false, DIALECT_GENERIC, EDGE_MODE_PATH, 0, "(region = 3)"},
      {"child 2 sql", 2, true, DIALECT_SQL, EDGE_MODE_PATH, 0,
       "((region IS NULL OR region = 9) OR region <> 1  AND  region <> 2  AND  region <> 3)"},
      {"child 2 veld", 2, true, DIALECT_VELD, EDGE_MODE_PATH, 0,
       "(SYSMIS(region) OR VALUE(region) EQ 9 OR VALUE(region) NE 1  AND  VALUE(region) NE 2  "
       "AND  VALUE(region) NE 3)"},
      {"child 2 generic", 2, true, DIALECT_GENERIC, EDGE_MODE_PATH, 0,
       "(region != 1  AND  region != 2  AND  region != 3)"},
      {"label mode child 0 generic", 0, false, DIALECT_GENERIC, EDGE_MODE_LABEL, 0,
       "(region = 1,2)"},
      {"label mode child 2 generic", 2, true, DIALECT_GENERIC, EDGE_MODE_LABEL, 0,
       "(region = 4,5)"},
      {"label mode child 2 sql", 2, true, DIALECT_SQL, EDGE_MODE_LABEL, 0,
       "((region IS NULL OR region = 9) OR region = 4,5)"},
      {"label mode child 2 veld", 2, true, DIALECT_VELD, EDGE_MODE_LABEL, 0,
       "(SYSMIS(region) OR VALUE(region) EQ 9 OR VALUE(region) EQ 4,5)"},
      {"label mode, value labels", 0, false, DIALECT_SQL, EDGE_MODE_LABEL, 1,
       "(region = 'North','South West')"},
      {"split mode is a listing", 0, false, DIALECT_SQL, EDGE_MODE_SPLIT, 0,
       "(region = 1 OR region = 2)"},
      {"value labels in the listing", 0, false, DIALECT_VELD, EDGE_MODE_PATH, 1,
       "(VALUE(region) EQ \"North\" OR VALUE(region) EQ \"South West\")"},
      {"unknown dialect: user-missing only, SQL words", 2, true, 7, EDGE_MODE_PATH, 0,
       "(region = 9 OR region <> 1  AND  region <> 2  AND  region <> 3)"},
  };
  Region region;
  RunCases(region.host, region.Rule(), std::begin(kCases), std::end(kCases));
}

TEST(Nominal, MissingValueClauseVariants) {
  const NominalCase kNoUserMissing[] = {
      {"sql, bracketed alone", 1, true, DIALECT_SQL, EDGE_MODE_PATH, 0,
       "((region IS NULL) OR region <> 1  AND  region <> 2  AND  region <> 4  AND  region <> 5)"},
      {"veld, sysmis alone", 0, true, DIALECT_VELD, EDGE_MODE_PATH, 0,
       "(SYSMIS(region) OR VALUE(region) NE 3  AND  VALUE(region) NE 4  AND  VALUE(region) NE 5)"},
  };
  Region bare(nullptr);
  RunCases(bare.host, bare.Rule(), std::begin(kNoUserMissing), std::end(kNoUserMissing));

  // A user-missing range is written item by item, as equalities.
  const NominalCase kWithRange[] = {
      {"range items as values", 1, true, DIALECT_SQL, EDGE_MODE_PATH, 0,
       "((region IS NULL OR region = 9 OR region = 97 OR region = 99) OR region <> 1  AND  "
       "region <> 2  AND  region <> 4  AND  region <> 5)"},
  };
  Region ranged(translatetest::Missing({Variant(9.0)}, {{97, 99}}));
  RunCases(ranged.host, ranged.Rule(), std::begin(kWithRange), std::end(kWithRange));
}

// A string predictor in VELD gets its user-missing comparisons but no SYSMIS.
TEST(Nominal, StringPredictor) {
  Host host;
  const int color =
      host.Add(translatetest::Text("color"),
               translatetest::CodeEncoder({translatetest::Single(Variant("red")),
                                           translatetest::Single(Variant("it's blue")),
                                           translatetest::Single(Variant("green"))},
                                          translatetest::Missing({Variant("none")})));
  const NominalCase kCases[] = {
      {"veld complement", 0, true, DIALECT_VELD, EDGE_MODE_PATH, 0,
       "(color EQ \"none\" OR color NE \"it's blue\"  AND  color NE \"green\")"},
      {"sql listing, apostrophe kept", 1, false, DIALECT_SQL, EDGE_MODE_PATH, 0,
       "(color = 'it's blue' OR color = 'green')"},
      {"sql complement", 0, true, DIALECT_SQL, EDGE_MODE_PATH, 0,
       "((color IS NULL OR color = 'none') OR color <> 'it's blue'  AND  color <> 'green')"},
  };
  RunCases(host, NominalRule(color, {{1}, {2, 3}}), std::begin(kCases), std::end(kCases));
}

TEST(Nominal, CodeOrderOverlapAndEmptySets) {
  Host host;
  const int x = host.Add(translatetest::Numeric("x", mdt_800::Variable::LEVEL_NOMINAL));
  const RuleExportManager manager = host.Manager();
  const RuleExportOptions sql = Options(DIALECT_SQL);

  // Codes come out ascending, whatever order the children or sets hold them.
  const FakeRule unordered(x, -1, {Codes({5, 1}), Codes({4}), Codes({3, 2})});
  EXPECT_EQ(manager.NominalSplitRule_Export(unordered, 0, TARGET_NODE, sql, false),
            "(x = 1 OR x = 5)");
  EXPECT_EQ(manager.NominalSplitRule_Export(unordered, 1, TARGET_NODE, sql, true),
            "((x IS NULL) OR x <> 1  AND  x <> 2  AND  x <> 3  AND  x <> 5)");

  // A code in two children's sets belongs to the later child.
  const FakeRule overlap(x, -1, {Codes({1, 2}), translatetest::NoValues(), Codes({2, 3})});
  EXPECT_EQ(manager.NominalSplitRule_Export(overlap, 0, TARGET_NODE, sql, false), "(x = 1)");
  EXPECT_EQ(manager.NominalSplitRule_Export(overlap, 2, TARGET_NODE, sql, false),
            "(x = 2 OR x = 3)");
  EXPECT_EQ(manager.NominalSplitRule_Export(overlap, 1, TARGET_NODE, sql, true),
            "((x IS NULL) OR x <> 1  AND  x <> 2  AND  x <> 3)");

  // No codes at all: nothing, not even the missing-value clause.
  const FakeRule empty(x, -1, {translatetest::NoValues(), Codes({})});
  for (bool includeMissing : {false, true}) {
    EXPECT_EQ(manager.NominalSplitRule_Export(empty, 0, TARGET_NODE, sql, includeMissing), "")
        << includeMissing;
  }
}

TEST(Nominal, HostFaultReleasesEverything) {
  const char* const kOperations[] = {"GetMappedValues", "GetIterator",   "Next",  "Decode",
                                     "GetItems",        "GetValueLabel", "Format"};
  for (const char* operation : kOperations) {
    for (long nth : {1L, 3L}) {
      Region region;
      const tree_800::SplitRule rule = region.Rule();
      refhost::FaultGuard guard(operation, nth);
      EXPECT_THROW(region.host.Manager().NominalSplitRule_Export(rule, 2, TARGET_NODE,
                                                                 Options(DIALECT_SQL), true),
                   std::runtime_error)
          << operation << " call " << nth;
    }
  }
}

}  // namespace
