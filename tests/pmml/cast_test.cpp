// A cut on a derived field that casts x to a 32-bit float (or to an integer)
// moves to a double cut on x that selects exactly the doubles whose cast
// value passes the original test. For random cuts, the doubles around every
// place where the outcome may change (the cut, and the midpoints between it
// and its float neighbours, where rounding turns) and their neighbours are
// routed through the loaded tree and compared with the cast done here.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "refhost/numbertext.h"
#include "refhost/pmml/pmmlmodel.h"
#include "refhost/records.h"

namespace {

std::string Document(char const* type, char const* op, double cut) {
  return std::string(
             R"(<PMML version="4.4"><DataDictionary>)"
             R"(<DataField name="x" optype="continuous" dataType="double"/>)"
             R"(<DataField name="t" optype="categorical" dataType="string"><Value value="a"/><Value value="b"/></DataField>)"
             R"(</DataDictionary><TransformationDictionary>)"
             R"(<DerivedField name="c" optype="continuous" dataType=")") +
         type +
         R"("><FieldRef field="x"/></DerivedField><DerivedField name="d" optype="continuous" dataType="double"><FieldRef field="c"/></DerivedField>)"
         R"(</TransformationDictionary><TreeModel functionName="classification"><MiningSchema><MiningField name="x"/><MiningField name="t" usageType="target"/></MiningSchema>)"
         R"(<Node id="1" score="a"><True/><Node id="2" score="a"><SimplePredicate field="d" operator=")" +
         op + "\" value=\"" + refhost::ShortestText(cut) +
         R"("/></Node><Node id="3" score="b"><True/></Node></Node></TreeModel></PMML>)";
}

bool Holds(std::string const& op, double left, double right) {
  if (op == "lessThan") return left < right;
  if (op == "lessOrEqual") return left <= right;
  if (op == "greaterThan") return left > right;
  if (op == "greaterOrEqual") return left >= right;
  return left == right;
}

// Nearest integer, halves up, computed without rounding on the way.
double RoundHalfUp(double x) {
  long double const y = std::floor(static_cast<long double>(x) + 0.5L);
  return static_cast<double>(y);
}

unsigned int NodeOf(refhost::PmmlModel const& model, double x) {
  return model.OutputId(
      model.GetModel().Route(refhost::MakeRecord({mdt_800::Variant(x), mdt_800::Variant()})));
}

TEST(Casts, CutOnACastSelectsTheDoublesWhoseCastPasses) {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> whole(-1000, 1000);
  int probes = 0;
  for (int n = 0; n < 500; ++n) {
    bool const toFloat = n % 5 < 3;
    double cut = whole(random) + 0.25 * (random() % 4);
    std::vector<double> turns = {cut, std::floor(cut) - 0.5, std::floor(cut) + 0.5,
                                 std::floor(cut) + 1.5};
    if (toFloat) {
      std::uint32_t bits = random();
      float f = 0;
      std::memcpy(&f, &bits, sizeof f);
      if (!std::isfinite(f) || std::fabs(f) > 1e30f) continue;
      cut = f;
      // Rounding to float turns at the midpoints to the neighbours.
      turns = {cut, (static_cast<double>(std::nextafter(f, -INFINITY)) + cut) / 2,
               (static_cast<double>(std::nextafter(f, INFINITY)) + cut) / 2};
    }
    for (char const* op : {"lessThan", "lessOrEqual", "greaterThan", "greaterOrEqual", "equal"}) {
      refhost::PmmlModel const model =
          refhost::LoadPmml(Document(toFloat ? "float" : "integer", op, cut));
      // An order test is one split (equality leaves its sibling two ranges).
      if (std::string(op) != "equal") {
        ASSERT_EQ(model.GetModel().GetTree().Size(), 3u);
      }
      for (double m : turns) {
        for (double p : {std::nextafter(m, -INFINITY), m, std::nextafter(m, INFINITY)}) {
          double const cast = toFloat ? static_cast<float>(p) : RoundHalfUp(p);
          EXPECT_EQ(NodeOf(model, p), Holds(op, cast, cut) ? 2u : 3u)
              << op << " " << refhost::ShortestText(cut) << " at x = " << refhost::ShortestText(p);
          ++probes;
        }
      }
    }
  }
  EXPECT_GT(probes, 5000);
}

}  // namespace
