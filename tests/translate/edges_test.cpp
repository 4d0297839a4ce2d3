// The exact text of an edge (the root's attempt chain exported for one child)
// per construct and dialect: what engines would accept either way, and what
// only VELD and the generic dialect show. Which records SQL text selects is
// checked by running it (tests/output/sqlengines_test.cpp).
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "refhost/builder.h"
#include "refhost/dates.h"
#include "translate/attemptchain.h"
#include "translate/ruleexportmanager.h"

namespace {

using namespace TreeOut_800;
using B = refhost::ModelBuilder;
using refhost::Range;
using refhost::Split;

// The root's split of each model; missing values go to the last child of
// region and to child 1 of income unless stated.
std::map<std::string, std::function<void(B&)>> const kModels = {
    {"region",  // user-missing 9, value labels, a variable label
     [](B& b) {
       int const region = b.Nominal("region")
                              .Missing({9.0})
                              .Label("Sales region")
                              .ValueLabel(1.0, "North")
                              .ValueLabel(2.0, "South West");
       b.Node(0).SplitCodes(region, {{1, 2}, {3}, {4, 5}}).MissingChild(2).Children({1, 2, 3});
     }},
    {"color",  // strings with quotes; user-missing "none" to child 0
     [](B& b) {
       int const color = b.Nominal("color", {"red", "it's blue", "say \"no\""}).Missing({"none"});
       b.Node(0).SplitCodes(color, {{1}, {2, 3}}).MissingChild(0).Children({1, 2});
     }},
    {"income",  // user-missing 99
     [](B& b) {
       b.Node(0)
           .SplitOrdinal(b.Scale("income").Missing({99.0}), {50})
           .MissingChild(1)
           .Children({1, 2});
     }},
    {"income range",  // user-missing [97, 99] inside child 1's range
     [](B& b) {
       b.Node(0)
           .SplitOrdinal(b.Scale("income").MissingRange(97, 99), {50})
           .MissingChild(0)
           .Children({1, 2});
     }},
    {"leaf", [](B& b) { b.Node(0); }},
    {"one child", [](B& b) { b.Node(0).SplitOrdinal(b.Scale("x"), {}).Children({1}); }},
    {"one default child",
     [](B& b) { b.Node(0).SplitOrdinal(b.Scale("x"), {}).DefaultChild(0).Children({1}); }},
    {"gap",  // [10, 20] goes to no child: with missing values to the default child
     [](B& b) {
       b.Node(0)
           .SplitRanges(b.Scale("x"),
                        {Range::Below(10), Range::Above(20), Range::Between(0, true, 0, false)})
           .DefaultChild(0)
           .Children({1, 2, 3});
     }},
    {"one child, user-missing",
     [](B& b) { b.Node(0).SplitOrdinal(b.Scale("x").Missing({99.0}), {}).Children({1}); }},
    {"gap to the empty child",
     [](B& b) {
       b.Node(0)
           .SplitRanges(b.Scale("x"),
                        {Range::Below(10), Range::Above(20), Range::Between(0, true, 0, false)})
           .DefaultChild(2)
           .Children({1, 2, 3});
     }},
    {"gap above",  // (20, inf) goes to no child
     [](B& b) {
       b.Node(0)
           .SplitRanges(b.Scale("x"), {Range::Below(10), Range::Between(10, false, 20, false)})
           .DefaultChild(0)
           .Children({1, 2});
     }},
    {"grade gaps",  // codes 1 and 3 (grades 1 and 5) go to no child
     [](B& b) {
       int const grade = b.OrderedCategories("grade", {1.0, 2.0, 5.0, 7.0});
       b.Node(0)
           .SplitRanges(grade, {Range::Between(1, true, 2, false), Range::Between(3, true, 4, false)})
           .DefaultChild(1)
           .Children({1, 2});
     }},
    {"size",
     [](B& b) {
       int const size = b.OrderedCategories("size", {"S", "M", "L", "XL"});
       b.Node(0).SplitBy(Split::CategoryCuts(size, {"M"})).DefaultChild(1).Children({1, 2});
     }},
    // A record on 18 is routed to child 1, but child 0's range is decoded
    // closed at the end of its last bin, as the decoding rules say.
    {"bins",
     [](B& b) {
       b.Node(0).SplitBy(Split::Cuts(b.Binned("age", {18, 65}), {1})).Children({1, 2});
     }},
    {"day",
     [](B& b) {
       double const cut = refhost::DateNumberFromIso("2017-10-21") + 3661;
       b.Node(0).SplitOrdinal(b.Scale("day").Date(), {cut}).Children({1, 2});
     }},
    {"extremes",
     [](B& b) {
       double const low = std::nextafter(-DBL_MAX, 0.0);
       b.Node(0)
           .SplitOrdinal(b.Scale("x"), {-DBL_MAX, low, 0.1 + 0.2, DBL_MAX})
           .Children({1, 2, 3, 4, 5});
     }},
    {"chain",  // p, then surrogates s and t; child 1 is the default
     [](B& b) {
       int const p = b.Nominal("p"), s = b.Nominal("s"), t = b.Nominal("t");
       b.Node(0)
           .SplitCodes(p, {{1}, {2}})
           .Surrogate(Split::Codes(s, {{1}, {2}}))
           .Surrogate(Split::Codes(t, {{1}, {2}}))
           .DefaultChild(1)
           .Children({1, 2});
     }},
    {"chain ending at s",  // s sends missing values to child 0: t is never asked
     [](B& b) {
       int const p = b.Nominal("p"), s = b.Nominal("s"), t = b.Nominal("t");
       b.Node(0)
           .SplitCodes(p, {{1}, {2}})
           .Surrogate(Split::Codes(s, {{1}, {2}}).Missing(0))
           .Surrogate(Split::Codes(t, {{1}, {2}}))
           .Children({1, 2});
     }},
    {"ordered chain",
     [](B& b) {
       int const income = b.Scale("income").Missing({99.0}).MissingRange(97, 98);
       b.Node(0)
           .SplitOrdinal(income, {50})
           .Surrogate(Split::Codes(b.Nominal("p"), {{1}, {2}}))
           .Children({1, 2});
     }},
};

enum Flags { kValueLabels = 1, kVariableLabels = 2, kExact = 4 };
int const SQL = DIALECT_SQL, VELD = DIALECT_VELD, GEN = DIALECT_GENERIC;

struct EdgeCase {
  char const* model;
  int child, dialect, edgeMode, flags;
  char const* expected;
};

EdgeCase const kEdges[] = {
    // Nominal: the child's codes, or with missing values the others' codes.
    {"region", 0, VELD, 0, 0, "(VALUE(region) EQ 1 OR VALUE(region) EQ 2)"},
    {"region", 1, GEN, 0, 0, "(region = 3)"},
    {"region", 2, SQL, 0, 0,
     "((region IS NULL OR region = 9) OR region <> 1  AND  region <> 2  AND  region <> 3)"},
    {"region", 2, VELD, 0, 0,
     "(SYSMIS(region) OR VALUE(region) EQ 9 OR VALUE(region) NE 1  AND  VALUE(region) NE 2  AND  "
     "VALUE(region) NE 3)"},
    {"region", 2, GEN, 0, 0, "(region != 1  AND  region != 2  AND  region != 3)"},
    {"region", 2, 7, 0, 0, "(region = 9 OR region <> 1  AND  region <> 2  AND  region <> 3)"},
    // Labels: a list after one equality; value and variable labels.
    {"region", 0, GEN, EDGE_MODE_LABEL, 0, "(region = 1,2)"},
    {"region", 2, SQL, EDGE_MODE_LABEL, 0, "((region IS NULL OR region = 9) OR region = 4,5)"},
    {"region", 2, VELD, EDGE_MODE_LABEL, 0,
     "(SYSMIS(region) OR VALUE(region) EQ 9 OR VALUE(region) EQ 4,5)"},
    {"region", 0, SQL, EDGE_MODE_LABEL, kValueLabels, "(region = 'North','South West')"},
    {"region", 0, VELD, 0, kValueLabels | kVariableLabels,
     "(VALUE(Sales region) EQ \"North\" OR VALUE(Sales region) EQ \"South West\")"},
    {"region", 1, SQL, 0, kVariableLabels, "(Sales region = 3)"},
    // Strings: no VELD function around the name, quotes doubled inside.
    {"color", 0, VELD, 0, 0,
     "(color EQ \"none\" OR color NE \"it's blue\"  AND  color NE \"say \"\"no\"\"\")"},
    {"color", 1, GEN, 0, 0, "(color = \"it's blue\" OR color = \"say \"\"no\"\"\")"},
    {"size", 0, VELD, 0, 0, "(size EQ \"S\" OR size EQ \"M\")"},
    {"size", 1, GEN, 0, 0, "(size != \"S\"  AND  size != \"M\")"},
    // Ranges with the system-missing test and user-missing values.
    {"income", 0, SQL, 0, 0, "((NOT(income IS NULL)  AND  income <> 99)  AND  (income <= 50))"},
    {"income", 0, VELD, 0, 0, "(VALUE(income) NE 99  AND  (VALUE(income) LE 50))"},
    {"income", 1, VELD, 0, 0, "((SYSMIS(income) OR VALUE(income) EQ 99) OR (VALUE(income) GT 50))"},
    {"income", 0, GEN, 0, 0, "((income NOT MISSING   AND  income != 99)  AND  (income <= 50))"},
    {"income", 1, GEN, 0, 0, "((income IS MISSING  OR income = 99) OR (income > 50))"},
    {"income", 1, GEN, EDGE_MODE_LABEL, 0, "(income > 50)"},
    {"income", 0, SQL, EDGE_MODE_LABEL, 0, "(NOT(income IS NULL)  AND  (income <= 50))"},
    // A user-missing range: cut out of the child's range, or added to it.
    {"income range", 1, VELD, 0, 0,
     "(VALUE(income) GT 50  AND  VALUE(income) LT 97 OR VALUE(income) GT 99)"},
    {"income range", 1, GEN, 0, 0,
     "(income NOT MISSING   AND  (income > 50  AND  income < 97 OR income > 99))"},
    {"income range", 0, VELD, 0, 0,
     "(SYSMIS(income) OR (VALUE(income) GE 97  AND  VALUE(income) LE 99 OR VALUE(income) LE 50))"},
    // Every record, no record, every value but missing ones.
    {"leaf", 0, SQL, 0, 0, "(1 = 0)"},
    {"one child", 0, VELD, 0, 0, "~(SYSMIS(x))"},
    {"one child", 0, GEN, 0, 0, "x NOT MISSING "},
    {"one default child", 0, VELD, 0, 0, "(SYSMIS(x) OR (1 EQ 1))"},
    {"gap", 2, VELD, 0, 0, "(1 EQ 0)"},
    {"gap", 0, VELD, 0, 0,
     "(SYSMIS(x) OR (VALUE(x) LT 10) OR (VALUE(x) GE 10  AND  VALUE(x) LE 20))"},
    // Values no child's range holds go where missing values go.
    {"one child, user-missing", 0, VELD, 0, 0, "(~(SYSMIS(x))  AND  VALUE(x) NE 99)"},
    {"gap to the empty child", 2, GEN, EDGE_MODE_LABEL, 0, "(x >= 10  AND  x <= 20)"},
    {"gap to the empty child", 2, SQL, 0, 0, "((x IS NULL) OR (x >= 10  AND  x <= 20))"},
    {"gap above", 0, GEN, 0, 0, "(x IS MISSING  OR (x < 10) OR x > 20)"},
    {"grade gaps", 1, GEN, 0, 0,
     "(grade IS MISSING  OR (grade > 5  AND  grade <= 7) OR grade <= 1 OR (grade > 2  AND  grade "
     "<= 5))"},
    {"grade gaps", 0, SQL, 0, 0, "(NOT(grade IS NULL)  AND  (grade > 1  AND  grade <= 2))"},
    {"bins", 0, VELD, 0, 0, "(VALUE(age) LE 18)"},
    {"bins", 1, GEN, 0, 0, "(age NOT MISSING   AND  (age > 18))"},
    // Dates: quoted ISO text, plain numbers in VELD.
    {"day", 0, SQL, 0, 0, "(NOT(day IS NULL)  AND  (day <= '2017-10-21 01:01:01'))"},
    {"day", 1, GEN, 0, 0, "(day NOT MISSING   AND  (day > '2017-10-21 01:01:01'))"},
    {"day", 1, VELD, 0, 0, "(VALUE(day) GT 13727926861)"},
    // "%.16g" unless exact; VELD writes DBL_MAX and the low value as tenths.
    {"extremes", 2, VELD, 0, 0, "(VALUE(x) GT -1.797693134862316e+307  AND  VALUE(x) LE 0.3)"},
    {"extremes", 3, VELD, 0, kExact,
     "(VALUE(x) GT 3.0000000000000004e-01  AND  VALUE(x) LE 1.7976931348623158e+307)"},
    {"extremes", 1, SQL, 0, kExact,
     "(NOT(x IS NULL)  AND  (x > -1.7976931348623157e+308  AND  x <= -1.7976931348623155e+308))"},
    {"extremes", 4, SQL, 0, 0, "(NOT(x IS NULL)  AND  (x > 1.797693134862316e+308))"},
    // Chains: each link but the last places what it can and hands on the rest.
    {"chain", 0, GEN, 0, 0, "(((p = 1) OR (p != 2)  AND  ((s = 1) OR (s != 2)  AND  (t = 1))))"},
    {"chain", 1, GEN, 0, 0, "(((p = 2) OR (p != 1)  AND  ((s = 2) OR (s != 1)  AND  (t != 1))))"},
    {"chain", 0, VELD, 0, 0,
     "(((VALUE(p) EQ 1) OR (SYSMIS(p) OR VALUE(p) NE 2)  AND  ((VALUE(s) EQ 1) OR (SYSMIS(s) OR "
     "VALUE(s) NE 2)  AND  (VALUE(t) EQ 1))))"},
    {"chain", 0, SQL, EDGE_MODE_SPLIT, 0, "(p = 1)"},
    {"chain", 1, VELD, EDGE_MODE_LABEL, 0, "(SYSMIS(p) OR VALUE(p) EQ 2)"},
    {"chain", 1, GEN, 9, 0, "(p != 1)"},
    {"chain ending at s", 0, GEN, 0, 0, "(((p = 1) OR (p != 2)  AND  (s != 2)))"},
    {"chain ending at s", 1, GEN, 0, 0, "(((p = 2) OR (p != 1)  AND  (s = 2)))"},
    {"ordered chain", 0, VELD, 0, 0,
     "(((VALUE(income) NE 99  AND  (VALUE(income) LE 50)) OR ((SYSMIS(income) OR VALUE(income) EQ "
     "99) OR (VALUE(income) GE 97  AND  VALUE(income) LE 98))  AND  (VALUE(p) EQ 1)))"},
};

TEST(EdgeText, PerConstructAndDialect) {
  for (EdgeCase const& c : kEdges) {
    B b;
    kModels.at(c.model)(b);
    refhost::Model const model = b.Build();
    RuleExportOptions options;
    options.fnDialect = c.dialect;
    options.fnEdgeMode = c.edgeMode;
    options.fnUseValueLabels = (c.flags & kValueLabels) != 0;
    options.fnUseVariableLabels = (c.flags & kVariableLabels) != 0;
    options.fnNumberFormat = (c.flags & kExact) != 0;
    RuleExportManager const manager(&model.GetTree(), &model.GetMetadata());
    std::unique_ptr<AttemptChain> const chain(manager.BuildAttemptChain(*model.Root()));
    EXPECT_EQ(chain->GetDumbRule(), model.Root()->GetDumbRuleIndex()) << c.model;
    chain->SetExportTarget(c.child);
    EXPECT_EQ(chain->Export(options, model.GetMetadata()), c.expected)
        << c.model << ", child " << c.child << ", dialect " << c.dialect << ", edge mode "
        << c.edgeMode << ", flags " << c.flags;
  }
}

// The "chain" model's root as a host might hand it over: without the primary
// split (the default child is then not read), or with a null surrogate.
class HandMadeNode : public tree_800::Node {
 public:
  HandMadeNode(tree_800::Node const& node, bool primary, int nullSurrogate)
      : fnNode(node), fnPrimary(primary), fnNullSurrogate(nullSurrogate) {}
  Node const* GetParent() const override { return nullptr; }
  int GetNumChildren() const override { return fnNode.GetNumChildren(); }
  Node const* GetChild(int index) const override { return fnNode.GetChild(index); }
  int GetNumSplitRules() const override { return fnPrimary ? 1 : 0; }
  int GetDumbRuleIndex() const override { return fnNode.GetDumbRuleIndex(); }
  tree_800::SplitRule* GetSplitRule(int index) const override {
    return fnPrimary ? fnNode.GetSplitRule(index) : nullptr;
  }
  int GetNumSurrogates() const override { return fnNode.GetNumSurrogates(); }
  tree_800::SplitRule* GetSurrogate(int index) const override {
    return index == fnNullSurrogate ? nullptr : fnNode.GetSurrogate(index);
  }
  unsigned int GetId() const override { return 0; }
  tree_800::ClassStatistics const* GetClassStatistics(int) const override { return nullptr; }
  tree_800::ValueStatistics const* GetValueStatistics(int) const override { return nullptr; }

 private:
  tree_800::Node const& fnNode;
  bool fnPrimary;
  int fnNullSurrogate;
};

TEST(EdgeText, NodesWithoutSomeRules) {
  struct Case {
    bool primary;
    int nullSurrogate, child, dumbRule;
    char const* expected;
  } const kCases[] = {
      {false, -1, 1, -1, "(((s = 2) OR (s != 1)  AND  (t = 2)))"},
      {true, 0, 0, 1, "(((p = 1) OR (p != 2)  AND  (t = 1)))"},
  };
  B b;
  kModels.at("chain")(b);
  refhost::Model const model = b.Build();
  RuleExportManager const manager(&model.GetTree(), &model.GetMetadata());
  RuleExportOptions options;
  options.fnDialect = GEN;
  for (Case const& c : kCases) {
    HandMadeNode const node(*model.Root(), c.primary, c.nullSurrogate);
    std::unique_ptr<AttemptChain> const chain(manager.BuildAttemptChain(node));
    EXPECT_EQ(chain->GetDumbRule(), c.dumbRule);
    chain->SetExportTarget(c.child);
    EXPECT_EQ(chain->Export(options, model.GetMetadata()), c.expected);
  }
}

}  // namespace
