// The loader's mapping rules, each shown by where records go in a small
// document, and its errors, each with its exact message.
#include <cmath>
#include <fstream>
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
      {"isMissing in an or makes the missing-value child",
       "",
       "2",
       kLess10,
       R"(<CompoundPredicate booleanOperator="or"><SimplePredicate field="x" operator="isMissing"/>)" +
           kAtLeast10 + "</CompoundPredicate>",
       "",
       {{",,,", "3"}, {"5,,,", "2"}, {"15,,,", "3"}}},
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

// Node ids: the document's when all are distinct non-negative integers, else
// document order; the document's own id stays visible either way.
TEST(PmmlLoader, NodeIdsAndStatistics) {
  std::string text = Document(kDefault, "3", kLess10, kAtLeast10, "");
  refhost::PmmlModel const counted = refhost::LoadPmml(text);
  EXPECT_FALSE(counted.NumberedInOrder());
  tree_800::ClassStatistics const* stats = counted.GetModel().Find(2)->GetClassStatistics(0);
  ASSERT_NE(stats, nullptr);
  EXPECT_EQ(stats->GetPredictedCategory(), 2);
  EXPECT_DOUBLE_EQ(stats->GetProbability(2), 0.75);  // from record counts 1 and 3

  struct IdCase {
    char const* what;
    std::vector<std::pair<std::string, std::string>> edits;
    bool inOrder;
    std::vector<std::string> documentIds;  // of output numbers 0, 1, 2 (in order) or 1, 2, 3
  } const cases[] = {
      {"leading zeros are the same number",
       {{R"(id="2")", R"(id="002")"}},
       false,
       {"1", "002", "3"}},
      {"a name",
       {{R"(id="2")", R"(id="left")"}, {R"(defaultChild="3")", R"(defaultChild="3")"}},
       true,
       {"1", "left", "3"}},
      {"a node without id",
       {{R"(<Node id="3")", R"(<Node)"}, {R"(defaultChild="3")", ""}},
       true,
       {"1", "2", ""}},
      {"a negative id", {{R"(id="2")", R"(id="-2")"}}, true, {"1", "-2", "3"}},
      {"an id too large for the host",
       {{R"(id="2")", R"(id="4294967296")"}},
       true,
       {"1", "4294967296", "3"}},
  };
  for (IdCase const& c : cases) {
    SCOPED_TRACE(c.what);
    std::string edited = text;
    for (auto const& [from, to] : c.edits) Replace(edited, from, to);
    refhost::PmmlModel const model = refhost::LoadPmml(edited);
    EXPECT_EQ(model.NumberedInOrder(), c.inOrder);
    unsigned int const first = c.inOrder ? 0 : 1;
    for (unsigned int k = 0; k < 3; ++k) {
      std::vector<tree_800::Node const*> const nodes = model.NodesFor(std::to_string(first + k));
      ASSERT_EQ(nodes.size(), 1u);
      EXPECT_EQ(model.DocumentId(nodes[0]->GetId()), c.documentIds[k]);
      EXPECT_EQ(model.OutputId(nodes[0]->GetId()), first + k);
    }
    EXPECT_TRUE(model.NodesFor(std::to_string(first + 3)).empty());
    EXPECT_TRUE(model.NodesFor("left").empty());  // outputs speak numbers
  }
}

// A compound over two fields needs added nodes: they answer to their
// document node's number, have ids beyond the document's, and no output
// number selects them; a document child reached by two routes is copied, and
// its number selects both.
TEST(PmmlLoader, AddedNodesSpeakForTheirDocumentNode) {
  refhost::PmmlModel const model = refhost::LoadPmml(
      Document("", "",
               R"(<CompoundPredicate booleanOperator="and">)" + kLess10 +
                   R"(<SimplePredicate field="c" operator="equal" value="a"/></CompoundPredicate>)",
               "<True/>", ""));
  std::vector<unsigned int> added;
  std::vector<unsigned int> copies;
  tree_800::PrefixNodeIterator walk(model.GetModel().Root());
  while (walk.HasMore()) {
    unsigned int const id = walk.Next()->GetId();
    EXPECT_TRUE(id <= 3 || model.IsAdded(id)) << id;
    if (!model.IsAdded(id)) continue;
    (model.NodesFor(std::to_string(model.OutputId(id))).size() > 1 ? copies : added).push_back(id);
  }
  ASSERT_FALSE(added.empty());
  for (unsigned int id : added) {
    EXPECT_GT(id, 3u);
    EXPECT_EQ(model.DocumentNode(id), model.OutputId(id));
    EXPECT_TRUE(model.NodesFor(std::to_string(id)).empty());
  }
  // and(x < 10, c = a) else True: node 3 takes x >= 10, a missing x, and
  // c other than a below x < 10, so it is reached by two routes.
  EXPECT_GE(model.NodesFor("3").size(), 2u);
  EXPECT_EQ(model.NodesFor("2").size(), 1u);
}

