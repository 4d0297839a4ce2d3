// Ordinal split texts: the income examples with discrete and ranged
// user-missing values in each dialect, the missing-value clause writers, the
// range clause around a user-missing range, and the ordered string example.
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "hosttestutil.h"
#include "refhost/faults.h"
#include "translate/ruleexportmanager.h"

namespace {

using namespace TreeOut_800;
using mdt_800::Variant;
using refhost::Range;
using translatetest::Host;
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

// income, with its codes binned at 50: code 1 [-inf, 50), code 2 [50, +inf).
struct Income {
  Host host;
  int index;
  explicit Income(std::unique_ptr<mdt_800::MissingValues> missing) {
    index = host.Add(translatetest::Numeric("income"),
                     translatetest::CodeEncoder({translatetest::Range(-kInf, false, 50, false),
                                                 translatetest::Range(50, true, kInf, false)},
                                                std::move(missing)));
  }
  // Code space: child 0 takes code 1, child 1 code 2.
  tree_800::SplitRule Rule(int missingChild) const {
    return translatetest::OrdinalRule(index, {Range::AtMost(1), Range::AtLeast(2)}, missingChild);
  }
};

struct ClauseCase {
  const char* name;
  Interval childRange;
  bool includeMissing;
  int dialect;
  const char* expected;
};

void RunClauses(const Host& host, const tree_800::SplitRule& rule, const ClauseCase* begin,
                const ClauseCase* end, ExportTargetFlag target = TARGET_NODE) {
  const RuleExportManager manager = host.Manager();
  for (const ClauseCase* c = begin; c != end; ++c) {
    EXPECT_EQ(manager.ExportOrdinalClauses(rule, c->childRange, target, Options(c->dialect),
                                           c->includeMissing),
              c->expected)
        << c->name;
  }
}

// Child 0 below 50 (open), child 1 from 50 (closed); 99 user-missing;
// missing values go to child 1.
TEST(Ordinal, IncomeWithDiscreteMissingValue) {
  const ClauseCase kCases[] = {
      {"child 0 sql", Child(-kInf, true, 50, true), false, DIALECT_SQL,
       "((NOT(income IS NULL)  AND  income <> 99)  AND  (income < 50))"},
      {"child 1 sql", Child(50, false, kInf, true), true, DIALECT_SQL,
       "(((income IS NULL) OR income = 99) OR (income >= 50))"},
      {"child 0 veld", Child(-kInf, true, 50, true), false, DIALECT_VELD,
       "(VALUE(income) NE 99  AND  (VALUE(income) LT 50))"},
      {"child 1 veld", Child(50, false, kInf, true), true, DIALECT_VELD,
       "((SYSMIS(income) OR VALUE(income) EQ 99) OR (VALUE(income) GE 50))"},
      {"child 0 generic", Child(-kInf, true, 50, true), false, DIALECT_GENERIC,
       "((income NOT MISSING   AND  income != 99)  AND  (income < 50))"},
      {"child 1 generic", Child(50, false, kInf, true), true, DIALECT_GENERIC,
       "((income IS MISSING  OR income = 99) OR (income >= 50))"},
  };
  Income income(translatetest::Missing({Variant(99.0)}));
  RunClauses(income.host, income.Rule(1), std::begin(kCases), std::end(kCases));
}

// The same through the whole path, from the split's codes: child 1's range is
// decoded to [50, +inf), so its texts are the examples'. (Child 0's decoded
// range ends closed, at 50: encoded ranges always end closed on the right.)
TEST(Ordinal, IncomeFromTheSplit) {
  Income income(translatetest::Missing({Variant(99.0)}));
  const RuleExportManager manager = income.host.Manager();
  const tree_800::SplitRule rule = income.Rule(1);
  EXPECT_EQ(manager.SplitRule_Export(rule, 1, TARGET_NODE, Options(DIALECT_SQL)),
            "(((income IS NULL) OR income = 99) OR (income >= 50))");
  EXPECT_EQ(manager.SplitRule_Export(rule, 1, TARGET_NODE, Options(DIALECT_VELD)),
            "((SYSMIS(income) OR VALUE(income) EQ 99) OR (VALUE(income) GE 50))");
  EXPECT_EQ(manager.SplitRule_Export(rule, 0, TARGET_NODE, Options(DIALECT_SQL)),
            "((NOT(income IS NULL)  AND  income <> 99)  AND  (income <= 50))");
}

// The user-missing range 97 to 99: cut out of an overlapping child range,
// added in front of a child range apart from it.
TEST(Ordinal, IncomeWithMissingRange) {
  const ClauseCase kCases[] = {
      {"overlap, cut out", Child(50, false, kInf, true), false, DIALECT_SQL,
       "(NOT(income IS NULL)  AND  (income >= 50  AND  income < 97 OR income > 99))"},
      {"apart, added", Child(0, false, 50, true), true, DIALECT_SQL,
       "((income IS NULL) OR (income >= 97  AND  income <= 99 OR income >= 0  AND  income < 50))"},
      {"overlap, kept whole", Child(90, false, kInf, true), true, DIALECT_SQL,
       "((income IS NULL) OR (income >= 90))"},
      {"apart, left out", Child(0, false, 50, true), false, DIALECT_SQL,
       "(NOT(income IS NULL)  AND  (income >= 0  AND  income < 50))"},
      {"overlap at the child's lower end: lower piece kept", Child(98, false, kInf, true), false,
       DIALECT_SQL, "(NOT(income IS NULL)  AND  (income >= 98  AND  income < 97 OR income > 99))"},
      {"overlap, veld", Child(50, false, kInf, true), false, DIALECT_VELD,
       "(VALUE(income) GE 50  AND  VALUE(income) LT 97 OR VALUE(income) GT 99)"},
      {"empty child, range still added", Child(0, true, 0, true), true, DIALECT_SQL,
       "((income IS NULL) OR (income >= 97  AND  income <= 99))"},
      {"empty child, nothing else", Child(0, true, 0, true), false, DIALECT_SQL,
       "NOT(income IS NULL)"},
      {"empty child, veld guard", Child(0, true, 0, true), false, DIALECT_VELD,
       "~(SYSMIS(income))"},
  };
  Income income(translatetest::Missing({}, {{97, 99}}));
  RunClauses(income.host, income.Rule(0), std::begin(kCases), std::end(kCases));

  const RuleExportManager manager = income.host.Manager();
  EXPECT_EQ(manager.SplitRule_Export(income.Rule(0), 1, TARGET_NODE, Options(DIALECT_SQL)),
            "(NOT(income IS NULL)  AND  (income >= 50  AND  income < 97 OR income > 99))");
}

// The range clause alone: its text and the number of ranges it counts (a
// range written as two pieces counts two; a range with no bounded end none).
TEST(Ordinal, RangeClauseCounts) {
  const struct {
    const char* name;
    bool missingRange;
    Interval childRange;
    bool includeMissing;
    ExportTargetFlag target;
    int count;
    const char* expected;
  } kCases[] = {
      {"child only", false, Child(0, false, 50, true), false, TARGET_NODE, 1,
       "(income >= 0  AND  income < 50)"},
      {"empty child", false, Child(0, true, 0, true), true, TARGET_NODE, 0, ""},
      {"unbounded child", false, Interval(), false, TARGET_NODE, 0, ""},
      {"and link, no missing range", false, Child(0, false, 50, true), true, TARGET_AND_LINK, 0,
       ""},
      {"and link, missing range alone", true, Child(0, false, 50, true), false, TARGET_AND_LINK, 1,
       "(income >= 97  AND  income <= 99)"},
      {"apart: missing range and child", true, Child(0, false, 50, true), true, TARGET_NODE, 2,
       "(income >= 97  AND  income <= 99 OR income >= 0  AND  income < 50)"},
      {"overlap: two pieces", true, Child(50, false, kInf, true), false, TARGET_OR_LINK, 2,
       "(income >= 50  AND  income < 97 OR income > 99)"},
      {"overlap, kept whole", true, Child(50, false, kInf, true), true, TARGET_NODE, 1,
       "(income >= 50)"},
  };
  for (const auto& c : kCases) {
    Income income(c.missingRange ? translatetest::Missing({}, {{97, 99}}) : nullptr);
    std::string out = "stale";
    EXPECT_EQ(income.host.Manager().ExportIntervals(income.Rule(-1), out, Options(DIALECT_SQL),
                                                    c.childRange, c.includeMissing, c.target),
              c.count)
        << c.name;
    EXPECT_EQ(out, c.expected) << c.name;
  }
}

// Only the first user-missing range counts: [-9, -1] would overlap.
TEST(Ordinal, OnlyTheFirstMissingRange) {
  const ClauseCase kCases[] = {
      {"second range ignored", Child(-5, false, 50, true), false, DIALECT_SQL,
       "(NOT(income IS NULL)  AND  (income >= -5  AND  income < 50))"},
  };
  Income income(translatetest::Missing({}, {{97, 99}, {-9, -1}}));
  RunClauses(income.host, income.Rule(0), std::begin(kCases), std::end(kCases));
}

TEST(Ordinal, BracketsAndGuard) {
  Host host;
  const int x = host.Add(translatetest::Numeric("x"));
  const tree_800::SplitRule rule = translatetest::OrdinalRule(x, {Range::All()});
  const ClauseCase kCases[] = {
      {"one clause, no outer brackets", Child(10, true, 20, false), false, DIALECT_VELD,
       "(VALUE(x) GT 10  AND  VALUE(x) LE 20)"},
      {"unbounded child, veld guard", Interval(), false, DIALECT_VELD, "~(SYSMIS(x))"},
      {"unbounded child, veld, missing in", Interval(), true, DIALECT_VELD, "SYSMIS(x)"},
      {"unbounded child, sql", Interval(), false, DIALECT_SQL, "NOT(x IS NULL)"},
      {"two clauses bracketed", Child(10, true, 20, false), true, DIALECT_GENERIC,
       "(x IS MISSING  OR (x > 10  AND  x <= 20))"},
  };
  RunClauses(host, rule, std::begin(kCases), std::end(kCases));
}

// An AND link builds no child range: only missing-value clauses remain.
TEST(Ordinal, AndLinkWritesOnlyMissingValues) {
  const ClauseCase kDiscrete[] = {
      {"sql", Interval(), true, DIALECT_SQL, "((income IS NULL) OR income = 99)"},
      {"veld, excluded, guard in front", Interval(), false, DIALECT_VELD,
       "(~(SYSMIS(income))  AND  VALUE(income) NE 99)"},
  };
  Income discrete(translatetest::Missing({Variant(99.0)}));
  RunClauses(discrete.host, discrete.Rule(-1), std::begin(kDiscrete), std::end(kDiscrete),
             TARGET_AND_LINK);
  const RuleExportManager manager = discrete.host.Manager();
  EXPECT_EQ(manager.OrdinalSplitRule_Export(discrete.Rule(-1), 0, TARGET_AND_LINK,
                                            Options(DIALECT_SQL), true),
            "((income IS NULL) OR income = 99)");

  const ClauseCase kBoth[] = {
      {"sql with range", Interval(), true, DIALECT_SQL,
       "(((income IS NULL) OR income = 99) OR (income >= 97  AND  income <= 98))"},
      {"veld with range, excluded", Interval(), false, DIALECT_VELD,
       "(VALUE(income) NE 99  AND  (VALUE(income) GE 97  AND  VALUE(income) LE 98))"},
  };
  Income both(translatetest::Missing({Variant(99.0)}, {{97, 98}}));
  RunClauses(both.host, both.Rule(-1), std::begin(kBoth), std::end(kBoth), TARGET_AND_LINK);
}

struct SystemCase {
  const char* name;
  int dialect;
  int edgeMode;
  bool includeMissing;
  int count;
  const char* expected;
};

TEST(Ordinal, SystemMissingClause) {
  const SystemCase kCases[] = {
      {"veld in", DIALECT_VELD, EDGE_MODE_PATH, true, 1, "SYSMIS(income)"},
      {"veld out", DIALECT_VELD, EDGE_MODE_PATH, false, 0, ""},
      {"veld label mode", DIALECT_VELD, EDGE_MODE_LABEL, true, 1, "SYSMIS(income)"},
      {"sql in", DIALECT_SQL, EDGE_MODE_PATH, true, 1, "(income IS NULL)"},
      {"sql out", DIALECT_SQL, EDGE_MODE_PATH, false, 1, "NOT(income IS NULL)"},
      {"sql label mode", DIALECT_SQL, EDGE_MODE_LABEL, false, 1, "NOT(income IS NULL)"},
      {"generic in", DIALECT_GENERIC, EDGE_MODE_PATH, true, 1, "income IS MISSING "},
      {"generic out", DIALECT_GENERIC, EDGE_MODE_SPLIT, false, 1, "income NOT MISSING "},
      {"generic label mode in", DIALECT_GENERIC, EDGE_MODE_LABEL, true, 0, ""},
      {"generic label mode out", DIALECT_GENERIC, EDGE_MODE_LABEL, false, 0, ""},
      {"unknown dialect", 5, EDGE_MODE_PATH, true, 0, ""},
  };
  Income income(nullptr);
  const tree_800::SplitRule rule = income.Rule(-1);
  const RuleExportManager manager = income.host.Manager();
  for (const SystemCase& c : kCases) {
    std::string out = "stale";
    EXPECT_EQ(
        manager.ExportSystemMissing(rule, out, Options(c.dialect, c.edgeMode), c.includeMissing),
        c.count)
        << c.name;
    EXPECT_EQ(out, c.expected) << c.name;
  }
}

// A set of values of neither host kind, as a host may define it.
class OtherSet : public mdt_800::EncodingSet {
 public:
  explicit OtherSet(const std::vector<Variant>& values) {
    for (const Variant& value : values) fnItems.emplace_back(value, true);
  }
  std::vector<mdt_800::EncodingItem> GetItems() const override { return fnItems; }
  mdt_800::EncodingSet* Clone() const override { return new OtherSet(*this); }

