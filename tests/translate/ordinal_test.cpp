// Ordinal split texts: the income examples with discrete and ranged
// user-missing values, the range clause, and the missing-value clause writers.
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "hosttestutil.h"
#include "translate/ruleexportmanager.h"

namespace {

using namespace TreeOut_800;
using mdt_800::Variant;
using translatetest::Income;
using translatetest::Missing;
using translatetest::Options;

const double kInf = std::numeric_limits<double>::infinity();

// A child range: ends with their open flags; an infinite end is unbounded.
Interval Child(double lower, bool lowerOpen, double upper, bool upperOpen) {
  Interval interval;
  if (lower != -kInf) {
    interval.SetLeftEnd(mdt_800::Value(Variant(lower)));
    interval.SetOpenLeft(lowerOpen);
  }
  if (upper != kInf) {
    interval.SetRightEnd(mdt_800::Value(Variant(upper)));
    interval.SetOpenRight(upperOpen);
  }
  return interval;
}

const Interval kBelow50 = Child(-kInf, true, 50, true);
const Interval kFrom50 = Child(50, false, kInf, true);
const Interval k0To50 = Child(0, false, 50, true);
const Interval kEmpty = Child(0, true, 0, true);

// A set of values of neither host kind, as a host may define it.
class OtherSet : public mdt_800::EncodingSet {
 public:
  explicit OtherSet(const Variant& value) { fnItems.emplace_back(value, true); }
  std::vector<mdt_800::EncodingItem> GetItems() const override { return fnItems; }
  mdt_800::EncodingSet* Clone() const override { return new OtherSet(*this); }

