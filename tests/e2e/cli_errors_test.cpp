// Runs the built treeout program on faulty input: each fault gives exit
// status 2 and exactly one line on standard error, never a crash.
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace {

std::string const kDir = std::string(TREEOUT_E2E_DIR);

char const kModel[] = R"(<?xml version="1.0"?>
<PMML version="4.4" xmlns="http://www.dmg.org/PMML-4_4">
  <DataDictionary>
    <DataField name="x" optype="continuous" dataType="double"/>
    <DataField name="y" optype="categorical" dataType="string"><Value value="a"/><Value value="b"/></DataField>
  </DataDictionary>
  <TreeModel functionName="classification">
    <MiningSchema><MiningField name="x"/><MiningField name="y" usageType="target"/></MiningSchema>
    <Node id="1" score="a"><True/>
      <Node id="2" score="a"><SimplePredicate field="x" operator="lessThan" value="1"/></Node>
      <Node id="3" score="b">PREDICATE</Node>
      <Node id="4" score="b"><True/></Node>
    </Node>
  </TreeModel>
</PMML>
)";

std::string Write(std::string const& name, std::string const& text) {
  std::string const path = kDir + "/" + name;
  std::ofstream(path) << text;
  return path;
}

std::string Model(std::string const& predicate) {
  std::string text = kModel;
  text.replace(text.find("PREDICATE"), 9, predicate);
  return text;
}

struct Outcome {
  int status;
  std::string err;
};

Outcome Treeout(std::string const& args) {
  std::string const command = std::string(TREEOUT_PROGRAM) + " " + args + " 2>&1 >/dev/null";
  FILE* pipe = popen(command.c_str(), "r");
  Outcome run{-1, ""};
  if (pipe == nullptr) return run;
  char buffer[512];
  while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) run.err += buffer;
  int const raw = pclose(pipe);
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
  return run;
}

struct ErrorCase {
  char const* what;
  std::string args;
  std::string message;  // the whole line on stderr, after "treeout: "
};

TEST(TreeoutErrors, OneLineAndStatusTwo) {
  std::string const good = Write("good.pmml", Model(R"(<True/>)"));
  std::string const notXml = Write("notxml.pmml", "this is not XML\n");
  std::string const noTree =
      Write("notree.pmml",
            "<?xml version=\"1.0\"?>\n<PMML version=\"4.4\">\n<DataDictionary/>\n</PMML>\n");
  std::string const andPredicate = Write(
      "and.pmml",
      Model(R"(<CompoundPredicate booleanOperator="nand"><True/><True/></CompoundPredicate>)"));
  std::string const unknownField =
      Write("field.pmml", Model(R"(<SimplePredicate field="z" operator="lessThan" value="1"/>)"));
  std::string const noColumn = Write("nocolumn.csv", "id,w\n1,2\n");
  std::string const badNumber = Write("badnumber.csv", "id,x\n1,2\n2,abc\n");
  std::string const openQuote = Write("openquote.csv", "id,x\n1,\"2\n");
  ErrorCase const cases[] = {
      {"missing model file", "show " + kDir + "/absent.pmml",
       kDir + "/absent.pmml: cannot read the file: No such file or directory"},
      {"not XML", "show " + notXml, notXml + ": not an XML document: it holds no element"},
      {"no TreeModel", "rules " + noTree, noTree + ": PMML at line 2: no TreeModel"},
      {"unsupported predicate", "show " + andPredicate,
       andPredicate + ": CompoundPredicate at line 11: booleanOperator 'nand' is not supported"},
      {"field not in the model", "score " + unknownField + " " + badNumber,
       unknownField + ": SimplePredicate at line 11: field 'z' is not an active field of the "
                      "MiningSchema"},
      {"CSV without a model field", "score " + good + " " + noColumn,
       noColumn + ": the CSV has no column 'x', a field of the model"},
      {"bad number", "score " + good + " " + badNumber,
       badNumber + ": row 2, column 'x': 'abc' is not a number"},
      {"quote left open", "score " + good + " " + openQuote,
       openQuote + ": line 2: a quoted field is not closed"},
      {"missing CSV file", "score " + good + " " + kDir + "/absent.csv",
       "cannot read " + kDir + "/absent.csv: No such file or directory"},
      {"unknown node", "rules " + good + " --nodes 2,9", "the tree has no node '9'"},
      {"update of two nodes", "rules " + good + " --dialect generic --update --nodes 2,3",
       "ExportGenericUpdate ERROR: >1 nodes to update"},
  };
  for (ErrorCase const& c : cases) {
    Outcome const run = Treeout(c.args);
    EXPECT_EQ(run.status, 2) << c.what;
    EXPECT_EQ(run.err, "treeout: " + c.message + "\n") << c.what;
  }
}

// Usage faults also give status 2 and one line.
TEST(TreeoutErrors, BadUsage) {
  for (char const* args : {"rules --dialect cobol", "frobnicate", "score a b c", ""}) {
    Outcome const run = Treeout(args);
    EXPECT_EQ(run.status, 2) << args;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << args << ": " << run.err;
    EXPECT_EQ(run.err.rfind("treeout: ", 0), 0u) << args << ": " << run.err;
  }
}

}  // namespace