// What a record that stops at an inner node predicts, by the strategies:
// with its primary predictor missing and otherwise; and whether the rule
// text can give every record's score (a blend or a penalty it cannot).
TEST(PmmlLoader, StopRulesFollowTheStrategies) {
  struct StopCase {
    char const* strategies;
    bool whenMissing, otherwise, textLimited;
  } const cases[] = {
      {"", false, false, false},
      {R"(noTrueChildStrategy="returnLastPrediction")", true, true, false},
      {R"(missingValueStrategy="lastPrediction")", true, false, false},
      {R"(missingValueStrategy="lastPrediction" missingValuePenalty="0.5")", true, false, true},
      {R"(missingValueStrategy="nullPrediction" noTrueChildStrategy="returnLastPrediction")", false,
       true, false},
      {R"(missingValueStrategy="defaultChild" noTrueChildStrategy="returnLastPrediction")", true,
       true, false},
      {R"(missingValueStrategy="aggregateNodes" noTrueChildStrategy="returnLastPrediction")", false,
       true, true},
  };
  for (StopCase const& c : cases) {
    SCOPED_TRACE(c.strategies);
    refhost::PmmlModel const model =
        refhost::LoadPmml(Document(c.strategies, "", kLess10, kAtLeast10, ""));
    EXPECT_EQ(model.GetStopRule().predictsWhenMissing, c.whenMissing);
    EXPECT_EQ(model.GetStopRule().predictsOtherwise, c.otherwise);
    EXPECT_EQ(model.TextLimit().empty(), !c.textLimited) << model.TextLimit();
  }
}

// A categorical field (and a target) that declares no values takes the
// values the tree names, in the order it names them; the document is then
// read twice, from text and from a file alike. A node without score or
// distribution predicts nothing.
TEST(PmmlLoader, CategoriesFromTheValuesTheTreeNames) {
  std::string const text = R"(<PMML version="4.4"><DataDictionary>
<DataField name="c" optype="categorical" dataType="string"/>
<DataField name="y" optype="categorical" dataType="string"/>
</DataDictionary><TreeModel functionName="classification"><MiningSchema>
<MiningField name="c"/><MiningField name="y" usageType="target"/></MiningSchema>
<Node id="1" score="no"><True/>
<Node id="2" score="yes"><SimpleSetPredicate field="c" booleanOperator="isIn"><Array type="string">q p</Array></SimpleSetPredicate></Node>
<Node id="3" score="maybe"><SimplePredicate field="c" operator="equal" value="r"/></Node>
<Node id="4"><True/></Node>
</Node></TreeModel></PMML>)";
  std::string const path = ::testing::TempDir() + "/named.pmml";
  std::ofstream(path) << text;
  for (refhost::PmmlModel const& model : {refhost::LoadPmml(text), refhost::LoadPmmlFile(path)}) {
    EXPECT_EQ(model.Fields()[0].categories, (std::vector<std::string>{"q", "p", "r"}));
    EXPECT_EQ(model.Target().categories, (std::vector<std::string>{"no", "yes", "maybe"}));
    treeout_cli::RecordReader const reader(model, {"c"});
    treeout_cli::Scorer const scorer(model);
    // p is named second; s is named nowhere, so it reads as missing and the
    // True child takes it, which has no score.
    for (auto const& [value, want] : std::vector<std::pair<std::string, std::string>>{
             {"p", "2:yes"}, {"q", "2:yes"}, {"r", "3:maybe"}, {"s", "4:"}, {"", "4:"}}) {
      treeout_cli::Score const score = scorer.ScoreRecord(reader.Make({value}, 1));
      EXPECT_EQ(score.node + ":" + score.prediction.value_or(""), want) << value;
    }
  }
  std::remove(path.c_str());
}

