// `treeout show` pictures and `treeout rules` scripts as their users run them:
// DOT that Graphviz reads, SVG with a box per node, VELD names that the
// interpreter takes (with a note per renamed field) and whole scripts that
// declare what they assign.
#include <sys/wait.h>

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

struct ModelCase {
  char const* name;
  std::string model;
};

// The test log names a case by its name, not by its bytes.
void PrintTo(ModelCase const& c, std::ostream* out) { *out << c.name; }

std::vector<ModelCase> const kModels{
    {"Credit", e2e::Example("credit.pmml")},
    {"Airline", e2e::Example("airline.pmml")},
    {"CuSummary", e2e::TestData("trained/rpart_cu_class/model.pmml")},
    {"AirQuality", e2e::TestData("trained/rpart_airq_reg_code99/model.pmml")},
    {"Wine", e2e::TestData("trained/sk_wine_class/model.pmml")},
    {"Audit", e2e::TestData("external/AuditTree.xml")},
};

std::string ModelName(testing::TestParamInfo<ModelCase> const& info) { return info.param.name; }

bool HaveDot() { return std::system("dot -V >/dev/null 2>&1") == 0; }

// The node count from the outline's title line ("model x, 17 nodes").
std::size_t NodeCount(std::string const& model) {
  e2e::Run const show = Treeout({"show", model});
  std::smatch match;
  std::string const first = show.out.substr(0, show.out.find('\n'));
  EXPECT_TRUE(std::regex_search(first, match, std::regex(", ([0-9]+) nodes$"))) << first;
  return match.empty() ? 0 : std::stoul(match[1]);
}

class Picture : public testing::TestWithParam<ModelCase> {};

TEST_P(Picture, DotThatGraphvizReadsAndSvgWithEveryNode) {
  std::string const& model = GetParam().model;
  e2e::Run const dot = Treeout({"show", model, "--dot"});
  ASSERT_EQ(dot.status, 0) << dot.err;
  std::size_t const nodes = NodeCount(model);
  // One box statement per node, one edge per child at least.
  EXPECT_EQ(
      static_cast<std::size_t>(std::count(dot.out.begin(), dot.out.end(), '[')) >= 2 * nodes - 1,
      true);
  if (!HaveDot()) GTEST_SKIP() << "Graphviz's dot is not installed: DOT and SVG not drawn";
  std::string const dotFile = e2e::WriteFile(GetParam().name + std::string(".dot"), dot.out);
  EXPECT_EQ(std::system(("dot -Tcanon " + dotFile + " >/dev/null").c_str()), 0);
  e2e::Run const svg = Treeout({"show", model, "--svg"});
  ASSERT_EQ(svg.status, 0) << svg.err;
  pugi::xml_document document;
  ASSERT_TRUE(document.load_string(svg.out.c_str())) << svg.out.substr(0, 300);
  EXPECT_EQ(document.select_nodes("//*[local-name()='g'][@class='node']").size(), nodes);
  EXPECT_EQ(document.select_nodes("//*[local-name()='g'][@class='edge']").size() >= nodes - 1,
            true);
}

INSTANTIATE_TEST_SUITE_P(Models, Picture, testing::ValuesIn(kModels), ModelName);

// Without Graphviz on the search path, --svg says so and fails.
TEST(PictureWithoutGraphviz, SaysDotIsMissing) {
  std::string const empty = e2e::ScratchDir() + "/nopath";
  ::setenv("PATH_BEFORE", std::getenv("PATH"), 1);
  ::setenv("PATH", empty.c_str(), 1);
  e2e::Run const svg = Treeout({"show", "--svg"});
  ::setenv("PATH", std::getenv("PATH_BEFORE"), 1);
  EXPECT_EQ(svg.status, 1);
  EXPECT_EQ(svg.err.rfind("treeout: --svg needs Graphviz's dot program, which is not installed", 0),
            0u)
      << svg.err;
}

// A VELD script names every field by a valid variable name and says once per
// field which it renamed (the engine table runs the scripts in PSPP); one
// node's statement is no whole script and declares nothing.
TEST_P(Picture, VeldNamesAndDeclarations) {
  std::string const& model = GetParam().model;
  e2e::Run const script = Treeout({"rules", model, "--dialect", "veld", "--update"});
  ASSERT_EQ(script.status, 0) << script.err;
  std::regex const note("treeout: note: field '([^']*)' is written as (\\S+) in VELD\n");
  std::vector<std::pair<std::string, std::string>> renamed;
  for (std::sregex_iterator it(script.err.begin(), script.err.end(), note), end; it != end; ++it)
    renamed.emplace_back((*it)[1], (*it)[2]);
  EXPECT_EQ(std::regex_replace(script.err, note, ""), "");  // nothing but notes
  for (auto const& [from, to] : renamed) {
    EXPECT_EQ(script.out.find(from), std::string::npos) << from;
    EXPECT_NE(script.out.find(to), std::string::npos) << to;
  }
  std::string const outline = Treeout({"show", model}).out;
  std::size_t const root = outline.find('\n') + 1;
  std::string const rootId = outline.substr(root, outline.find(' ', root) - root);
  e2e::Run const one =
      Treeout({"rules", model, "--dialect", "veld", "--update", "--nodes", rootId});
  EXPECT_EQ(one.status, 0) << one.err;
  EXPECT_EQ(one.out.rfind("DO IF", 0), 0u) << one.out;
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
