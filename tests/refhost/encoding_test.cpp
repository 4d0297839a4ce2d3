// Values, their order, encoding sets and the encoders that the builder makes.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <memory>
#include <sstream>
#include <utility>

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
  // Every kind assigned over every kind, copies independent of their source.
  std::string const longText(40, 'x');
  Variant const pool[] = {Variant(), Variant(1.5), Variant(7L), Variant("ab"), Variant(longText)};
  for (Variant const& from : pool) {
    for (Variant const& to : pool) {
      Variant a(to), b(from);
      a = b;
      b = Variant("changed");
      a = a;
      EXPECT_EQ(a.GetType(), from.GetType());
      EXPECT_TRUE(a == from);
      EXPECT_EQ(static_cast<std::string const&>(a), static_cast<std::string const&>(from));
    }
  }
}

// Encoding sets as text: "{a, b}" for values, "[0, 10)" for an interval; an
// infinite end shows as "-inf"/"inf" when it holds the finite extreme bound,
// as "-INF"/"INF" when it holds an infinity.
std::string Text(mdt_800::EncodingSet const& set) {
  bool const interval = dynamic_cast<mdt_800::Interval const*>(&set) != nullptr;
  std::string text = interval ? "" : "{";
  std::vector<mdt_800::EncodingItem> const items = set.GetItems();
  for (std::size_t i = 0; i < items.size(); ++i) {
    Variant const& v = items[i].GetValue();
    std::ostringstream value;
    if (interval) value << (i == 0 ? items[i].IsInclusive() ? "[" : "(" : ", ");
    if (v.GetType() == Variant::TYPE_STRING) {
      value << static_cast<std::string const&>(v);
    } else if (items[i].IsInfinity()) {
      double const x = v;
      value << (x < 0 ? "-" : "") << (std::isinf(x) ? "INF" : "inf");
    } else {
      value << static_cast<double>(v);
    }
    if (interval && i == 1) value << (items[i].IsInclusive() ? "]" : ")");
    text += (!interval && i > 0 ? ", " : "") + value.str();
  }
  return interval ? text : text + "}";
}

std::string Text(mdt_800::EncodingSets const& sets) {
  std::string text;
  for (auto const& set : sets.GetEncodingSetList()) text += (text.empty() ? "" : " ") + Text(*set);
  return text;
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
  EXPECT_EQ(Text(copy), "(-INF, 5] {} {a, b}");
  EXPECT_NE(copy.GetEncodingSetList()[0].get(), sets.GetEncodingSetList()[0].get());
  EXPECT_EQ(Text(*std::unique_ptr<mdt_800::Interval>(copy.GetFirstInterval())), "(-INF, 5]");
  EXPECT_EQ(*std::unique_ptr<Variant>(copy.GetFirstValue()), Variant("a"));
}

TEST(EncodingItem, InfinityIsADoubleInfinityOnly) {
  using refhost::kHighestBound, refhost::kLowestBound;
  for (Variant const& v :
       {Variant(kInf), Variant(-kInf), Variant(kLowestBound), Variant(kHighestBound)})
    EXPECT_TRUE(mdt_800::EncodingItem(v, true).IsInfinity()) << static_cast<double>(v);
  // -DBL_MAX is the system-missing value.
  for (Variant const& v : {Variant(-DBL_MAX), Variant(1e308), Variant("inf"), Variant()})
    EXPECT_FALSE(mdt_800::EncodingItem(v, true).IsInfinity()) << static_cast<double>(v);
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
  double const S = kSysmis;
  struct {
    int var;
    std::vector<Variant> values;
    std::vector<double> codes;
  } const cases[] = {
      {0, {"north", "west", "unknown", Variant(), 1.0}, {1, S, S, S, S}},
      {1, {20L, 15.0, "10"}, {2, S, S}},
      {2, {-0.5, 0.0, 9.999, 10.0, 1e308}, {1, 2, 2, 3, 3}},
      {3,
       {5.5, 7L, -1.0, 9999.0, -99.0, -90.0, -89.5, -100.0, -1e6, "5", Variant()},
       {5.5, 7, S, S, S, S, -89.5, -100, S, S, S}},
  };
  for (auto const& c : cases) {
    std::vector<double> codes;
    for (Variant const& v : c.values) codes.push_back(vars[c.var].GetEncoding()->Encode(v));
    EXPECT_EQ(codes, c.codes) << vars[c.var].GetName();
  }
  EXPECT_EQ(vars[4].GetEncoding(), nullptr);
}

TEST(Encoder, DecodesCodesAndCarriesUserMissingValues) {
  refhost::Model const m = EncoderModel();
  auto const& vars = m.GetMetadata().GetVariables();
  auto const* region = dynamic_cast<mdt_800::MapEncoder const*>(vars[0].GetEncoding());
  ASSERT_NE(region, nullptr);
  EXPECT_EQ(region->EncodedValues(), (std::vector<int>{1, 2, 3}));
  struct {
    int var;
    double code;
    char const* sets;
  } const cases[] = {
      {0, 2, "{south}"}, {0, 0, ""},          {0, 4, ""},
      {0, 1.5, ""},      {0, kSysmis, ""},    {2, 1, "(-inf, 0)"},
      {2, 2, "[0, 10)"}, {2, 3, "[10, inf)"}, {3, 12.25, "{12.25}"},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(Text(vars[c.var].GetEncoding()->Decode(c.code)), c.sets) << c.var << " " << c.code;
  }
  EXPECT_EQ(Text(*vars[3].GetEncoding()->GetMissingValues()->GetEncodingSets()),
            "{-1, 9999} [-99, -90] [-inf, -1e+06]");
  EXPECT_EQ(vars[1].GetEncoding()->GetMissingValues(), nullptr);
}

// Value labels match by value, not by text.
TEST(Variable, LabelsValuesByValue) {
  refhost::Model const m = EncoderModel();
  auto const& plain = m.GetMetadata().GetVariables()[4];
  EXPECT_EQ(plain.GetValueLabel(Variant(1L)), "one");
  EXPECT_EQ(plain.GetValueLabel(Variant("1")), "");
}

}  // namespace
