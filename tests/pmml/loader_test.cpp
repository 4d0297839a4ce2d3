// The loader's mapping rules, each shown by where records go in a small
// document, and its errors, each with its exact message.
#include <cmath>
#include <limits>
#include <memory>
#include <sstream>

#include <gtest/gtest.h>

#include "cli/recordreader.h"
#include "cli/scorer.h"
#include "refhost/ordinalsplit.h"
#include "refhost/pmml/pmmlmodel.h"

namespace {

// Lines 13 to 15 hold the children of node 1; CHILD4 may be empty.
std::string const kTemplate =
    R"(<?xml version="1.0"?>
<PMML version="4.4" xmlns="http://www.dmg.org/PMML-4_4">
<DataDictionary>
<DataField name="x" optype="continuous" dataType="double"/>
<DataField name="c" optype="categorical" dataType="string" displayName="Colour"><Value value="a" displayValue="Apple"/><Value value="b"/><Value value="c d"/><Value value="?" property="missing" displayValue="unknown"/></DataField>
<DataField name="m" optype="continuous" dataType="integer"><Value value="99" property="missing"/></DataField>
<DataField name="d" optype="continuous" dataType="date"/>
<DataField name="y" optype="categorical" dataType="string"><Value value="yes"/><Value value="no"/></DataField>
</DataDictionary>
<TreeModel functionName="classification" STRATEGY>
<MiningSchema><MiningField name="x"/><MiningField name="c"/><MiningField name="m"/><MiningField name="d"/><MiningField name="y" usageType="target"/></MiningSchema>
<Node id="1" score="yes" DEFAULT><True/>
<Node id="2" score="no"><ScoreDistribution value="yes" recordCount="1"/><ScoreDistribution value="no" recordCount="3"/>CHILD2</Node>
<Node id="3" score="yes">CHILD3</Node>
CHILD4
</Node>
</TreeModel>
</PMML>
)";

void Replace(std::string& text, std::string const& from, std::string const& to) {
  std::size_t const at = text.find(from);
  ASSERT_NE(at, std::string::npos) << from;
  text.replace(at, from.size(), to);
}

std::string Document(std::string const& strategy, std::string const& defaultChild,
                     std::string const& child2, std::string const& child3,
                     std::string const& child4) {
  std::string text = kTemplate;
  Replace(text, "STRATEGY", strategy);
  Replace(text, "DEFAULT", defaultChild.empty() ? "" : "defaultChild=\"" + defaultChild + "\"");
  Replace(text, "CHILD2", child2);
  Replace(text, "CHILD3", child3);
  Replace(text, "CHILD4",
          child4.empty() ? "" : "<Node id=\"4\" score=\"no\">" + child4 + "</Node>");
  return text;
}

std::string const kLess10 = R"(<SimplePredicate field="x" operator="lessThan" value="10"/>)";
std::string const kAtLeast10 =
    R"(<SimplePredicate field="x" operator="greaterOrEqual" value="10"/>)";
std::string const kDefault = R"(missingValueStrategy="defaultChild")";

struct RoutingCase {
  char const* what;
  std::string strategy, defaultChild, child2, child3, child4;
  // Rows "x,c,m,d" and where each stops: a node id, "-" after it when the
  // record gets no prediction.
  std::vector<std::pair<char const*, char const*>> rows;
};