 private:
  std::vector<mdt_800::EncodingItem> fnItems;
};

struct DiscreteCase {
  const char* name;
  std::vector<Variant> values;
  std::vector<std::pair<double, double>> ranges;
  int dialect;
  bool includeMissing;
  ExportTargetFlag target;
  bool writeAll;
  int count;
  const char* expected;
  std::vector<Variant> other = {};  // values of a set of another kind, last
};

TEST(Ordinal, DiscreteMissingClause) {
  const std::vector<Variant> k89 = {Variant(8.0), Variant(9.0)};
  const Interval upTo8 = Child(0, false, 8.5, false);
  const DiscreteCase kCases[] = {
      {"sql out",
       k89,
       {},
       DIALECT_SQL,
       false,
       TARGET_NODE,
       true,
       2,
       "income <> 8  AND  income <> 9"},
      {"veld out",
       k89,
       {},
       DIALECT_VELD,
       false,
       TARGET_NODE,
       true,
       2,
       "VALUE(income) NE 8  AND  VALUE(income) NE 9"},
      {"generic out",
       k89,
       {},
       DIALECT_GENERIC,
       false,
       TARGET_NODE,
       true,
       2,
       "income != 8  AND  income != 9"},
      {"sql in", k89, {}, DIALECT_SQL, true, TARGET_NODE, true, 2, "income = 8 OR income = 9"},
      {"veld in",
       k89,
       {},
       DIALECT_VELD,
       true,
       TARGET_OR_LINK,
       true,
       2,
       "VALUE(income) EQ 8 OR VALUE(income) EQ 9"},
      {"inside values excluded", k89, {}, DIALECT_SQL, false, TARGET_NODE, false, 1, "income <> 8"},
      {"outside values added",
       k89,
       {},
       DIALECT_SQL,
       true,
       TARGET_DUMB_RULE,
       false,
       1,
       "income = 9"},
      {"and link writes all",
       k89,
       {},
       DIALECT_SQL,
       true,
       TARGET_AND_LINK,
       false,
       2,
       "income = 8 OR income = 9"},
      {"ranges skipped",
       {Variant(8.0)},
       {{97, 99}},
       DIALECT_SQL,
       false,
       TARGET_NODE,
       true,
       1,
       "income <> 8"},
      {"range only: none", {}, {{97, 99}}, DIALECT_SQL, false, TARGET_NODE, true, 0, ""},
      {"values without content skipped",
       {Variant(), Variant(8L)},
       {},
       DIALECT_SQL,
       false,
       TARGET_NODE,
       true,
       1,
       "income <> 8"},
      {"only values without content: none",
       {Variant()},
       {},
       DIALECT_SQL,
       true,
       TARGET_NODE,
       true,
       0,
       ""},
      {"a set of another kind is written too",
       {Variant(8.0)},
       {{97, 99}},
       DIALECT_SQL,
       false,
       TARGET_NODE,
       true,
       2,
       "income <> 8  AND  income <> 5",
       {Variant(5.0)}},
      {"a set of another kind alone: none",
       {},
       {},
       DIALECT_SQL,
       false,
       TARGET_NODE,
       true,
       0,
       "",
       {Variant(5.0)}},
  };
  for (const DiscreteCase& c : kCases) {
    mdt_800::EncodingSets sets = *translatetest::Missing(c.values, c.ranges)->GetEncodingSets();
    if (!c.other.empty()) sets.AddEncodingSet(OtherSet(c.other));
    Income income(std::make_unique<mdt_800::MissingValues>(sets));
    std::string out = "stale";
    EXPECT_EQ(
        income.host.Manager().ExportDiscreteMissing(income.Rule(-1), out, Options(c.dialect), upTo8,
                                                    c.includeMissing, c.target, c.writeAll),
        c.count)
        << c.name;
    EXPECT_EQ(out, c.expected) << c.name;
  }
}

TEST(Ordinal, DiscreteMissingClauseWithoutValuesOrInLabelMode) {
  Income none(nullptr);
  std::string out = "stale";
  EXPECT_EQ(none.host.Manager().ExportDiscreteMissing(none.Rule(-1), out, Options(DIALECT_SQL),
                                                      Interval(), true, TARGET_NODE, true),
            0);
  EXPECT_EQ(out, "");

  // Label mode leaves the caller's text alone.
  Income income(translatetest::Missing({Variant(8.0)}));
  out = "stale";
  EXPECT_EQ(income.host.Manager().ExportDiscreteMissing(income.Rule(-1), out,
                                                        Options(DIALECT_SQL, EDGE_MODE_LABEL),
                                                        Interval(), true, TARGET_NODE, true),
            0);
  EXPECT_EQ(out, "stale");

  // A string variable in VELD is compared by its bare name.
  Host host;
  const int code =
      host.Add(translatetest::Text("code", mdt_800::Variable::LEVEL_ORDINAL),
               translatetest::NumberEncoder(translatetest::Missing({Variant("x"), Variant("y")})));
  EXPECT_EQ(host.Manager().ExportDiscreteMissing(translatetest::OrdinalRule(code, {}), out,
                                                 Options(DIALECT_VELD), Interval(), false,
                                                 TARGET_NODE, true),
            2);
  EXPECT_EQ(out, "code NE \"x\"  AND  code NE \"y\"");
}

TEST(Ordinal, HostFaultReleasesEverything) {
  const char* const kOperations[] = {"GetMappedValues", "Decode",   "GetFirstInterval",
                                     "GetFirstValue",   "GetItems", "GetValueLabel",
                                     "Format"};
  for (const char* operation : kOperations) {
    Income income(translatetest::Missing({Variant(99.0)}, {{97, 98}}));
    const tree_800::SplitRule rule = income.Rule(0);
    refhost::FaultGuard guard(operation, 1);
    EXPECT_THROW(income.host.Manager().SplitRule_Export(rule, 1, TARGET_NODE, Options(DIALECT_SQL)),
                 std::runtime_error)
        << operation;
  }
}

}  // namespace
