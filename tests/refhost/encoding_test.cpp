// Values, their order, encoding sets and the encoders that the builder makes.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <memory>
#include <typeinfo>

#include "host/systemmissing.h"
#include "refhost/builder.h"
#include "refhost/extremes.h"

namespace {

using mdt_800::Variant;
double const kSysmis = std::numeric_limits<double>::lowest();
double const kInf = std::numeric_limits<double>::infinity();

TEST(Variant, EqualityAndOrder) {
  EXPECT_EQ(systemMissingValue(), kSysmis);
  struct {
    Variant a, b;
    bool equal, less, greater;
  } const cases[] = {
      {Variant(), Variant(), true, false, false},
      {Variant(), Variant(-1e308), false, true, false},
      {Variant(2L), Variant(2.0), true, false, false},
      {Variant(2L), Variant(3L), false, true, false},
      {Variant(2.5), Variant(-3L), false, false, true},
      {Variant("2"), Variant(2.0), false, false, true},
      {Variant("B"), Variant("a"), false, true, false},
      {Variant("abc"), Variant("abc"), true, false, false},
      {Variant(""), Variant(), false, false, true},
      {Variant(0.0), Variant(""), false, true, false},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message() << c.a.GetType() << " vs " << c.b.GetType());
    EXPECT_EQ(c.a == c.b, c.equal);
    EXPECT_EQ(c.a != c.b, !c.equal);
    EXPECT_EQ(mdt_800::Value(c.a) < mdt_800::Value(c.b), c.less);
    EXPECT_EQ(mdt_800::Value(c.a) > mdt_800::Value(c.b), c.greater);
  }
}

TEST(Variant, Conversions) {
  EXPECT_EQ(static_cast<double>(Variant(7L)), 7.0);
  EXPECT_EQ(static_cast<long>(Variant(-7.9)), -7);
  EXPECT_EQ(static_cast<long>(Variant(1e300)), std::numeric_limits<long>::max());
  EXPECT_EQ(static_cast<double>(Variant("5")), 0.0);
  Variant v("text");
  v = Variant(1.5);
  EXPECT_EQ(v.GetType(), Variant::TYPE_DOUBLE);
  EXPECT_EQ(static_cast<std::string const&>(v), "");
}

TEST(EncodingSets, CopiesDeeplyAndFindsFirstIntervalAndValue) {
  mdt_800::EncodingSets sets;
  EXPECT_EQ(std::unique_ptr<mdt_800::Interval>(sets.GetFirstInterval()), nullptr);
  EXPECT_EQ(std::unique_ptr<Variant>(sets.GetFirstValue()), nullptr);
  sets.AddEncodingSet(mdt_800::Interval(mdt_800::EncodingItem(Variant(-kInf), false),
                                        mdt_800::EncodingItem(Variant(5.0), true)));
  sets.AddEncodingSet(mdt_800::DiscreteValues());  // empty: holds no first value
  mdt_800::DiscreteValues values;
  values.AddItem(mdt_800::EncodingItem(Variant("a"), true));
  values.AddItem(mdt_800::EncodingItem(Variant("b"), true));
  sets.AddEncodingSet(values);
  mdt_800::EncodingSets const copy = sets;
  sets.AddEncodingSet(values);
  ASSERT_EQ(copy.GetEncodingSetList().size(), 3u);
  EXPECT_NE(copy.GetEncodingSetList()[0].get(), sets.GetEncodingSetList()[0].get());

  std::unique_ptr<mdt_800::Interval> interval(copy.GetFirstInterval());
  ASSERT_NE(interval, nullptr);
  std::vector<mdt_800::EncodingItem> const items = interval->GetItems();
  ASSERT_EQ(items.size(), 2u);
  EXPECT_TRUE(items[0].IsInfinity());
  EXPECT_FALSE(items[1].IsInfinity());
  EXPECT_TRUE(items[1].IsInclusive());
  EXPECT_EQ(items[1].GetValue(), Variant(5.0));
  std::unique_ptr<Variant> first(copy.GetFirstValue());
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(*first, Variant("a"));
}

