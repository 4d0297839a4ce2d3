// The loader's mapping: what fields, node ids, added nodes and strategies
// become, and its errors, each with its exact message.
#include <cstdio>
#include <fstream>

#include <gtest/gtest.h>

#include "pmmlcheck.h"
#include "refhost/pmml/pmmlmodel.h"

namespace {

// Lines 13 and 14 hold the children of node 1.
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
                     std::string const& child2, std::string const& child3) {
  std::string text = kTemplate;
  Replace(text, "STRATEGY", strategy);
  Replace(text, "DEFAULT", defaultChild.empty() ? "" : "defaultChild=\"" + defaultChild + "\"");
  Replace(text, "CHILD2", child2);
  Replace(text, "CHILD3", child3);
  return text;
}

std::string const kLess10 = R"(<SimplePredicate field="x" operator="lessThan" value="10"/>)";
std::string const kAtLeast10 =
    R"(<SimplePredicate field="x" operator="greaterOrEqual" value="10"/>)";
std::string const kDefault = R"(missingValueStrategy="defaultChild")";

TEST(PmmlLoader, FieldsBecomeVariables) {
  refhost::PmmlModel const model = refhost::LoadPmml(Document(kDefault, "3", kLess10, kAtLeast10));
  auto const& vars = model.GetModel().GetMetadata().GetVariables();
  // name:storage level, e when encoded, d for a date:label
  std::string got;
  for (auto const& v : vars) {
    got += v.GetName() + ":" + std::to_string(v.GetStorageType()) +
           std::to_string(v.GetMeasurementLevel()) + (v.GetEncoding() ? "e" : "") +
           (v.IsDate() ? "d" : "") + ":" + v.GetLabel() + " ";
  }
  EXPECT_EQ(got, "x:02: c:10e:Colour m:02e: d:02d: y:10e: ");
  EXPECT_EQ(model.GetModel().GetMetadata().GetTarget(), &vars[4]);
  EXPECT_EQ(vars[1].GetValueLabel(mdt_800::Variant("a")), "Apple");
  EXPECT_EQ(vars[1].GetValueLabel(mdt_800::Variant("?")), "unknown");
  EXPECT_EQ(vars[1].GetEncoding()->Encode(mdt_800::Variant("c d")), 3.0);
  EXPECT_EQ(model.Fields()[1].declaredValues, (std::vector<std::string>{"a", "b", "c d", "?"}));
}

// Node ids: the document's when all are distinct non-negative integers, else
// document order; the document's own id stays visible either way.
TEST(PmmlLoader, NodeIdsAndStatistics) {
  std::string text = Document(kDefault, "3", kLess10, kAtLeast10);
  refhost::PmmlModel const counted = refhost::LoadPmml(text);
  EXPECT_FALSE(counted.NumberedInOrder());
  tree_800::ClassStatistics const* stats = counted.GetModel().Find(2)->GetClassStatistics(0);
  ASSERT_NE(stats, nullptr);
  EXPECT_EQ(stats->GetPredictedCategory(), 2);
  EXPECT_DOUBLE_EQ(stats->GetProbability(2), 0.75);  // from record counts 1 and 3

  // The edits (to id="2" unless said), whether numbered in document order, and
  // the document ids of output numbers 0, 1, 2 (in order) or 1, 2, 3.
  struct IdCase {
    std::vector<std::pair<std::string, std::string>> edits;
    bool inOrder;
    std::vector<std::string> documentIds;
  } const cases[] = {
      {{{R"(id="2")", R"(id="002")"}}, false, {"1", "002", "3"}},  // the same number
      {{{R"(id="2")", R"(id="left")"}}, true, {"1", "left", "3"}},
      {{{R"(<Node id="3")", R"(<Node)"}, {R"(defaultChild="3")", ""}}, true, {"1", "2", ""}},
      {{{R"(id="2")", R"(id="-2")"}}, true, {"1", "-2", "3"}},
      {{{R"(id="2")", R"(id="4294967296")"}}, true, {"1", "4294967296", "3"}},  // too large
  };
  for (IdCase const& c : cases) {
    SCOPED_TRACE(c.edits[0].second);
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

// A compound over two fields needs added nodes: they have ids beyond the
// document's and no output number selects them; a document child reached by
// two routes is copied, and its number selects both.
TEST(PmmlLoader, AddedNodesSpeakForTheirDocumentNode) {
  refhost::PmmlModel const model = refhost::LoadPmml(
      Document("", "",
               R"(<CompoundPredicate booleanOperator="and">)" + kLess10 +
                   R"(<SimplePredicate field="c" operator="equal" value="a"/></CompoundPredicate>)",
               "<True/>"));
  int added = 0;
  for (tree_800::PrefixNodeIterator walk(model.GetModel().Root()); walk.HasMore();) {
    unsigned int const id = walk.Next()->GetId();
    if (!model.IsAdded(id)) {
      EXPECT_LE(id, 3u);
    } else if (model.NodesFor(std::to_string(model.OutputId(id))).size() == 1) {
      ++added;
      EXPECT_GT(id, 3u);
      EXPECT_TRUE(model.NodesFor(std::to_string(id)).empty());
    }
  }
  EXPECT_GT(added, 0);
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
        refhost::LoadPmml(Document(c.strategies, "", kLess10, kAtLeast10));
    EXPECT_EQ(model.GetStopRule().predictsWhenMissing, c.whenMissing);
    EXPECT_EQ(model.GetStopRule().predictsOtherwise, c.otherwise);
    EXPECT_EQ(model.TextLimit().empty(), !c.textLimited) << model.TextLimit();
  }
}

// A field and a target that declare no values take the values the tree
// names, in the order it names them (the records are the documents test's).
TEST(PmmlLoader, CategoriesFromTheValuesTheTreeNames) {
  refhost::PmmlModel const model =
      refhost::LoadPmmlFile(std::string(TREEOUT_TEST_DATA) + "/pmml/named.pmml");
  EXPECT_EQ(model.Fields()[0].categories, (std::vector<std::string>{"q", "p", "r"}));
  EXPECT_EQ(model.Target().categories, (std::vector<std::string>{"no", "yes", "maybe"}));
}

// `depth` and-compounds, one inside the other, around x < 10.
std::string Nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += R"(<CompoundPredicate booleanOperator="and"><True/>)";
  text += kLess10;
  for (int i = 0; i < depth; ++i) text += "</CompoundPredicate>";
  return text;
}

