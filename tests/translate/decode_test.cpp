// Decoding of ordinal value sets and encoding sets into intervals of variable
// values: without encoder, over single-value codes, over range codes, with
// infinite ends, and for children without values.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "hosttestutil.h"
#include "intervaltext.h"
#include "refhost/faults.h"
#include "refhost/ordinalsplit.h"
#include "refhost/valuesets.h"
#include "translate/ruleexportmanager.h"

namespace {

using namespace TreeOut_800;
using mdt_800::Variant;
using refhost::Range;
using translatetest::Host;
using translatetest::IntervalText;
using translatetest::OrdinalRule;

const double kInf = std::numeric_limits<double>::infinity();

enum Coding { kNoEncoder, kSingleCodes, kRangeCodes };

// Codes 1..3 for 10, 20, 30; or for [0, 5), [5, 10), [10, +inf).
std::unique_ptr<mdt_800::Encoder> MakeEncoder(Coding coding) {
  using translatetest::CodeEncoder;
  using translatetest::Single;
  if (coding == kSingleCodes) {
    return CodeEncoder({Single(Variant(10.0)), Single(Variant(20.0)), Single(Variant(30.0))});
  }
  if (coding == kRangeCodes) {
    return CodeEncoder({translatetest::Range(0, true, 5, false),
                        translatetest::Range(5, true, 10, false),
                        translatetest::Range(10, true, kInf, false)});
  }
  return nullptr;
}

// An interval whose every field is set, so that a side left alone shows.
Interval Preset() {
  Interval interval;
  interval.SetLeftEnd(mdt_800::Value(Variant(42.0)));
  interval.SetOpenLeft(false);
  interval.SetRightEnd(mdt_800::Value(Variant(43.0)));
  interval.SetOpenRight(false);
  return interval;
}

struct DecodeCase {
  const char* name;
  Coding coding;
  Range range;
  const char* expected;
};

TEST(Decode, OrdinalValueSets) {
  const DecodeCase kCases[] = {
      {"plain [2.5, 7)", kNoEncoder, Range::Between(2.5, false, 7, true), "[2.5, 7)"},
      {"plain (2.5, 7]", kNoEncoder, Range::Between(2.5, true, 7, false), "(2.5, 7]"},
      {"plain, no lower bound keeps the left end", kNoEncoder, Range::AtMost(7), "~[42, 7]"},
      {"plain, no upper bound keeps the right end", kNoEncoder, Range::Above(3), "(3, ~43]"},
      {"plain, no bound at all", kNoEncoder, Range::All(), "~[42, ~43]"},
      {"single codes (1, 3]", kSingleCodes, Range::Between(1, true, 3, false), "(10, 30]"},
      {"single codes [1, 3)", kSingleCodes, Range::Between(1, false, 3, true), "(10, 30]"},
      {"single codes [1, 3]", kSingleCodes, Range::Between(1, false, 3, false), "(10, 30]"},
      {"single codes, below 2", kSingleCodes, Range::AtMost(2), "~[42, 20]"},
      {"unknown code gives the neutral item", kSingleCodes, Range::Between(7, true, 9, false),
       "(0, 0]"},
      {"range codes, open lower at 1", kRangeCodes, Range::Between(1, true, 2, false), "(5, 10]"},
      {"range codes, closed lower at 1", kRangeCodes, Range::Between(1, false, 2, false), "[0, 5]"},
      {"range codes, up to the infinite code", kRangeCodes, Range::Between(2, true, 3, false),
       "(10, inf]"},
      {"range codes, upper bound only", kRangeCodes, Range::AtMost(2), "~[42, 10]"},
  };
  for (const DecodeCase& c : kCases) {
    std::unique_ptr<mdt_800::Encoder> encoder = MakeEncoder(c.coding);
    Host host;
    const refhost::RangeSet valueSet(c.range);
    Interval interval = Preset();
    host.Manager().DecodeOValueSet(valueSet, encoder.get(), &interval);
    EXPECT_EQ(IntervalText(interval), c.expected) << c.name;
  }
}

// A code whose interval starts at minus infinity: a closed lower bound takes
// that end, and the side still ends up bounded, at the infinity.
TEST(Decode, InfiniteEndStillBoundsTheSide) {
  std::unique_ptr<mdt_800::Encoder> encoder = translatetest::CodeEncoder(
      {translatetest::Range(-kInf, false, 5, false), translatetest::Range(5, true, 10, false)});
  Host host;
  Interval interval = Preset();
  host.Manager().DecodeOValueSet(refhost::RangeSet(Range::Between(1, false, 2, false)),
                                 encoder.get(), &interval);
  EXPECT_EQ(IntervalText(interval), "(-inf, 5]");
}

struct EndCase {
  const char* name;
  double lower, upper;
  bool lowerIncluded, upperIncluded;
  bool open, lowerEnd;
  double value;
  bool inclusive;
};

TEST(Decode, EndOfACodeInterval) {
  const EndCase kCases[] = {
      {"open lower bound: upper end, excluded", 0, 5, true, true, true, true, 5, false},
      {"open upper bound: lower end, excluded", 0, 5, true, true, true, false, 0, false},
      {"closed lower bound: lower end as stored", 0, 5, true, false, false, true, 0, true},
      {"closed upper bound: upper end as stored", 0, 5, true, false, false, false, 5, false},
      {"open, infinite end keeps its flag", 0, kInf, true, true, true, true, kInf, true},
      {"open, infinite lower end keeps its flag", -kInf, 5, true, true, true, false, -kInf, true},
  };
  Host host;
  const RuleExportManager manager = host.Manager();
  for (const EndCase& c : kCases) {
    const mdt_800::Interval code(mdt_800::EncodingItem(Variant(c.lower), c.lowerIncluded),
                                 mdt_800::EncodingItem(Variant(c.upper), c.upperIncluded));
    const mdt_800::EncodingItem item = manager.DecodeOValueSetValue(code, 99, c.open, c.lowerEnd);
    EXPECT_EQ(static_cast<double>(item.GetValue()), c.value) << c.name;
    EXPECT_EQ(item.IsInclusive(), c.inclusive) << c.name;
  }
}

TEST(Decode, EncodingSetToInterval) {
  Host host;
  const RuleExportManager manager = host.Manager();
  const struct {
    const char* name;
    mdt_800::Interval set;
    const char* expected;
  } kCases[] = {
      {"[1, 4)", {{Variant(1.0), true}, {Variant(4.0), false}}, "[1, 4)"},
      {"(97, 99]", {{Variant(97.0), false}, {Variant(99.0), true}}, "(97, 99]"},
      {"infinite upper end is bounded", {{Variant(1.0), true}, {Variant(kInf), false}}, "[1, inf)"},
      {"infinite lower end is bounded",
       {{Variant(-kInf), true}, {Variant(4.0), true}},
       "[-inf, 4]"},
  };
  for (const auto& c : kCases) {
    Interval interval;
    manager.EncodingSetToInterval(c.set, &interval);
    EXPECT_EQ(IntervalText(interval), c.expected) << c.name;
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
  const RuleExportManager manager = host.Manager();
  const tree_800::SplitRule plainRule = OrdinalRule(plain, {Range::AtMost(2.5), Range::Above(2.5)});
  const tree_800::SplitRule codedRule =
      OrdinalRule(coded, {Range::AtMost(1), Range::Between(1, true, 3, false)});
  const struct {
    const char* name;
    const tree_800::SplitRule& rule;
    int child;
    const char* expected;
  } kCases[] = {
      {"plain child 0", plainRule, 0, "~(none, 2.5]"},
      {"plain child 1", plainRule, 1, "(2.5, ~none)"},
      {"coded child 1", codedRule, 1, "(10, 30]"},
      {"no value set: (0, 0)", plainRule, 2, "(0L, 0L)"},
  };
  for (const auto& c : kCases) {
    Interval interval;
    manager.BuildInterval(&interval, c.rule, c.child);
    EXPECT_EQ(IntervalText(interval), c.expected) << c.name;
  }
  Interval none;
  manager.BuildInterval(&none, plainRule, 5);
  EXPECT_TRUE(none.IsEmpty());
}

// A host operation that throws part-way leaves nothing behind: the listener
// of every test program checks the host's live objects after each test.
TEST(Decode, HostFaultReleasesEverything) {
  const struct {
    const char* operation;
    long nth;
  } kFaults[] = {{"GetMappedValues", 1}, {"Decode", 1},   {"Decode", 2},  {"GetFirstInterval", 2},
                 {"GetFirstValue", 1},   {"GetItems", 1}, {"GetItems", 2}};
  for (const auto& fault : kFaults) {
    Host host;
    const int coded = host.Add(translatetest::Numeric("y", mdt_800::Variable::LEVEL_ORDINAL),
                               MakeEncoder(kRangeCodes));
    const tree_800::SplitRule rule =
        OrdinalRule(coded, {Range::AtMost(1), Range::Between(1, true, 3, false)});
    Interval interval;
    refhost::FaultGuard guard(fault.operation, fault.nth);
    EXPECT_THROW(host.Manager().BuildInterval(&interval, rule, 1), std::runtime_error)
        << fault.operation << " call " << fault.nth;
    EXPECT_TRUE(refhost::FaultFired()) << fault.operation << " call " << fault.nth;
  }
}

}  // namespace