TEST(PmmlLoader, RoutesAsTheDocumentSays) {
  RoutingCase const cases[] = {
      {"lessThan and greaterOrEqual: the cut goes right",
       kDefault,
       "3",
       kLess10,
       kAtLeast10,
       "",
       {{"9.999,,,", "2"}, {"10,,,", "3"}, {"-1e300,,,", "2"}, {",,,", "3"}}},
      {"lessOrEqual and greaterThan: the cut goes left",
       kDefault,
       "2",
       R"(<SimplePredicate field="x" operator="lessOrEqual" value="10"/>)",
       R"(<SimplePredicate field="x" operator="greaterThan" value="10"/>)",
       "",
       {{"10,,,", "2"}, {"10.000001,,,", "3"}, {",,,", "2"}}},
      {"equal and notEqual on categories; user-missing to the default child",
       kDefault,
       "2",
       R"(<SimplePredicate field="c" operator="notEqual" value="a"/>)",
       R"(<SimplePredicate field="c" operator="equal" value="a"/>)",
       "",
       {{",a,,", "3"}, {",b,,", "2"}, {",c d,,", "2"}, {",?,,", "2"}, {",zzz,,", "2"}}},
      {"set predicates with a quoted token",
       kDefault,
       "3",
       R"(<SimpleSetPredicate field="c" booleanOperator="isIn"><Array n="2" type="string">a "c d"</Array></SimpleSetPredicate>)",
       R"(<SimpleSetPredicate field="c" booleanOperator="isNotIn"><Array n="2" type="string">"a" "c d"</Array></SimpleSetPredicate>)",
       "",
       {{",c d,,", "2"}, {",a,,", "2"}, {",b,,", "3"}}},
      {"True takes what earlier children leave",
       kDefault,
       "2",
       R"(<SimplePredicate field="c" operator="equal" value="b"/>)",
       "<True/>",
       "",
       {{",b,,", "2"}, {",a,,", "3"}, {",c d,,", "3"}}},
      {"the first true child wins where ranges overlap",
       kDefault,
       "2",
       kLess10,
       R"(<SimplePredicate field="x" operator="lessThan" value="20"/>)",
       "<True/>",
       {{"5,,,", "2"}, {"10,,,", "3"}, {"19.5,,,", "3"}, {"20,,,", "4"}}},
      {"isMissing in an or makes the missing-value child",
       kDefault,
       "2",
       kLess10,
       R"(<CompoundPredicate booleanOperator="or"><SimplePredicate field="x" operator="isMissing"/>)" +
           kAtLeast10 + "</CompoundPredicate>",
       "",
       {{",,,", "3"}, {"5,,,", "2"}, {"15,,,", "3"}}},
      {"surrogates, then the default child",
       kDefault,
       "3",
       R"(<CompoundPredicate booleanOperator="surrogate">)" + kLess10 +
           R"(<SimpleSetPredicate field="c" booleanOperator="isIn"><Array type="string">a</Array></SimpleSetPredicate></CompoundPredicate>)",
       R"(<CompoundPredicate booleanOperator="surrogate">)" + kAtLeast10 +
           R"(<SimpleSetPredicate field="c" booleanOperator="isIn"><Array type="string">b "c d"</Array></SimpleSetPredicate></CompoundPredicate>)",
       "",
       {{"5,b,,", "2"}, {",a,,", "2"}, {",b,,", "3"}, {",?,,", "3"}}},
      {"a chain ending in False keeps the record at the node",
       R"(missingValueStrategy="defaultChild" noTrueChildStrategy="returnLastPrediction")",
       "3",
       R"(<CompoundPredicate booleanOperator="surrogate">)" + kLess10 +
           "<False/></CompoundPredicate>",
       R"(<CompoundPredicate booleanOperator="surrogate">)" + kAtLeast10 +
           "<False/></CompoundPredicate>",
       "",
       {{",,,", "1"}, {"12,,,", "3"}}},
      {"user-missing values and cuts on an encoded field",
       kDefault,
       "2",
       R"(<SimplePredicate field="m" operator="lessThan" value="10"/>)",
       R"(<SimplePredicate field="m" operator="greaterOrEqual" value="10"/>)",
       "",
       {{",,9.9999999999999982,", "2"}, {",,10,", "3"}, {",,99,", "2"}, {",,98,", "3"}}},
      {"dates in ISO text",
       kDefault,
       "3",
       R"(<SimplePredicate field="d" operator="lessThan" value="2020-01-01"/>)",
       "<True/>",
       "",
       {{",,,2019-12-31", "2"}, {",,,2020-01-01", "3"}, {",,,1582-10-15", "2"}}},
      {"lastPrediction stops at the node with its prediction",
       R"(missingValueStrategy="lastPrediction")",
       "3",
       kLess10,
       kAtLeast10,
       "",
       {{",,,", "1"}, {"3,,,", "2"}}},
      {"nullPrediction stops at the node without one",
       R"(missingValueStrategy="nullPrediction")",
       "3",
       kLess10,
       kAtLeast10,
       "",
       {{",,,", "1-"}}},
      {"without a strategy a True child takes missing values",
       "",
       "",
       kLess10,
       "<True/>",
       "",
       {{",,,", "3"}, {"1,,,", "2"}}},
      {"no true child: null prediction by default",
       R"(missingValueStrategy="lastPrediction")",
       "",
       R"(<SimplePredicate field="c" operator="equal" value="a"/>)",
       R"(<SimplePredicate field="c" operator="equal" value="b"/>)",
       "",
       {{",c d,,", "1-"}, {",,,", "1"}, {",a,,", "2"}}},
      {"no true child, returnLastPrediction",
       R"(missingValueStrategy="nullPrediction" noTrueChildStrategy="returnLastPrediction")",
       "",
       R"(<SimplePredicate field="c" operator="equal" value="a"/>)",
       R"(<SimplePredicate field="c" operator="equal" value="b"/>)",
       "",
       {{",c d,,", "1"}, {",,,", "1-"}}},
  };
  for (RoutingCase const& c : cases) {
    SCOPED_TRACE(c.what);
    refhost::PmmlModel const model =
        refhost::LoadPmml(Document(c.strategy, c.defaultChild, c.child2, c.child3, c.child4));
    treeout_cli::RecordReader const reader(model, {"x", "c", "m", "d"});
    treeout_cli::Scorer const scorer(model);
    for (auto const& [row, want] : c.rows) {
      std::vector<std::string> fields;
      std::stringstream in(row);
      for (std::string f; std::getline(in, f, ',');) fields.push_back(f);
      fields.resize(4);
      treeout_cli::Score const score = scorer.ScoreRecord(reader.Make(fields, 1));
      EXPECT_EQ(score.node + (score.prediction ? "" : "-"), want) << "row " << row;
    }
  }
}

