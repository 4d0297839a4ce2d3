// The category encoder's hashed table answers as a search of its sets in
// code order would: random encoders with strings, doubles, integers (also
// beyond 2^53), ranges and user-missing values that overlap the categories.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "host/systemmissing.h"
#include "refhost/categoryencoder.h"
#include "refhost/valuematcher.h"

namespace {

using mdt_800::Variant;

double const kInf = std::numeric_limits<double>::infinity();
long const kBig = 9007199254740993L;  // 2^53 + 1: no double holds it

std::vector<Variant> Pool() {
  return {Variant("a"),
          Variant("b"),
          Variant(""),
          Variant(1.0),
          Variant(2L),
          Variant(-0.0),
          Variant(0.0),
          Variant(3.5),
          Variant(kBig),
          Variant(kBig - 1),
          Variant(9.007199254740992e15),
          Variant(std::nan("")),
          Variant(-1L)};
}

// A random list of sets: single values from the pool and ranges.
mdt_800::EncodingSets RandomSets(std::mt19937& rng) {
  std::vector<Variant> const pool = Pool();
  double const ends[] = {-kInf, -1.0, 0.0, 2.0, 3.5, kInf};
  mdt_800::EncodingSets sets;
  for (int s = static_cast<int>(rng() % 3); s > 0; --s) {
    if (rng() % 3 == 0) {
      double lower = ends[rng() % 6];
      double upper = ends[rng() % 6];
      if (lower > upper) std::swap(lower, upper);
      sets.AddEncodingSet(mdt_800::Interval(mdt_800::EncodingItem(lower, rng() % 2 == 0),
                                            mdt_800::EncodingItem(upper, rng() % 2 == 0)));
    } else {
      mdt_800::DiscreteValues values;
      for (int v = 1 + static_cast<int>(rng() % 3); v > 0; --v) {
        values.AddItem(mdt_800::EncodingItem(pool[rng() % pool.size()], true));
      }
      sets.AddEncodingSet(values);
    }
  }
  return sets;
}

TEST(CodeTable, AnswersAsASearchOfTheSetsInCodeOrder) {
  std::mt19937 rng(99);
  std::vector<Variant> probes = Pool();
  for (double x : {-1.0, 0.0, 2.0, 3.5}) {
    probes.emplace_back(std::nextafter(x, -kInf));
    probes.emplace_back(std::nextafter(x, kInf));
  }
  for (Variant const& extra : {Variant(), Variant("c"), Variant(3L), Variant(kInf), Variant(-kInf),
                               Variant(kBig + 1), Variant(-kBig)}) {
    probes.push_back(extra);
  }
  double const sysmis = systemMissingValue();
  for (int e = 0; e < 300; ++e) {
    std::vector<mdt_800::EncodingSets> codes;
    for (int c = 1 + static_cast<int>(rng() % 5); c > 0; --c) codes.push_back(RandomSets(rng));
    mdt_800::EncodingSets const missing = RandomSets(rng);
    refhost::CategoryEncoder const encoder(
        codes, rng() % 2 == 0 ? std::make_unique<mdt_800::MissingValues>(missing) : nullptr);
    refhost::ValueMatcher const missingMatcher =
        encoder.GetMissingValues() ? refhost::ValueMatcher(missing) : refhost::ValueMatcher();
    for (Variant const& value : probes) {
      double expected = sysmis;
      if (value.GetType() != Variant::TYPE_NONE && !missingMatcher.Matches(value)) {
        for (std::size_t c = 0; c < codes.size(); ++c) {
          if (refhost::ValueMatcher(codes[c]).Matches(value)) {
            expected = static_cast<double>(c + 1);
            break;
          }
        }
      }
      ASSERT_EQ(encoder.Encode(value), expected)
          << "encoder " << e << ", value of type " << value.GetType() << ": "
          << static_cast<double>(value) << " '" << static_cast<std::string const&>(value) << "'";
    }
  }
}

}  // namespace