// `depth` and-compounds, one inside the other, around x < 10.
std::string Nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += R"(<CompoundPredicate booleanOperator="and"><True/>)";
  text += kLess10;
  for (int i = 0; i < depth; ++i) text += "</CompoundPredicate>";
  return text;
}

struct ErrorCase {
  char const* what;
  std::vector<std::pair<std::string, std::string>> edits;  // on the base document
  std::string message;
};

TEST(PmmlLoader, ErrorsNameElementLineAndFault) {
  std::string const base = Document(kDefault, "3", kLess10, kAtLeast10, "");
  std::string const cIs = R"(<SimplePredicate field="c" operator="equal" )";
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
      {"order on a nominal field",
       {{kLess10, R"(<SimplePredicate field="c" operator="lessThan" value="b"/>)"},
        {kAtLeast10, "<True/>"}},
       "SimplePredicate at line 13: operator 'lessThan' on the unordered field 'c'"},
      {"a category the field does not declare, with a line feed",
       {{kLess10, cIs + R"(value="b&#10;c"/>)"}, {kAtLeast10, "<True/>"}},
       "SimplePredicate at line 13: value 'b\\nc' is not a value of the field 'c' (its Value "
       "elements do not declare it)"},
      {"array count",
       {{kLess10,
         R"(<SimpleSetPredicate field="c" booleanOperator="isIn"><Array n="3" type="string">a b</Array></SimpleSetPredicate>)"}},
       "Array at line 13: n=\"3\" but it holds 2 values"},
      {"empty array",
       {{kLess10,
         R"(<SimpleSetPredicate field="c" booleanOperator="isIn"><Array type="string"> </Array></SimpleSetPredicate>)"}},
       "Array at line 13: an empty Array: the set predicate names no value"},
      {"array quote open",
       {{kLess10,
         R"(<SimpleSetPredicate field="c" booleanOperator="isIn"><Array type="string">"a b</Array></SimpleSetPredicate>)"}},
       "Array at line 13: quoted value without its closing quote"},
      {"root predicate",
       {{R"(defaultChild="3"><True/>)", R"(defaultChild="3"><False/>)"}},
       "False at line 12: the root Node's predicate must be True"},
      {"defaultChild not a child",
       {{R"(defaultChild="3")", R"(defaultChild="9")"}},
       "Node at line 12: defaultChild '9' is not one of its children"},
      {"weightedConfidence without record counts",
       {{kDefault, R"(missingValueStrategy="weightedConfidence")"}},
       "Node at line 13: no recordCount, which missingValueStrategy 'weightedConfidence' needs"},
      {"score not a category",
       {{R"(<Node id="3" score="yes")", R"(<Node id="3" score="maybe")"}},
       "Node at line 14: score 'maybe' is not a category of the target 'y'"},
      {"id twice",
       {{R"(<Node id="3")", R"(<Node id="2")"}},
       "Node at line 14: node id '2' is also the id of the Node at line 13"},
      {"ids 1 and 01",
       {{R"(<Node id="3")", R"(<Node id="01")"}},
       "Node at line 14: node id '01' is also the id of the Node at line 12 ('1')"},
      {"negative node count",
       {{R"(<Node id="3")", R"(<Node id="3" recordCount="-3")"}},
       "Node at line 14: recordCount '-3' is negative"},
      {"negative distribution count",
       {{R"(recordCount="3")", R"(recordCount="-1")"}},
       "ScoreDistribution at line 13: recordCount '-1' is negative"},
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
      {"arithmetic in a derived field",
       {{"<MiningSchema>",
         R"(<LocalTransformations><DerivedField name="h" optype="continuous" dataType="double"><Apply function="*"><FieldRef field="x"/><Constant>2</Constant></Apply></DerivedField></LocalTransformations><MiningSchema>)"}},
       "Apply at line 11: Apply in DerivedField 'h' is not supported: a derived field may only be "
       "a FieldRef with a cast (dataType double, float or integer)"},
      {"a FieldRef without field",
       {{"<MiningSchema>",
         R"(<LocalTransformations><DerivedField name="h" optype="continuous" dataType="double"><FieldRef/></DerivedField></LocalTransformations><MiningSchema>)"}},
       "FieldRef at line 11: no field"},
      {"a compound nested too deep",
       {{kLess10, Nested(1001)}},
       "CompoundPredicate at line 13: CompoundPredicate nested more than 1000 deep"},
      {"not well-formed",
       {{"</TreeModel>", "</Tree>"}},
       "not an XML document: end tag 'Tree' where 'TreeModel' is open at line 17"},
  };
  auto const expect = [](std::string const& text, std::string const& message) {
    try {
      refhost::LoadPmml(text);
      ADD_FAILURE() << "loaded";
    } catch (refhost::PmmlError const& e) {
      EXPECT_EQ(e.what(), message);
      if (e.Line() > 0) {
        EXPECT_NE(message.find(" line " + std::to_string(e.Line())), std::string::npos);
      }
    }
  };
  for (ErrorCase const& c : cases) {
    SCOPED_TRACE(c.what);
    std::string text = base;
    for (auto const& [from, to] : c.edits) Replace(text, from, to);
    expect(text, c.message);
  }
  // Documents that are no XML, whole.
  std::string const x = "not an XML document: ";
  std::pair<std::string, std::string> const xml[] = {
      {"", x + "it holds no element"},
      {"just text", x + "it holds no element"},
      {"<PMML version=\"4.4\">\n</b>", x + "end tag 'b' where 'PMML' is open at line 2"},
      {"<PMML version=\"4.4\">", x + "the end of the file inside element 'PMML' at line 1"},
      {"<a v=1/>", x + "an attribute value without quotes at line 1"},
      {"<a v=\"1\" v=\"2\"/>", x + "attribute 'v' given twice at line 1"},
      {"<a v=\"1\"w=\"2\"/>", x + "no blank before an attribute in tag 'a' at line 1"},
      {"<a v=\"<\"/>", x + "'<' inside an attribute value at line 1"},
      {"<a v=\"&nbsp;\"/>", x + "an unknown entity '&nbsp;' at line 1"},
      {"<a v=\"&#0;\"/>", x + "a character reference '&#0;' to no character at line 1"},
      {base + "<b/>", x + "a second document element at line 19"},
      {base + "text", x + "text after the document element at line 19"},
      {"<!DOCTYPE a [<!ENTITY e \"x\">]><a/>",
       x + "a DOCTYPE with an internal subset (entity declarations are not read) at line 1"},
      {"<PMML version=\"4.4\">\n<!-- open", x + "the end of the file inside a tag at line 2"},
      {"<PMML version=\"4.4\">\n\xFF</a>",
       x + "a byte that is not UTF-8: the file is not UTF-8 text at line 2"},
      {std::string("<PMML version=\"4.4\">\0</a>", 25),
       x + "the file holds a NUL byte: it is not UTF-8 text (UTF-16 or binary?) at line 1"},
      {"\xFF\xFE<\0a\0", "the file is not UTF-8 text: it starts with a UTF-16 byte order mark"},
      {"<PMML version=\"4.4\"/>", "PMML at line 1: no DataDictionary"},
  };
  for (auto const& [text, message] : xml) {
    SCOPED_TRACE(text);
    expect(text, message);
  }
}

// Files: a directory, and files that are not UTF-8 text, say so.
TEST(PmmlLoader, FilesThatAreNotPmmlTextSaySo) {
  std::string const dir = TREEOUT_TEST_DATA;
  std::string const utf16 = ::testing::TempDir() + "/utf16.pmml";
  std::string const nul = ::testing::TempDir() + "/nul.pmml";
  std::ofstream(utf16, std::ios::binary) << std::string("\xff\xfe<\0P\0", 6);
  std::ofstream(nul, std::ios::binary) << std::string("<\0P\0M\0", 6);
  struct FileCase {
    std::string path, message;
  } const cases[] = {
      {dir, "cannot read the file: it is a directory"},
      {utf16, "the file is not UTF-8 text: it starts with a UTF-16 byte order mark"},
      {nul,
       "not an XML document: the file holds a NUL byte: it is not UTF-8 text (UTF-16 or "
       "binary?) at line 1"},
      {dir + "/absent.pmml", "cannot read the file: No such file or directory"},
  };
  for (FileCase const& c : cases) {
    try {
      refhost::LoadPmmlFile(c.path);
      ADD_FAILURE() << c.path << ": loaded";
    } catch (refhost::PmmlError const& e) {
      EXPECT_EQ(e.what(), c.message) << c.path;
    }
  }
}

}  // namespace
