// `treeout show` pictures and `treeout rules` scripts as their users run them:
// DOT that Graphviz reads, SVG with a box per node, VELD names that the
// interpreter takes (with a note per renamed field) and whole scripts that
// declare what they assign.
#include <algorithm>
#include <cstdlib>
#include <regex>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "output/rulesoutputadapter.h"
#include "program.h"
#include "refhost/pmml/pmmlmodel.h"

namespace {

using e2e::Treeout;

class Model : public testing::TestWithParam<char const*> {
 protected:
  std::string Path() const {
    std::string const name = GetParam();
    return name.find('.') != std::string::npos ? e2e::Example(name)
           : name == "AuditTree"               ? e2e::TestData("external/AuditTree.xml")
                                               : e2e::TestData("trained/" + name + "/model.pmml");
  }
};

// DOT with a box per node and an edge per child, which Graphviz reads; SVG
// with a group per node and per edge.
TEST_P(Model, DotThatGraphvizReadsAndSvgWithEveryNode) {
  std::string const model = Path();
  e2e::Run const show = Treeout({"show", model});
  std::smatch match;  // the title line: "model x, 17 nodes"
  std::string const title = show.out.substr(0, show.out.find('\n'));
  ASSERT_TRUE(std::regex_search(title, match, std::regex(", ([0-9]+) nodes$"))) << title;
  long const nodes = std::stol(match[1]);
  e2e::Run const dot = Treeout({"show", model, "--dot"});
  ASSERT_EQ(dot.status, 0) << dot.err;
  EXPECT_GE(std::count(dot.out.begin(), dot.out.end(), '['), 2 * nodes - 1);
  if (std::system("dot -V >/dev/null 2>&1") != 0) GTEST_SKIP() << "Graphviz's dot is missing";
  std::string const dotFile = e2e::WriteFile(GetParam() + std::string(".dot"), dot.out);
  EXPECT_EQ(std::system(("dot -Tcanon " + dotFile + " >/dev/null").c_str()), 0);
  e2e::Run const svg = Treeout({"show", model, "--svg"});
  ASSERT_EQ(svg.status, 0) << svg.err;
  pugi::xml_document document;
  ASSERT_TRUE(document.load_string(svg.out.c_str())) << svg.out.substr(0, 300);
  EXPECT_EQ(document.select_nodes("//*[local-name()='g'][@class='node']").size(),
            static_cast<std::size_t>(nodes));
  EXPECT_GE(document.select_nodes("//*[local-name()='g'][@class='edge']").size() + 1,
            static_cast<std::size_t>(nodes));
}

// A VELD script names every field by a valid variable name and says once per
// field which it renamed (the engine checks run the scripts in PSPP); one
// node's statement is no whole script and declares nothing.
TEST_P(Model, VeldNamesAndDeclarations) {
  std::string const model = Path();
  e2e::Run const script = Treeout({"rules", model, "--dialect", "veld", "--update"});
  ASSERT_EQ(script.status, 0) << script.err;
  std::regex const note("treeout: note: field '([^']*)' is written as (\\S+) in VELD\n");
  for (std::sregex_iterator it(script.err.begin(), script.err.end(), note), end; it != end; ++it) {
    EXPECT_EQ(script.out.find((*it)[1]), std::string::npos) << (*it)[1];
    EXPECT_NE(script.out.find((*it)[2]), std::string::npos) << (*it)[2];
  }
  EXPECT_EQ(std::regex_replace(script.err, note, ""), "");  // nothing but notes
  std::string const outline = Treeout({"show", model}).out;
  std::size_t const root = outline.find('\n') + 1;
  std::string const rootId = outline.substr(root, outline.find(' ', root) - root);
  e2e::Run const one =
      Treeout({"rules", model, "--dialect", "veld", "--update", "--nodes", rootId});
  EXPECT_EQ(one.status, 0) << one.err;
  EXPECT_EQ(one.out.rfind("DO IF", 0), 0u) << one.out;
}

INSTANTIATE_TEST_SUITE_P(Models, Model,
                         testing::Values("credit.pmml", "airline.pmml", "rpart_cu_class",
                                         "rpart_airq_reg_code99", "sk_wine_class", "AuditTree"),
                         [](testing::TestParamInfo<char const*> const& info) {
                           std::string name = info.param;
                           return name.substr(0, name.find('.'));
                         });

// Without Graphviz on the search path, --svg says so and fails.
TEST(PictureWithoutGraphviz, SaysDotIsMissing) {
  std::string const path = std::getenv("PATH");
  ::setenv("PATH", (e2e::ScratchDir() + "/nopath").c_str(), 1);
  e2e::Run const svg = Treeout({"show", "--svg"});
  ::setenv("PATH", path.c_str(), 1);
  EXPECT_EQ(svg.status, 1);
  EXPECT_EQ(svg.err.rfind("treeout: --svg needs Graphviz's dot program, which is not installed", 0),
            0u)
      << svg.err;
}

// The renaming rule on the names of scikit-learn's sample data.
TEST(VeldNotes, NameTheRenamedFields) {
  e2e::Run const run =
      Treeout({"rules", e2e::TestData("trained/sk_wine_class/model.pmml"), "--dialect", "veld"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err,
            "treeout: note: field 'od280/od315_of_diluted_wines' is written as "
            "od280_od315_of_diluted_wines in VELD\n");
}

// Each rules option reaches the library as the export option it names: the
// program's text is the library's own for every leaf of the sample model.
TEST(RulesOptions, AsTheLibraryWritesThem) {
  struct Case {
    std::vector<std::string> args;
    int dialect, edgeMode, numberFormat, variableLabels, valueLabels;
  };
  Case const cases[] = {
      {{}, 0, 0, 1, 0, 0},
      {{"--dialect", "veld"}, 1, 0, 1, 0, 0},
      {{"--dialect", "generic", "--edge-mode", "split"}, 2, 1, 1, 0, 0},
      {{"--edge-mode", "label", "--number-format", "16g"}, 0, 2, 0, 0, 0},
      {{"--dialect", "veld", "--variable-labels", "--value-labels"}, 1, 0, 1, 1, 1},
  };
  refhost::PmmlModel const model = refhost::LoadPmmlFile(e2e::Example("credit.pmml"));
  TreeOut_800::RulesOutputAdapter const adapter(&model.GetModel().GetTree(),
                                                &model.GetModel().GetMetadata());
  for (Case const& c : cases) {
    TreeOut_800::RuleExportOptions options;
    options.fnDialect = c.dialect;
    options.fnEdgeMode = c.edgeMode;
    options.fnNumberFormat = c.numberFormat;
    options.fnUseVariableLabels = c.variableLabels;
    options.fnUseValueLabels = c.valueLabels;
    std::string expected;
    for (tree_800::PrefixNodeIterator it(model.GetModel().Root()); it.HasMore();) {
      tree_800::Node const* node = it.Next();
      if (node->GetNumChildren() > 0) continue;
      TreeOut_800::RulesNodeSelection selection;
      selection.AddNode(node, TreeOut_800::RulesNodeSelection::kDefaultNodeNumber);
      std::string const text = adapter.ExportRules(options, selection).Str();
      expected += text.back() == '\n' ? text : text + "\n";
    }
    std::vector<std::string> args{"rules"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    e2e::Run const run = Treeout(args);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, expected) << c.args.size();
  }
}

}  // namespace