TEST(EncodingItem, InfinityIsADoubleInfinityOnly) {
  EXPECT_TRUE(mdt_800::EncodingItem(Variant(kInf), true).IsInfinity());
  EXPECT_TRUE(mdt_800::EncodingItem(Variant(-kInf), true).IsInfinity());
  EXPECT_TRUE(mdt_800::EncodingItem(Variant(refhost::kLowestBound), true).IsInfinity());
  EXPECT_TRUE(mdt_800::EncodingItem(Variant(refhost::kHighestBound), true).IsInfinity());
  EXPECT_FALSE(mdt_800::EncodingItem(Variant(-DBL_MAX), true).IsInfinity()) << "system-missing";
  EXPECT_FALSE(mdt_800::EncodingItem(Variant(1e308), true).IsInfinity());
  EXPECT_FALSE(mdt_800::EncodingItem(Variant("inf"), true).IsInfinity());
  EXPECT_FALSE(mdt_800::EncodingItem(Variant(), true).IsInfinity());
}

refhost::Model EncoderModel() {
  refhost::ModelBuilder b;
  b.Nominal("region", {"north", "south", "east"}).Missing({"unknown"});
  b.Nominal("grade", {10.0, 20.0});
  b.Binned("band", {0.0, 10.0});
  b.Scale("income").Missing({-1.0, 9999L}).MissingRange(-99, -90).MissingRange(-kInf, -1e6);
  b.Scale("plain").ValueLabel(1.0, "one").Label("Plain number");
  b.Node(0);
  return b.Build();
}

TEST(Encoder, EncodesValuesToCodes) {
  refhost::Model const m = EncoderModel();
  auto const& vars = m.GetMetadata().GetVariables();
  struct {
    int var;
    Variant value;
    double code;
  } const cases[] = {
      {0, "north", 1},
      {0, "west", kSysmis},
      {0, "unknown", kSysmis},
      {0, Variant(), kSysmis},
      {0, 1.0, kSysmis},
      {1, 20L, 2},
      {1, 15.0, kSysmis},
      {1, "10", kSysmis},
      {2, -0.5, 1},
      {2, 0.0, 2},
      {2, 9.999, 2},
      {2, 10.0, 3},
      {2, 1e308, 3},
      {3, 5.5, 5.5},
      {3, 7L, 7},
      {3, -1.0, kSysmis},
      {3, 9999.0, kSysmis},
      {3, -99.0, kSysmis},
      {3, -90.0, kSysmis},
      {3, -89.5, -89.5},
      {3, -100.0, -100},
      {3, -1e6, kSysmis},
      {3, "5", kSysmis},
      {3, Variant(), kSysmis},
  };
  for (auto const& c : cases) {
    mdt_800::Encoder const* encoder = vars[c.var].GetEncoding();
    ASSERT_NE(encoder, nullptr);
    EXPECT_EQ(encoder->Encode(c.value), c.code)
        << vars[c.var].GetName() << " " << static_cast<double>(c.value)
        << static_cast<std::string const&>(c.value);
  }
  EXPECT_EQ(vars[4].GetEncoding(), nullptr);
}