 private:
  std::vector<mdt_800::EncodingItem> fnItems;
};

// The user-missing values of income; "Other" is a set of another kind.
enum MissingKind {
  kNone,
  k99,
  k97To99,
  k99And97To98,
  kTwoRanges,
  k8And9,
  k8And97To99,
  kNoContentAnd8L,
  kNoContent,
  k8And97To99AndOther5,
  kOther5
};

std::unique_ptr<mdt_800::MissingValues> MakeMissing(MissingKind kind) {
  mdt_800::EncodingSets sets;
  switch (kind) {
    case kNone:
      return nullptr;
    case k99:
      return Missing({Variant(99.0)});
    case k97To99:
      return Missing({}, {{97, 99}});
    case k99And97To98:
      return Missing({Variant(99.0)}, {{97, 98}});
    case kTwoRanges:  // only the first range counts: [-9, -1] would overlap
      return Missing({}, {{97, 99}, {-9, -1}});
    case k8And9:
      return Missing({Variant(8.0), Variant(9.0)});
    case k8And97To99:
      return Missing({Variant(8.0)}, {{97, 99}});
    case kNoContentAnd8L:
      return Missing({Variant(), Variant(8L)});
    case kNoContent:
      return Missing({Variant()});
    case k8And97To99AndOther5:
      sets = *MakeMissing(k8And97To99)->GetEncodingSets();
      break;
    case kOther5:
      break;
  }
  sets.AddEncodingSet(OtherSet(Variant(5.0)));
  return std::make_unique<mdt_800::MissingValues>(sets);
}

// Each row also counts the ranges of its range clause (two pieces count two;
// a range with no bounded end none), whose text is part of the whole.
TEST(Ordinal, Clauses) {
  const struct {
    const char* name;
    MissingKind missing;
    Interval childRange;
    bool includeMissing;
    ExportTargetFlag target;
    int dialect, ranges;
    const char* expected;
  } kCases[] = {
      {"99, child 0 sql", k99, kBelow50, false, TARGET_NODE, DIALECT_SQL, 1,
       "((NOT(income IS NULL)  AND  income <> 99)  AND  (income < 50))"},
      {"99, child 1 sql", k99, kFrom50, true, TARGET_NODE, DIALECT_SQL, 1,
       "(((income IS NULL) OR income = 99) OR (income >= 50))"},
      {"99, child 0 veld", k99, kBelow50, false, TARGET_NODE, DIALECT_VELD, 1,
       "(VALUE(income) NE 99  AND  (VALUE(income) LT 50))"},
      {"99, child 1 veld", k99, kFrom50, true, TARGET_NODE, DIALECT_VELD, 1,
       "((SYSMIS(income) OR VALUE(income) EQ 99) OR (VALUE(income) GE 50))"},
      {"99, child 0 generic", k99, kBelow50, false, TARGET_NODE, DIALECT_GENERIC, 1,
       "((income NOT MISSING   AND  income != 99)  AND  (income < 50))"},
      {"99, child 1 generic", k99, kFrom50, true, TARGET_NODE, DIALECT_GENERIC, 1,
       "((income IS MISSING  OR income = 99) OR (income >= 50))"},
      {"range overlaps, cut out", k97To99, kFrom50, false, TARGET_NODE, DIALECT_SQL, 2,
       "(NOT(income IS NULL)  AND  (income >= 50  AND  income < 97 OR income > 99))"},
      {"range apart, added", k97To99, k0To50, true, TARGET_NODE, DIALECT_SQL, 2,
       "((income IS NULL) OR (income >= 97  AND  income <= 99 OR income >= 0  AND  income < 50))"},
      {"range overlaps, kept whole", k97To99, Child(90, false, kInf, true), true, TARGET_NODE,
       DIALECT_SQL, 1, "((income IS NULL) OR (income >= 90))"},
      {"range overlaps at the lower end: lower piece kept", k97To99, Child(98, false, kInf, true),
       false, TARGET_OR_LINK, DIALECT_SQL, 2,
       "(NOT(income IS NULL)  AND  (income >= 98  AND  income < 97 OR income > 99))"},
      {"range overlaps, veld", k97To99, kFrom50, false, TARGET_NODE, DIALECT_VELD, 2,
       "(VALUE(income) GE 50  AND  VALUE(income) LT 97 OR VALUE(income) GT 99)"},
      {"empty child, range still added", k97To99, kEmpty, true, TARGET_NODE, DIALECT_SQL, 1,
       "((income IS NULL) OR (income >= 97  AND  income <= 99))"},
      {"empty child, nothing else", k97To99, kEmpty, false, TARGET_NODE, DIALECT_SQL, 0,
       "NOT(income IS NULL)"},
      {"empty child, veld guard", k97To99, kEmpty, false, TARGET_NODE, DIALECT_VELD, 0,
       "~(SYSMIS(income))"},
      {"second range ignored", kTwoRanges, Child(-5, false, 50, true), false, TARGET_NODE,
       DIALECT_SQL, 1, "(NOT(income IS NULL)  AND  (income >= -5  AND  income < 50))"},
      {"one clause, no outer brackets", kNone, Child(10, true, 20, false), false, TARGET_NODE,
       DIALECT_VELD, 1, "(VALUE(income) GT 10  AND  VALUE(income) LE 20)"},
      {"unbounded child, veld guard", kNone, Interval(), false, TARGET_NODE, DIALECT_VELD, 0,
       "~(SYSMIS(income))"},
      {"unbounded child, veld, missing in: every record", kNone, Interval(), true, TARGET_NODE,
       DIALECT_VELD, 1, "(SYSMIS(income) OR (1 EQ 1))"},
      {"unbounded child, sql", kNone, Interval(), false, TARGET_NODE, DIALECT_SQL, 0,
       "NOT(income IS NULL)"},
      {"two clauses bracketed", kNone, Child(10, true, 20, false), true, TARGET_NODE,
       DIALECT_GENERIC, 1, "(income IS MISSING  OR (income > 10  AND  income <= 20))"},
      // An AND link builds no child range: only missing-value clauses remain.
      {"and link sql, child range unused", k99, k0To50, true, TARGET_AND_LINK, DIALECT_SQL, 0,
       "((income IS NULL) OR income = 99)"},
      {"and link veld, guard in front", k99, Interval(), false, TARGET_AND_LINK, DIALECT_VELD, 0,
       "(~(SYSMIS(income))  AND  VALUE(income) NE 99)"},
      {"and link sql with range", k99And97To98, Interval(), true, TARGET_AND_LINK, DIALECT_SQL, 1,
       "(((income IS NULL) OR income = 99) OR (income >= 97  AND  income <= 98))"},
      {"and link veld with range", k99And97To98, Interval(), false, TARGET_AND_LINK, DIALECT_VELD,
       1, "(VALUE(income) NE 99  AND  (VALUE(income) GE 97  AND  VALUE(income) LE 98))"},
  };
  for (const auto& c : kCases) {
    const Income income(MakeMissing(c.missing));
    const RuleExportManager manager = income.host.Manager();
    EXPECT_EQ(manager.ExportOrdinalClauses(income.Rule(), c.childRange, c.target,
                                           Options(c.dialect), c.includeMissing),
              c.expected)
        << c.name;
    std::string ranges = "stale";
    EXPECT_EQ(manager.ExportIntervals(income.Rule(), ranges, Options(c.dialect), c.childRange,
                                      c.includeMissing, c.target),
              c.ranges)
        << c.name;
    EXPECT_EQ(ranges.empty(), c.ranges == 0) << c.name << ": " << ranges;
    EXPECT_NE(std::string(c.expected).find(ranges), std::string::npos) << c.name << ": " << ranges;
  }
}

// The whole path from the split's codes: child 1 decodes to [50, +inf); child
// 0 ends closed at 50, since encoded ranges always end closed on the right.
TEST(Ordinal, IncomeFromTheSplit) {
  const struct {
    MissingKind missing;
    int missingChild, child;
    const char* expected;
  } kCases[] = {
      {k99, 1, 1, "(((income IS NULL) OR income = 99) OR (income >= 50))"},
      {k99, 1, 0, "((NOT(income IS NULL)  AND  income <> 99)  AND  (income <= 50))"},
      {k97To99, 0, 1,
       "(NOT(income IS NULL)  AND  (income >= 50  AND  income < 97 OR income > 99))"},
  };
  for (const auto& c : kCases) {
    const Income income(MakeMissing(c.missing));
    EXPECT_EQ(income.host.Manager().SplitRule_Export(income.Rule(c.missingChild), c.child,
                                                     TARGET_NODE, Options(DIALECT_SQL)),
              c.expected);
  }
  const Income income(MakeMissing(k99));
  EXPECT_EQ(income.host.Manager().OrdinalSplitRule_Export(income.Rule(), 0, TARGET_AND_LINK,
                                                          Options(DIALECT_SQL), true),
            "((income IS NULL) OR income = 99)");
}

TEST(Ordinal, SystemMissingClause) {
  const struct {
    int dialect, edgeMode;
    bool includeMissing;
    int count;
    const char* expected;
  } kCases[] = {
      {DIALECT_VELD, EDGE_MODE_PATH, true, 1, "SYSMIS(income)"},
      {DIALECT_VELD, EDGE_MODE_PATH, false, 0, ""},
      {DIALECT_VELD, EDGE_MODE_LABEL, true, 1, "SYSMIS(income)"},
      {DIALECT_SQL, EDGE_MODE_PATH, true, 1, "(income IS NULL)"},
      {DIALECT_SQL, EDGE_MODE_LABEL, false, 1, "NOT(income IS NULL)"},
      {DIALECT_GENERIC, EDGE_MODE_PATH, true, 1, "income IS MISSING "},
      {DIALECT_GENERIC, EDGE_MODE_SPLIT, false, 1, "income NOT MISSING "},
      {DIALECT_GENERIC, EDGE_MODE_LABEL, true, 0, ""},
      {DIALECT_GENERIC, EDGE_MODE_LABEL, false, 0, ""},
      {5, EDGE_MODE_PATH, true, 0, ""},
  };
  const Income income(nullptr);
  for (const auto& c : kCases) {
    std::string out = "stale";
    EXPECT_EQ(income.host.Manager().ExportSystemMissing(
                  income.Rule(), out, Options(c.dialect, c.edgeMode), c.includeMissing),
              c.count)
        << "row " << (&c - kCases);
    EXPECT_EQ(out, c.expected) << "row " << (&c - kCases);
  }
}

// The child range [0, 8.5] holds 8, not 9; label mode leaves the text alone.
TEST(Ordinal, DiscreteMissingClause) {
  const struct {
    MissingKind missing;
    int dialect, edgeMode;
    bool includeMissing;
    ExportTargetFlag target;
    bool writeAll;
    int count;
    const char* expected;
  } kCases[] = {
      {k8And9, DIALECT_SQL, 0, false, TARGET_NODE, true, 2, "income <> 8  AND  income <> 9"},
      {k8And9, DIALECT_VELD, 0, false, TARGET_NODE, true, 2,
       "VALUE(income) NE 8  AND  VALUE(income) NE 9"},
      {k8And9, DIALECT_GENERIC, 0, false, TARGET_NODE, true, 2, "income != 8  AND  income != 9"},
      {k8And9, DIALECT_SQL, 0, true, TARGET_NODE, true, 2, "income = 8 OR income = 9"},
      {k8And9, DIALECT_VELD, 0, true, TARGET_OR_LINK, true, 2,
       "VALUE(income) EQ 8 OR VALUE(income) EQ 9"},
      {k8And9, DIALECT_SQL, 0, false, TARGET_NODE, false, 1, "income <> 8"},
      {k8And9, DIALECT_SQL, 0, true, TARGET_DUMB_RULE, false, 1, "income = 9"},
      {k8And9, DIALECT_SQL, 0, true, TARGET_AND_LINK, false, 2, "income = 8 OR income = 9"},
      {k8And97To99, DIALECT_SQL, 0, false, TARGET_NODE, true, 1, "income <> 8"},
      {k97To99, DIALECT_SQL, 0, false, TARGET_NODE, true, 0, ""},
      {kNoContentAnd8L, DIALECT_SQL, 0, false, TARGET_NODE, true, 1, "income <> 8"},
      {kNoContent, DIALECT_SQL, 0, true, TARGET_NODE, true, 0, ""},
      {k8And97To99AndOther5, DIALECT_SQL, 0, false, TARGET_NODE, true, 2,
       "income <> 8  AND  income <> 5"},
      {kOther5, DIALECT_SQL, 0, false, TARGET_NODE, true, 0, ""},
      {kNone, DIALECT_SQL, 0, true, TARGET_NODE, true, 0, ""},
      {k8And9, DIALECT_SQL, EDGE_MODE_LABEL, true, TARGET_NODE, true, 0, "stale"},
  };
  const Interval upTo8 = Child(0, false, 8.5, false);
  for (const auto& c : kCases) {
    const Income income(MakeMissing(c.missing));
    std::string out = "stale";
    EXPECT_EQ(income.host.Manager().ExportDiscreteMissing(income.Rule(), out,
                                                          Options(c.dialect, c.edgeMode), upTo8,
                                                          c.includeMissing, c.target, c.writeAll),
              c.count)
        << "row " << (&c - kCases);
    EXPECT_EQ(out, c.expected) << "row " << (&c - kCases);
  }

  // A string variable in VELD is compared by its bare name.
  translatetest::Host host;
  const int code = host.Add(translatetest::Text("code", mdt_800::Variable::LEVEL_ORDINAL),
                            translatetest::NumberEncoder(Missing({Variant("x"), Variant("y")})));
  std::string out;
  EXPECT_EQ(host.Manager().ExportDiscreteMissing(translatetest::OrdinalRule(code, {}), out,
                                                 Options(DIALECT_VELD), Interval(), false,
                                                 TARGET_NODE, true),
            2);
  EXPECT_EQ(out, "code NE \"x\"  AND  code NE \"y\"");
}

}  // namespace
