// Split-rule dispatch: which records with missing values a child admits, which
// exporter writes a predictor, and ordered string predictors written as
// category lists over their map encoder's codes.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "hosttestutil.h"
#include "refhost/faults.h"
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

struct MissingCase {
  int missingChild;
  int child;
  ExportTargetFlag target;
  bool includeMissing;
};

TEST(Dispatch, IncludeMissingFromMappingAndTarget) {
  const MissingCase kCases[] = {
      {1, 1, TARGET_OR_LINK, true},    {1, 1, TARGET_AND_LINK, true},
      {1, 1, TARGET_DUMB_RULE, true},  {1, 1, TARGET_NODE, true},
      {-1, 1, TARGET_OR_LINK, false},  {-1, 1, TARGET_AND_LINK, true},
      {-1, 1, TARGET_DUMB_RULE, true}, {-1, 1, TARGET_NODE, false},
      {0, 1, TARGET_OR_LINK, false},   {0, 1, TARGET_AND_LINK, false},
      {0, 1, TARGET_DUMB_RULE, false}, {0, 1, TARGET_NODE, false},
  };
  Host host;
  const int x = host.Add(translatetest::Numeric("x", mdt_800::Variable::LEVEL_NOMINAL));
  const RuleExportManager manager = host.Manager();
  const RuleExportOptions sql = Options(DIALECT_SQL);
  for (const MissingCase& c : kCases) {
    const FakeRule rule(x, c.missingChild, {Codes({1}), Codes({2}), Codes({3})});
    // The listing names the child's code; the complement the other codes.
    const char* expected = c.includeMissing ? "((x IS NULL) OR x <> 1  AND  x <> 3)" : "(x = 2)";
    EXPECT_EQ(manager.SplitRule_Export(rule, c.child, c.target, sql), expected)
        << "mapping " << c.missingChild << ", target " << c.target;
  }
}

struct ExporterCase {
  const char* name;
  int storage;  // 0 numeric; any other value is not a number
  int level;
  enum { kNone, kMap, kPlain } encoder;
  bool nominalSets;
  const char* expected;
};

// Storage, level and encoder decide the exporter; the texts show which one
// wrote (category comparisons with quoted codes, or ranges).
TEST(Dispatch, ExporterByLevelAndStorage) {
  using V = mdt_800::Variable;
  const ExporterCase kCases[] = {
      {"nominal string", true, V::LEVEL_NOMINAL, ExporterCase::kMap, true, "(v = 'a')"},
      {"nominal number", false, V::LEVEL_NOMINAL, ExporterCase::kNone, true, "(v = 1)"},
      {"ordinal number with map encoder", false, V::LEVEL_ORDINAL, ExporterCase::kMap, false,
       "(NOT(v IS NULL)  AND  (v <= 'a'))"},
      {"ordinal string without encoder", true, V::LEVEL_ORDINAL, ExporterCase::kNone, false,
       "(NOT(v IS NULL)  AND  (v <= 1))"},
      {"scale string, encoder not a map", true, V::LEVEL_SCALE, ExporterCase::kPlain, false,
       "(NOT(v IS NULL)  AND  (v <= 1))"},
      {"ordinal string with map encoder", true, V::LEVEL_ORDINAL, ExporterCase::kMap, false,
       "(v = 'a')"},
      {"ordinal, storage 2, map encoder", 2, V::LEVEL_ORDINAL, ExporterCase::kMap, false,
       "(v = 'a')"},
  };
  for (const ExporterCase& c : kCases) {
    Host host;
    std::unique_ptr<mdt_800::Encoder> encoder;
    if (c.encoder == ExporterCase::kMap) {
      encoder = translatetest::CodeEncoder(
          {translatetest::Single(Variant("a")), translatetest::Single(Variant("b"))});
    } else if (c.encoder == ExporterCase::kPlain) {
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

// size: an ordered string predictor, codes 1..4 for S, M, L, XL.
struct Size {
  Host host;
  int index;
  Size() {
    index =
        host.Add(translatetest::Text("size", mdt_800::Variable::LEVEL_ORDINAL),
                 translatetest::CodeEncoder(
                     {translatetest::Single(Variant("S")), translatetest::Single(Variant("M")),
                      translatetest::Single(Variant("L")), translatetest::Single(Variant("XL"))}));
  }
};

TEST(Dispatch, OrderedStringsAsCategories) {
  Size size;
  const RuleExportManager manager = size.host.Manager();
  const tree_800::SplitRule rule =
      translatetest::OrdinalRule(size.index, {Range::AtMost(2), Range::Above(2)});
  EXPECT_EQ(manager.SplitRule_Export(rule, 0, TARGET_NODE, Options(DIALECT_SQL)),
            "(size = 'S' OR size = 'M')");
  EXPECT_EQ(manager.SplitRule_Export(rule, 0, TARGET_NODE, Options(DIALECT_VELD)),
            "(size EQ \"S\" OR size EQ \"M\")");
  EXPECT_EQ(manager.SplitRule_Export(rule, 1, TARGET_NODE, Options(DIALECT_GENERIC)),
            "(size = \"L\" OR size = \"XL\")");

  // Code 4 belongs to no child; child 1 has no value set; the flag comes
  // from the rule passed in, not from the nominal rule built from it.
  const FakeRule gaps(size.index, 1,
                      {Ranged(Range::AtMost(1)), translatetest::NoValues(),
                       Ranged(Range::Between(1, true, 3, false))});
  EXPECT_EQ(manager.SplitRule_Export(gaps, 0, TARGET_NODE, Options(DIALECT_SQL)), "(size = 'S')");
  EXPECT_EQ(manager.SplitRule_Export(gaps, 1, TARGET_NODE, Options(DIALECT_SQL)),
            "((size IS NULL) OR size <> 'S'  AND  size <> 'M'  AND  size <> 'L')");

  // A code in two children's ranges goes to the later child.
  const FakeRule overlap(size.index, -1, {Ranged(Range::AtMost(2)), Ranged(Range::AtLeast(2))});
  EXPECT_EQ(manager.SplitRule_Export(overlap, 0, TARGET_NODE, Options(DIALECT_SQL)),
            "(size = 'S')");
  EXPECT_EQ(manager.SplitRule_Export(overlap, 1, TARGET_NODE, Options(DIALECT_SQL)),
            "(size = 'M' OR size = 'L' OR size = 'XL')");

  // An empty range, or no children at all, gives no category.
  const FakeRule empty(size.index, -1, {Ranged(Range::Between(3, true, 3, true))});
  EXPECT_EQ(manager.SplitRule_Export(empty, 0, TARGET_DUMB_RULE, Options(DIALECT_SQL)), "");
  const FakeRule childless(size.index, -1, {});
  EXPECT_EQ(manager.SplitRule_Export(childless, 0, TARGET_NODE, Options(DIALECT_SQL)), "");
}

TEST(Dispatch, HostFaultReleasesEverything) {
  const char* const kOperations[] = {"EncodedValues", "GetMappedValues", "GetIterator",
                                     "Next",          "Decode",          "GetItems"};
  for (const char* operation : kOperations) {
    Size size;
    const tree_800::SplitRule rule =
        translatetest::OrdinalRule(size.index, {Range::AtMost(2), Range::Above(2)});
    refhost::FaultGuard guard(operation, 1);
    EXPECT_THROW(size.host.Manager().SplitRule_Export(rule, 0, TARGET_NODE, Options(DIALECT_SQL)),
                 std::runtime_error)
        << operation;
  }
}

}  // namespace
