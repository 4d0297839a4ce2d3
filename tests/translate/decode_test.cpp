// Decoding of ordinal value sets and encoding sets into intervals of values.
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "hosttestutil.h"
#include "intervaltext.h"
#include "refhost/valuesets.h"
#include "translate/ruleexportmanager.h"

namespace {

using namespace TreeOut_800;
using mdt_800::Variant;
using refhost::Range;
using translatetest::Host;
using translatetest::IntervalText;

const double kInf = std::numeric_limits<double>::infinity();

enum Coding { kNoEncoder, kSingleCodes, kRangeCodes, kMinusInfCodes };

// Codes 1..3 for 10, 20, 30; for [0, 5), [5, 10), [10, +inf); or for
// [-inf, 5], (5, 10).
std::unique_ptr<mdt_800::Encoder> MakeEncoder(Coding coding) {
  using translatetest::CodeEncoder;
  using translatetest::Single;
  switch (coding) {
    case kSingleCodes:
      return CodeEncoder({Single(Variant(10.0)), Single(Variant(20.0)), Single(Variant(30.0))});
    case kRangeCodes:
      return CodeEncoder({translatetest::Range(0, true, 5, false),
                          translatetest::Range(5, true, 10, false),
                          translatetest::Range(10, true, kInf, false)});
    case kMinusInfCodes:
      return CodeEncoder(
          {translatetest::Range(-kInf, false, 5, false), translatetest::Range(5, true, 10, false)});
    default:
      return nullptr;
  }
}

// Every field preset to [42, 43], so that a side left alone shows.
TEST(Decode, OrdinalValueSets) {
  const struct {
    const char* name;
    Coding coding;
    Range range;
    const char* expected;
  } kCases[] = {
      {"plain [2.5, 7)", kNoEncoder, Range::Between(2.5, false, 7, true), "[2.5, 7)"},
      {"plain (2.5, 7]", kNoEncoder, Range::Between(2.5, true, 7, false), "(2.5, 7]"},
      {"plain, no lower bound keeps the left end", kNoEncoder, Range::AtMost(7), "~[42, 7]"},
      {"plain, no upper bound keeps the right end", kNoEncoder, Range::Above(3), "(3, ~43]"},
      {"plain, no bound at all", kNoEncoder, Range::All(), "~[42, ~43]"},
      {"single codes (1, 3]", kSingleCodes, Range::Between(1, true, 3, false), "(10, 30]"},
      {"single codes [1, 3)", kSingleCodes, Range::Between(1, false, 3, true), "(10, 30]"},
      {"single codes, below 2", kSingleCodes, Range::AtMost(2), "~[42, 20]"},
      {"unknown code gives the neutral item", kSingleCodes, Range::Between(7, true, 9, false),
       "(0, 0]"},
      {"range codes, open lower at 1", kRangeCodes, Range::Between(1, true, 2, false), "(5, 10]"},
      {"range codes, closed lower at 1", kRangeCodes, Range::Between(1, false, 2, false), "[0, 5]"},
      {"range codes, up to the infinite code", kRangeCodes, Range::Between(2, true, 3, false),
       "(10, inf]"},
      {"range codes, upper bound only", kRangeCodes, Range::AtMost(2), "~[42, 10]"},
      {"infinite end still bounds the side", kMinusInfCodes, Range::Between(1, false, 2, false),
       "(-inf, 5]"},
  };
  for (const auto& c : kCases) {
    std::unique_ptr<mdt_800::Encoder> encoder = MakeEncoder(c.coding);
    Host host;
    Interval interval;
    interval.SetLeftEnd(mdt_800::Value(Variant(42.0)));
    interval.SetOpenLeft(false);
    interval.SetRightEnd(mdt_800::Value(Variant(43.0)));
    interval.SetOpenRight(false);
    host.Manager().DecodeOValueSet(refhost::RangeSet(c.range), encoder.get(), &interval);
    EXPECT_EQ(IntervalText(interval), c.expected) << c.name;
  }
}

TEST(Decode, EndOfACodeInterval) {
  const struct {
    const char* name;
    double lower, upper;
    bool upperIncluded, open, lowerEnd;
    double value;
    bool inclusive;
  } kCases[] = {
      {"open lower bound: upper end, excluded", 0, 5, true, true, true, 5, false},
      {"open upper bound: lower end, excluded", 0, 5, true, true, false, 0, false},
      {"closed lower bound: lower end as stored", 0, 5, false, false, true, 0, true},
      {"closed upper bound: upper end as stored", 0, 5, false, false, false, 5, false},
      {"open, infinite end keeps its flag", 0, kInf, true, true, true, kInf, true},
      {"open, infinite lower end keeps its flag", -kInf, 5, true, true, false, -kInf, true},
  };
  Host host;
  const RuleExportManager manager = host.Manager();
  for (const auto& c : kCases) {
    const mdt_800::Interval code(mdt_800::EncodingItem(Variant(c.lower), true),
                                 mdt_800::EncodingItem(Variant(c.upper), c.upperIncluded));
    const mdt_800::EncodingItem item = manager.DecodeOValueSetValue(code, 99, c.open, c.lowerEnd);
    EXPECT_EQ(static_cast<double>(item.GetValue()), c.value) << c.name;
    EXPECT_EQ(item.IsInclusive(), c.inclusive) << c.name;
  }
}

TEST(Decode, EncodingSetToInterval) {
  const struct {
    mdt_800::Interval set;
    const char* expected;
  } kCases[] = {
      {{{Variant(1.0), true}, {Variant(4.0), false}}, "[1, 4)"},
      {{{Variant(97.0), false}, {Variant(99.0), true}}, "(97, 99]"},
      {{{Variant(-kInf), true}, {Variant(kInf), false}}, "[-inf, inf)"},
  };
  Host host;
  for (const auto& c : kCases) {
    Interval interval;
    host.Manager().EncodingSetToInterval(c.set, &interval);
    EXPECT_EQ(IntervalText(interval), c.expected);
  }
}

TEST(Decode, EncodingSetListOfOneValue) {
  const mdt_800::EncodingSets sets = GetEncodingSetList(2.5);
  ASSERT_EQ(sets.GetEncodingSetList().size(), 1u);
  const mdt_800::EncodingSet& set = *sets.GetEncodingSetList()[0];
  EXPECT_EQ(typeid(set), typeid(mdt_800::DiscreteValues));
  const std::vector<mdt_800::EncodingItem> items = set.GetItems();
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].GetValue().GetType(), mdt_800::Variant::TYPE_DOUBLE);
  EXPECT_EQ(static_cast<double>(items[0].GetValue()), 2.5);
  EXPECT_FALSE(items[0].IsInclusive());
}

TEST(Decode, BuildIntervalPerChild) {
  Host host;
  const int plain = host.Add(translatetest::Numeric("x"));
  const int coded = host.Add(translatetest::Numeric("y", mdt_800::Variable::LEVEL_ORDINAL),
                             MakeEncoder(kSingleCodes));
  const tree_800::SplitRule plainRule =
      translatetest::OrdinalRule(plain, {Range::AtMost(2.5), Range::Above(2.5)});
  const tree_800::SplitRule codedRule =
      translatetest::OrdinalRule(coded, {Range::AtMost(1), Range::Between(1, true, 3, false)});
  const struct {
    const tree_800::SplitRule& rule;
    int child;
    const char* expected;
  } kCases[] = {
      {plainRule, 0, "~(none, 2.5]"},
      {plainRule, 1, "(2.5, ~none)"},
      {codedRule, 1, "(10, 30]"},
      {plainRule, 2, "(0L, 0L)"},  // no value set
  };
  const RuleExportManager manager = host.Manager();
  for (const auto& c : kCases) {
    Interval interval;
    manager.BuildInterval(&interval, c.rule, c.child);
    EXPECT_EQ(IntervalText(interval), c.expected) << "child " << c.child;
  }
}

}  // namespace