TEST(PmmlLoader, FieldsBecomeVariables) {
  refhost::PmmlModel const model =
      refhost::LoadPmml(Document(kDefault, "3", kLess10, kAtLeast10, ""));
  auto const& vars = model.GetModel().GetMetadata().GetVariables();
  ASSERT_EQ(vars.size(), 5u);
  struct Want {
    char const* name;
    int storage, level;
    bool encoded, date;
    char const* label;
  } const wants[] = {
      {"x", 0, 2, false, false, ""}, {"c", 1, 0, true, false, "Colour"},
      {"m", 0, 2, true, false, ""},  {"d", 0, 2, false, true, ""},
      {"y", 1, 0, true, false, ""},
  };
  for (std::size_t i = 0; i < vars.size(); ++i) {
    SCOPED_TRACE(wants[i].name);
    EXPECT_EQ(vars[i].GetName(), wants[i].name);
    EXPECT_EQ(vars[i].GetStorageType(), wants[i].storage);
    EXPECT_EQ(vars[i].GetMeasurementLevel(), wants[i].level);
    EXPECT_EQ(vars[i].GetEncoding() != nullptr, wants[i].encoded);
    EXPECT_EQ(vars[i].IsDate(), wants[i].date);
    EXPECT_EQ(vars[i].GetLabel(), wants[i].label);
  }
  EXPECT_EQ(model.GetModel().GetMetadata().GetTarget(), &vars[4]);
  EXPECT_EQ(vars[1].GetValueLabel(mdt_800::Variant("a")), "Apple");
  EXPECT_EQ(vars[1].GetValueLabel(mdt_800::Variant("?")), "unknown");
  EXPECT_EQ(vars[1].GetEncoding()->Encode(mdt_800::Variant("c d")), 3.0);
  EXPECT_EQ(model.Fields()[1].declaredValues, (std::vector<std::string>{"a", "b", "c d", "?"}));
}