// An error: the base document with `from` replaced by `to` (and `from2` by
// `to2`), and its exact message.
struct ErrorCase {
  std::string from, to, message, from2 = "", to2 = "";
};

TEST(PmmlLoader, ErrorsNameElementLineAndFault) {
  std::string const base = Document(kDefault, "3", kLess10, kAtLeast10);
  std::string const set = R"(<SimpleSetPredicate field="c" booleanOperator="isIn">)";
  std::string const derived =
      R"(<LocalTransformations><DerivedField name="h" optype="continuous" dataType="double">)";
  std::string const sp = "SimplePredicate at line 13: ";
  ErrorCase const cases[] = {
      {R"("lessThan")", R"("between")", sp + "operator 'between' is not supported"},
      {R"(field="x" operator="lessThan")", R"(field="z" operator="lessThan")",
       sp + "field 'z' is not an active field of the MiningSchema"},
      {R"(value="10"/>)", R"(value="ten"/>)", sp + "value 'ten' of field 'x' is not a number"},
      {kLess10, R"(<SimplePredicate field="c" operator="lessThan" value="b"/>)",
       sp + "operator 'lessThan' on the unordered field 'c'", kAtLeast10, "<True/>"},
      {kLess10, R"(<SimplePredicate field="c" operator="equal" value="b&#10;c"/>)",
       sp + "value 'b\\nc' is not a value of the field 'c' (its Value elements do not declare it)",
       kAtLeast10, "<True/>"},
      {kLess10, set + R"(<Array n="3" type="string">a b</Array></SimpleSetPredicate>)",
       "Array at line 13: n=\"3\" but it holds 2 values"},
      {kLess10, set + R"(<Array type="string"> </Array></SimpleSetPredicate>)",
       "Array at line 13: an empty Array: the set predicate names no value"},
      {kLess10, set + R"(<Array type="string">"a b</Array></SimpleSetPredicate>)",
       "Array at line 13: quoted value without its closing quote"},
      {R"(defaultChild="3"><True/>)", R"(defaultChild="3"><False/>)",
       "False at line 12: the root Node's predicate must be True"},
      {R"(defaultChild="3")", R"(defaultChild="9")",
       "Node at line 12: defaultChild '9' is not one of its children"},
      {kDefault, R"(missingValueStrategy="weightedConfidence")",
       "Node at line 13: no recordCount, which missingValueStrategy 'weightedConfidence' needs"},
      {R"(<Node id="3" score="yes")", R"(<Node id="3" score="maybe")",
       "Node at line 14: score 'maybe' is not a category of the target 'y'"},
      {R"(<Node id="3")", R"(<Node id="2")",
       "Node at line 14: node id '2' is also the id of the Node at line 13"},
      {R"(<Node id="3")", R"(<Node id="01")",
       "Node at line 14: node id '01' is also the id of the Node at line 12 ('1')"},
      {R"(<Node id="3")", R"(<Node id="3" recordCount="-3")",
       "Node at line 14: recordCount '-3' is negative"},
      {R"(recordCount="3")", R"(recordCount="-1")",
       "ScoreDistribution at line 13: recordCount '-1' is negative"},
      {R"(version="4.4")", R"(version="2.0")",
       "PMML at line 2: PMML version '2.0' is not supported (3.x and 4.x are)"},
      {R"(<MiningField name="d"/>)", R"(<MiningField name="q"/>)",
       "MiningField at line 11: field 'q' is not in the DataDictionary"},
      {R"(dataType="date")", R"(dataType="time")",
       "DataField at line 7: dataType 'time' is not supported"},
      {R"( usageType="target")", "", "MiningSchema at line 11: no target field"},
      {kLess10, "", "Node at line 13: no predicate"},
      {"<MiningSchema>",
       derived +
           R"(<Apply function="*"><FieldRef field="x"/><Constant>2</Constant></Apply></DerivedField></LocalTransformations><MiningSchema>)",
       "Apply at line 11: Apply in DerivedField 'h' is not supported: a derived field may only be "
       "a FieldRef with a cast (dataType double, float or integer)"},
      {"<MiningSchema>",
       derived + "<FieldRef/></DerivedField></LocalTransformations><MiningSchema>",
       "FieldRef at line 11: no field"},
      {kLess10, Nested(1001),
       "CompoundPredicate at line 13: CompoundPredicate nested more than 1000 deep"},
      {"</TreeModel>", "</Tree>",
       "not an XML document: end tag 'Tree' where 'TreeModel' is open at line 16"},
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
    std::string text = base;
    Replace(text, c.from, c.to);
    if (!c.from2.empty()) Replace(text, c.from2, c.to2);
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
      {base + "<b/>", x + "a second document element at line 18"},
      {base + "text", x + "text after the document element at line 18"},
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
  std::string const utf16 = pmmltest::TempPath("utf16.pmml");
  std::string const nul = pmmltest::TempPath("nul.pmml");
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
  std::remove(utf16.c_str());
  std::remove(nul.c_str());
}

}  // namespace
