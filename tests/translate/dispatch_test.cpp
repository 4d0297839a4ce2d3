// Split-rule dispatch: which records with missing values a child admits, which
// exporter writes a predictor, and ordered strings as category lists.
#include <gtest/gtest.h>

#include <string>

#include "hosttestutil.h"
#include "translate/ruleexportmanager.h"

namespace {

using namespace TreeOut_800;
using mdt_800::Variant;
using refhost::Range;
using translatetest::Codes;
using translatetest::FakeRule;
using translatetest::Host;
using translatetest::Options;
using translatetest::Ranged;

// Missing-value mapping and target decide: the complement admits missing
// values, the listing does not.
TEST(Dispatch, IncludeMissingFromMappingAndTarget) {
  const struct {
    int missingChild;
    ExportTargetFlag target;
    bool includeMissing;
  } kCases[] = {
      {1, TARGET_OR_LINK, true},    {1, TARGET_AND_LINK, true},   {1, TARGET_DUMB_RULE, true},
      {1, TARGET_NODE, true},       {-1, TARGET_OR_LINK, false},  {-1, TARGET_AND_LINK, true},
      {-1, TARGET_DUMB_RULE, true}, {-1, TARGET_NODE, false},     {0, TARGET_OR_LINK, false},
      {0, TARGET_AND_LINK, false},  {0, TARGET_DUMB_RULE, false}, {0, TARGET_NODE, false},
  };
  Host host;
  const int x = host.Add(translatetest::Numeric("x", mdt_800::Variable::LEVEL_NOMINAL));
  const RuleExportManager manager = host.Manager();
  for (const auto& c : kCases) {
    const FakeRule rule(x, c.missingChild, {Codes({1}), Codes({2}), Codes({3})});
    const char* expected = c.includeMissing ? "((x IS NULL) OR x <> 1  AND  x <> 3)" : "(x = 2)";
    EXPECT_EQ(manager.SplitRule_Export(rule, 1, c.target, Options(DIALECT_SQL)), expected)
        << "mapping " << c.missingChild << ", target " << c.target;
  }
}

// Storage, level and encoder decide the exporter: category comparisons with
// the map's values, or ranges.
TEST(Dispatch, ExporterByLevelAndStorage) {
  using V = mdt_800::Variable;
  enum { kNone, kMap, kPlain };
  const struct {
    const char* name;
    int storage;  // 0 numeric; any other value is not a number
    int level, encoder;
    bool nominalSets;
    const char* expected;
  } kCases[] = {
      {"nominal string", 1, V::LEVEL_NOMINAL, kMap, true, "(v = 'a')"},
      {"nominal number", 0, V::LEVEL_NOMINAL, kNone, true, "(v = 1)"},
      {"ordinal number with map encoder", 0, V::LEVEL_ORDINAL, kMap, false,
       "(NOT(v IS NULL)  AND  (v <= 'a'))"},
      {"ordinal string without encoder", 1, V::LEVEL_ORDINAL, kNone, false,
       "(NOT(v IS NULL)  AND  (v <= 1))"},
      {"scale string, encoder not a map", 1, V::LEVEL_SCALE, kPlain, false,
       "(NOT(v IS NULL)  AND  (v <= 1))"},
      {"ordinal string with map encoder", 1, V::LEVEL_ORDINAL, kMap, false, "(v = 'a')"},
      {"ordinal, storage 2, map encoder", 2, V::LEVEL_ORDINAL, kMap, false, "(v = 'a')"},
  };
  for (const auto& c : kCases) {
    Host host;
    std::unique_ptr<mdt_800::Encoder> encoder;
    if (c.encoder == kMap) {
      encoder = translatetest::CodeEncoder(
          {translatetest::Single(Variant("a")), translatetest::Single(Variant("b"))});
    } else if (c.encoder == kPlain) {
      encoder = translatetest::NumberEncoder(nullptr);
    }
    const int v = host.Add(mdt_800::Variable("v", c.storage, c.level), std::move(encoder));
    const FakeRule rule =
        c.nominalSets ? FakeRule(v, -1, {Codes({1}), Codes({2})})
                      : FakeRule(v, -1, {Ranged(Range::AtMost(1)), Ranged(Range::Above(1))});
    EXPECT_EQ(host.Manager().SplitRule_Export(rule, 0, TARGET_NODE, Options(DIALECT_SQL)),
              c.expected)
        << c.name;
  }
}

// size: codes 1..4 for S, M, L, XL. Code 4 in no child's range, a child with no
// value set; the missing flag comes from the rule passed in. A code in two
// children's ranges goes to the later child.
TEST(Dispatch, OrderedStringsAsCategories) {
  translatetest::Size size;
  const tree_800::SplitRule split = size.Rule();
  const FakeRule gaps(size.index, 1,
                      {Ranged(Range::AtMost(1)), translatetest::NoValues(),
                       Ranged(Range::Between(1, true, 3, false))});
  const FakeRule overlap(size.index, -1, {Ranged(Range::AtMost(2)), Ranged(Range::AtLeast(2))});
  const FakeRule empty(size.index, -1, {Ranged(Range::Between(3, true, 3, true))});
  const FakeRule childless(size.index, -1, {});
  const struct {
    const tree_800::SplitRule& rule;
    int child, dialect;
    ExportTargetFlag target;
    const char* expected;
  } kCases[] = {
      {split, 0, DIALECT_SQL, TARGET_NODE, "(size = 'S' OR size = 'M')"},
      {split, 0, DIALECT_VELD, TARGET_NODE, "(size EQ \"S\" OR size EQ \"M\")"},
      {split, 1, DIALECT_GENERIC, TARGET_NODE, "(size = \"L\" OR size = \"XL\")"},
      {gaps, 0, DIALECT_SQL, TARGET_NODE, "(size = 'S')"},
      {gaps, 1, DIALECT_SQL, TARGET_NODE,
       "((size IS NULL) OR size <> 'S'  AND  size <> 'M'  AND  size <> 'L')"},
      {overlap, 0, DIALECT_SQL, TARGET_NODE, "(size = 'S')"},
      {overlap, 1, DIALECT_SQL, TARGET_NODE, "(size = 'M' OR size = 'L' OR size = 'XL')"},
      {empty, 0, DIALECT_SQL, TARGET_DUMB_RULE, "((size IS NULL) OR 1 = 1)"},
      {childless, 0, DIALECT_SQL, TARGET_NODE, "(1 = 0)"},
  };
  const RuleExportManager manager = size.host.Manager();
  for (const auto& c : kCases) {
    EXPECT_EQ(manager.SplitRule_Export(c.rule, c.child, c.target, Options(c.dialect)), c.expected)
        << "row " << (&c - kCases);
  }
}

}  // namespace