TEST(Encoder, DecodesCodesToValuesAndRanges) {
  refhost::Model const m = EncoderModel();
  auto const& vars = m.GetMetadata().GetVariables();
  auto const* region = dynamic_cast<mdt_800::MapEncoder const*>(vars[0].GetEncoding());
  ASSERT_NE(region, nullptr);
  EXPECT_EQ(region->EncodedValues(), (std::vector<int>{1, 2, 3}));
  for (double code : {0.0, 4.0, 1.5, kSysmis}) {
    EXPECT_TRUE(region->Decode(code).GetEncodingSetList().empty()) << code;
  }
  std::unique_ptr<Variant> south(region->Decode(2).GetFirstValue());
  ASSERT_NE(south, nullptr);
  EXPECT_EQ(*south, Variant("south"));

  // Bands: [-inf, 0), [0, 10), [10, +inf); the unbounded ends hold the
  // finite extreme bounds.
  mdt_800::Encoder const* band = vars[2].GetEncoding();
  struct {
    double code;
    bool lowerInfinite, lowerInclusive;
    double lower;
    bool upperInfinite, upperInclusive;
    double upper;
  } const bands[] = {{1, true, false, refhost::kLowestBound, false, false, 0},
                     {2, false, true, 0, false, false, 10},
                     {3, false, true, 10, true, false, refhost::kHighestBound}};
  for (auto const& c : bands) {
    mdt_800::EncodingSets const sets = band->Decode(c.code);
    EXPECT_EQ(std::unique_ptr<Variant>(sets.GetFirstValue()), nullptr);
    std::unique_ptr<mdt_800::Interval> interval(sets.GetFirstInterval());
    ASSERT_NE(interval, nullptr) << c.code;
    auto const items = interval->GetItems();
    EXPECT_EQ(items[0].IsInfinity(), c.lowerInfinite) << c.code;
    EXPECT_EQ(items[1].IsInfinity(), c.upperInfinite) << c.code;
    if (!c.lowerInfinite) {
      EXPECT_EQ(items[0].IsInclusive(), c.lowerInclusive) << c.code;
    }
    if (!c.upperInfinite) {
      EXPECT_EQ(items[1].IsInclusive(), c.upperInclusive) << c.code;
    }
    EXPECT_EQ(static_cast<double>(items[0].GetValue()), c.lower);
    EXPECT_EQ(static_cast<double>(items[1].GetValue()), c.upper);
  }

  // A numeric encoder decodes a code to the number itself.
  std::unique_ptr<Variant> number(vars[3].GetEncoding()->Decode(12.25).GetFirstValue());
  ASSERT_NE(number, nullptr);
  EXPECT_EQ(static_cast<double>(*number), 12.25);
}

TEST(Encoder, CarriesUserMissingValuesAsSetsAndRanges) {
  refhost::Model const m = EncoderModel();
  auto const& vars = m.GetMetadata().GetVariables();
  mdt_800::MissingValues const* missing = vars[3].GetEncoding()->GetMissingValues();
  ASSERT_NE(missing, nullptr);
  auto const& list = missing->GetEncodingSets()->GetEncodingSetList();
  ASSERT_EQ(list.size(), 3u);
  EXPECT_EQ(typeid(*list[0]), typeid(mdt_800::DiscreteValues));
  EXPECT_EQ(list[0]->GetItems().size(), 2u);
  EXPECT_EQ(typeid(*list[1]), typeid(mdt_800::Interval));
  EXPECT_EQ(static_cast<double>(list[1]->GetItems()[0].GetValue()), -99.0);
  EXPECT_TRUE(list[2]->GetItems()[0].IsInfinity());
  EXPECT_EQ(vars[1].GetEncoding()->GetMissingValues(), nullptr);
}

TEST(Variable, DescribesItself) {
  refhost::Model const m = EncoderModel();
  auto const& vars = m.GetMetadata().GetVariables();
  EXPECT_EQ(vars[0].GetStorageType(), mdt_800::Variable::STORAGE_STRING);
  EXPECT_EQ(vars[1].GetStorageType(), mdt_800::Variable::STORAGE_NUMERIC);
  EXPECT_EQ(vars[2].GetMeasurementLevel(), mdt_800::Variable::LEVEL_ORDINAL);
  EXPECT_EQ(vars[4].GetMeasurementLevel(), mdt_800::Variable::LEVEL_SCALE);
  // Value labels match by value, not by text.
  EXPECT_EQ(vars[4].GetValueLabel(Variant(1L)), "one");
  EXPECT_EQ(vars[4].GetValueLabel(Variant("1")), "");
}

}  // namespace