// lessThan 10 on a field with user-missing values: (-inf, largest double
// below 10]; greaterOrEqual 10: (that double, +inf).
TEST(PmmlLoader, MovesBoundsOnEncodedFieldsNotTheirMeaning) {
  refhost::PmmlModel const model = refhost::LoadPmml(
      Document(kDefault, "3", R"(<SimplePredicate field="m" operator="lessThan" value="10"/>)",
               R"(<SimplePredicate field="m" operator="greaterOrEqual" value="10"/>)", ""));
  auto const* split =
      dynamic_cast<refhost::OrdinalSplit const*>(model.GetModel().Root()->GetPrimary());
  ASSERT_NE(split, nullptr);
  double const below = std::nextafter(10.0, -std::numeric_limits<double>::infinity());
  refhost::Range const& left = split->GetRanges()[0];
  refhost::Range const& right = split->GetRanges()[1];
  EXPECT_TRUE(!left.hasLower && left.hasUpper && !left.upperOpen && left.upper == below);
  EXPECT_TRUE(right.hasLower && right.lowerOpen && right.lower == below && !right.hasUpper);
}

// A missing-value child takes every record the primary split cannot place,
// so the loader keeps no surrogates there: the rule text would otherwise
// write conditions that the tree never applies.
TEST(PmmlLoader, NoSurrogatesBesideAMissingValueChild) {
  std::string const surrogate = R"(<CompoundPredicate booleanOperator="surrogate">)";
  refhost::PmmlModel const model = refhost::LoadPmml(Document(
      kDefault, "3",
      R"(<CompoundPredicate booleanOperator="or"><SimplePredicate field="x" operator="isMissing"/>)" +
          surrogate + kLess10 +
          R"(<SimpleSetPredicate field="c" booleanOperator="isIn"><Array type="string">a</Array></SimpleSetPredicate></CompoundPredicate></CompoundPredicate>)",
      surrogate + kAtLeast10 +
          R"(<SimpleSetPredicate field="c" booleanOperator="isIn"><Array type="string">b</Array></SimpleSetPredicate></CompoundPredicate>)",
      ""));
  tree_800::Node const* root = model.GetModel().Root();
  EXPECT_EQ(root->GetNumSurrogates(), 0);
  std::unique_ptr<tree_800::SplitRule> primary(root->GetSplitRule(0));
  EXPECT_EQ(primary->GetMissingValueMapping(), 0);
}

TEST(PmmlLoader, NodeIdsAndStatistics) {
  std::string text = Document(kDefault, "3", kLess10, kAtLeast10, "");
  refhost::PmmlModel const counted = refhost::LoadPmml(text);
  EXPECT_NE(counted.GetModel().Find(3), nullptr);
  tree_800::ClassStatistics const* stats = counted.GetModel().Find(2)->GetClassStatistics(0);
  ASSERT_NE(stats, nullptr);
  EXPECT_EQ(stats->GetPredictedCategory(), 2);
  EXPECT_DOUBLE_EQ(stats->GetProbability(2), 0.75);  // from record counts 1 and 3

  Replace(text, R"(<Node id="2")", R"(<Node id="left")");
  Replace(text, R"(defaultChild="3")", R"(defaultChild="3")");
  refhost::PmmlModel const named = refhost::LoadPmml(text);
  EXPECT_EQ(named.HostId("1"), 0u);
  EXPECT_EQ(named.HostId("left"), 1u);
  EXPECT_EQ(named.HostId("3"), 2u);
  EXPECT_EQ(named.PmmlId(1), "left");
  EXPECT_FALSE(named.HostId("2").has_value());
}

struct ErrorCase {
  char const* what;
  std::vector<std::pair<std::string, std::string>> edits;  // on the base document
  std::string message;
};

TEST(PmmlLoader, ErrorsNameElementLineAndFault) {
  std::string const base = Document(kDefault, "3", kLess10, kAtLeast10, "");
  ErrorCase const cases[] = {
      {"unknown operator",
       {{R"("lessThan")", R"("between")"}},
       "SimplePredicate at line 13: operator 'between' is not supported"},
      {"field outside the schema",
       {{R"(field="x" operator="lessThan")", R"(field="z" operator="lessThan")"}},
       "SimplePredicate at line 13: field 'z' is not an active field of the MiningSchema"},
      {"value not a number",
       {{R"(value="10"/>)", R"(value="ten"/>)"}},
       "SimplePredicate at line 13: value 'ten' of field 'x' is not a number"},
      {"children on different fields",
       {{kAtLeast10, R"(<SimplePredicate field="c" operator="equal" value="a"/>)"}},
       "SimplePredicate at line 14: splits on 'c' where an earlier child splits on 'x'"},
      {"notEqual on a continuous field",
       {{R"("lessThan")", R"("notEqual")"}},
       "SimplePredicate at line 13: operator 'notEqual' on the continuous field 'x' is not "
       "supported"},
      {"order on a nominal field",
       {{kLess10, R"(<SimplePredicate field="c" operator="lessThan" value="b"/>)"},
        {kAtLeast10, "<True/>"}},
       "SimplePredicate at line 13: operator 'lessThan' on the unordered field 'c'"},
      {"array count",
       {{kLess10,
         R"(<SimpleSetPredicate field="c" booleanOperator="isIn"><Array n="3" type="string">a b</Array></SimpleSetPredicate>)"}},
       "Array at line 13: n=\"3\" but it holds 2 values"},
      {"array quote open",
       {{kLess10,
         R"(<SimpleSetPredicate field="c" booleanOperator="isIn"><Array type="string">"a b</Array></SimpleSetPredicate>)"}},
       "Array at line 13: quoted value without its closing quote"},
      {"True leaving two ranges",
       {{kLess10, R"(<SimplePredicate field="x" operator="equal" value="5"/>)"},
        {kAtLeast10, "<True/>"}},
       "True at line 14: what earlier children leave of this predicate on 'x' is not one range"},
      {"isMissing on another field",
       {{kAtLeast10,
         R"(<CompoundPredicate booleanOperator="or"><SimplePredicate field="c" operator="isMissing"/>)" +
             kAtLeast10 + "</CompoundPredicate>"}},
       "SimplePredicate at line 14: isMissing on 'c' where the split is on 'x'"},
      {"defaultChild not a child",
       {{R"(defaultChild="3")", R"(defaultChild="9")"}},
       "Node at line 12: defaultChild '9' is not one of its children"},
      {"strategy",
       {{kDefault, R"(missingValueStrategy="weightedConfidence")"}},
       "TreeModel at line 10: missingValueStrategy 'weightedConfidence' is not supported"},
      {"score not a category",
       {{R"(<Node id="3" score="yes")", R"(<Node id="3" score="maybe")"}},
       "Node at line 14: score 'maybe' is not a category of the target 'y'"},
      {"id twice",
       {{R"(<Node id="3")", R"(<Node id="2")"}},
       "Node at line 14: node id '2' used twice"},
      {"old version",
       {{R"(version="4.4")", R"(version="2.0")"}},
       "PMML at line 2: PMML version '2.0' is not supported (3.x and 4.x are)"},
      {"schema field missing from the dictionary",
       {{R"(<MiningField name="d"/>)", R"(<MiningField name="q"/>)"}},
       "MiningField at line 11: field 'q' is not in the DataDictionary"},
      {"unsupported dataType",
       {{R"(dataType="date")", R"(dataType="time")"}},
       "DataField at line 7: dataType 'time' is not supported"},
      {"no target", {{R"( usageType="target")", ""}}, "MiningSchema at line 11: no target field"},
      {"a node without predicate", {{kLess10, ""}}, "Node at line 13: no predicate"},
  };
  for (ErrorCase const& c : cases) {
    std::string text = base;
    for (auto const& [from, to] : c.edits) Replace(text, from, to);
    try {
      refhost::LoadPmml(text);
      ADD_FAILURE() << c.what << ": loaded";
    } catch (refhost::PmmlError const& e) {
      EXPECT_EQ(e.what(), c.message) << c.what;
      EXPECT_EQ(c.message.find(" at line " + std::to_string(e.Line()) + ":") != std::string::npos,
                true)
          << c.what;
    }
  }
}

}  // namespace
