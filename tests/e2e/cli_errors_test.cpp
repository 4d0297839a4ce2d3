// The program's faults, one row each: the exit status (2 for usage, 1 for a
// model, data or output fault) and the one line it writes on standard error.
#include <gtest/gtest.h>

#include "program.h"

namespace {

using e2e::Treeout;
using e2e::WriteFile;

char const kModel[] = R"(<?xml version="1.0"?>
<PMML version="4.4" xmlns="http://www.dmg.org/PMML-4_4">
  <DataDictionary>
    <DataField name="x" optype="continuous" dataType="double"/>
    <DataField name="c" optype="categorical" dataType="string"><Value value="p"/><Value value="q"/></DataField>
    <DataField name="y" optype="categorical" dataType="string"><Value value="a"/><Value value="b"/></DataField>
  </DataDictionary>
  <TreeModel functionName="classification">
    <MiningSchema><MiningField name="x"/><MiningField name="c"/><MiningField name="y" usageType="target"/></MiningSchema>
    <Node id="1" score="a"><True/>
      <Node id="2" score="a"><SimplePredicate field="x" operator="lessThan" value="1"/></Node>
      <Node id="3" score="b"><SimplePredicate field="x" operator="greaterOrEqual" value="1"/>
        <Node id="4" score="b"><SimplePredicate field="c" operator="equal" value="p"/></Node>
        <Node id="5" score="a"><SimplePredicate field="c" operator="equal" value="q"/></Node>
      </Node>
    </Node>
  </TreeModel>
</PMML>
)";

struct ErrorCase {
  char const* name;
  std::vector<std::string> args;
  int status;
  std::string message;      // the line after "treeout: "; "PATH: ..." rows match up to "..."
  std::string output = "";  // standard output to this file (e.g. /dev/full)
};

// The test log names a case by its name, not by its bytes.
void PrintTo(ErrorCase const& c, std::ostream* out) { *out << c.name; }

std::string PrintName(testing::TestParamInfo<ErrorCase> const& info) { return info.param.name; }

class ProgramFaults : public testing::TestWithParam<ErrorCase> {};

TEST_P(ProgramFaults, OneLineAndItsStatus) {
  ErrorCase const& c = GetParam();
  e2e::Run const run = Treeout(c.args, "", c.output);
  EXPECT_EQ(run.status, c.status);
  std::string const prefix = c.message.substr(0, c.message.size() - 3);
  if (c.message.size() > 3 && c.message.compare(c.message.size() - 3, 3, "...") == 0) {
    EXPECT_EQ(run.err.rfind("treeout: " + prefix, 0), 0u) << run.err;
    EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
  } else {
    EXPECT_EQ(run.err, "treeout: " + c.message + "\n");
  }
}

std::string const kGood = WriteFile("good.pmml", kModel);
std::string const kData = WriteFile("good.csv", "x,c\n0,p\n2,p\n");
std::string const kDir = e2e::ScratchDir();
char const kWideText[] = "\xFF\xFEx\0,\0c\0\n\0";  // UTF-16 with its byte order mark
std::string const kWide = WriteFile("wide.csv", std::string(kWideText, sizeof kWideText - 1));
std::string Csv(std::string const& name, std::string const& text) { return WriteFile(name, text); }

INSTANTIATE_TEST_SUITE_P(
    Usage, ProgramFaults,
    testing::Values(
        ErrorCase{"UnknownSubcommand",
                  {"frobnicate"},
                  2,
                  "unknown subcommand 'frobnicate'; treeout knows show, rules and score (see "
                  "treeout --help)"},
        ErrorCase{"UnknownOption",
                  {"rules", "--frob"},
                  2,
                  "unknown option '--frob' (see treeout rules --help)"},
        ErrorCase{"UnknownOptionFirst",
                  {"--frob", "show"},
                  2,
                  "unknown option '--frob' (see treeout --help)"},
        ErrorCase{"NoSubcommand",
                  {},
                  2,
                  "a subcommand is required: show, rules or score (see treeout --help)"},
        ErrorCase{
            "ScoreWithoutData", {"score", kGood}, 2, "DATA is required (see treeout score --help)"},
        ErrorCase{"ScoreThreeFiles",
                  {"score", kGood, kData, kData},
                  2,
                  "unexpected argument '" + kData + "' (see treeout score --help)"},
        ErrorCase{"BothFromStandardInput",
                  {"score", "-", "-"},
                  2,
                  "MODEL and DATA cannot both be - (standard input) (see treeout score --help)"},
        ErrorCase{"LongDelimiter",
                  {"score", kGood, kData, "--delimiter", ";;"},
                  2,
                  "--delimiter takes one character other than a quote or line break, or \\t for "
                  "tab (see treeout score --help)"},
        ErrorCase{"UpdateOfTwoNodes",
                  {"rules", kGood, "--update", "--nodes", "2,4"},
                  2,
                  "--update writes one node's statement: give --nodes one node id (see treeout "
                  "rules --help)"},
        ErrorCase{"GenericOfTwoNodes",
                  {"rules", kGood, "--dialect", "generic", "--nodes", "2,4"},
                  2,
                  "--dialect generic writes one node's block: give --nodes one node id (see "
                  "treeout rules --help)"},
        ErrorCase{"AddColumnsOutsideSqlUpdates",
                  {"rules", kGood, "--dialect", "veld", "--update", "--add-columns"},
                  2,
                  "--add-columns goes with --dialect sql --update (see treeout rules --help)"},
        ErrorCase{"OnePassOfChosenNodes",
                  {"rules", kGood, "--one-pass", "--nodes", "2"},
                  2,
                  "--one-pass scores every node: leave out --nodes (see treeout rules --help)"},
        ErrorCase{"StageDepthNotANumber",
                  {"rules", kGood, "--one-pass", "--stage-depth", "0"},
                  2,
                  "--stage-depth takes auto, none or a number of tree levels from 1 (see treeout "
                  "rules --help)"}),
    PrintName);

INSTANTIATE_TEST_SUITE_P(
    Model, ProgramFaults,
    testing::Values(
        ErrorCase{"Absent",
                  {"show", kDir + "/absent.pmml"},
                  1,
                  kDir + "/absent.pmml: cannot read the file: No such file or directory"},
        ErrorCase{"Directory", {"rules", kDir}, 1, kDir + ": is a directory, not a file"},
        ErrorCase{"Utf16",
                  {"show", WriteFile("wide.pmml", std::string("\xFF\xFE<\0?\0", 6))},
                  1,
                  kDir + "/wide.pmml: not UTF-8 text (UTF-16?); treeout reads UTF-8 PMML"},
        ErrorCase{
            "Latin1",
            {"show", WriteFile("latin1.pmml", "<?xml version=\"1.0\"?>\n<PMML>\xE9</PMML>\n")},
            1,
            kDir + "/latin1.pmml: not UTF-8 text, and its XML declaration names no other encoding"},
        ErrorCase{"NotPmml",
                  {"show", WriteFile("notxml.pmml", "this is not XML\n")},
                  1,
                  kDir + "/notxml.pmml: ..."},
        ErrorCase{"UnknownNode",
                  {"rules", kGood, "--nodes", "2,99"},
                  1,
                  kGood + ": the tree has no node '99'"}),
    PrintName);

INSTANTIATE_TEST_SUITE_P(
    Data, ProgramFaults,
    testing::Values(
        ErrorCase{"Absent",
                  {"score", kGood, kDir + "/absent.csv"},
                  1,
                  kDir + "/absent.csv: cannot read the file: No such file or directory"},
        ErrorCase{"Directory", {"score", kGood, kDir}, 1, kDir + ": is a directory, not a file"},
        ErrorCase{"Utf16",
                  {"score", kGood, kWide},
                  1,
                  kWide + ": line 1: the file is UTF-16 text, not UTF-8"},
        ErrorCase{"Empty",
                  {"score", kGood, Csv("empty.csv", "")},
                  1,
                  kDir + "/empty.csv: the CSV file is empty (it needs a header row)"},
        ErrorCase{"NoColumn",
                  {"score", kGood, Csv("nocolumn.csv", "id,x,\"a\nb\"\n1,2,3\n")},
                  1,
                  kDir + "/nocolumn.csv: the CSV has no column 'c', a field the tree uses; its "
                         "columns are 'id', 'x', 'a\\nb'"},
        ErrorCase{"TwoColumns",
                  {"score", kGood, Csv("twocolumns.csv", "x,c,x\n1,p,2\n")},
                  1,
                  kDir + "/twocolumns.csv: the CSV has two columns named 'x'"},
        ErrorCase{"BadNumber",
                  {"score", kGood, Csv("badnumber.csv", "x,c\n1,p\n\"a\nb\",p\n")},
                  1,
                  kDir + "/badnumber.csv: row 2 (line 3), column 'x': 'a\\nb' is not a number"},
        ErrorCase{"Latin1",
                  {"score", kGood, Csv("latin1.csv", "x,c,note\n1,p,\xE9\n1,\xE9,ok\n")},
                  1,
                  kDir + "/latin1.csv: row 2 (line 3), column 'c': the value is not UTF-8 text "
                         "(Latin-1?); treeout reads UTF-8"},
        ErrorCase{"ShortRow",
                  {"score", kGood, Csv("short.csv", "x,c,id\n1,p,1\n\n1,p\n")},
                  1,
                  kDir + "/short.csv: row 3 (line 4) has 2 fields, the header 3"},
        ErrorCase{"OpenQuote",
                  {"score", kGood, Csv("openquote.csv", "x,c\n1,\"p\n")},
                  1,
                  kDir + "/openquote.csv: line 2: a quoted field is not closed"},
        ErrorCase{"TextAfterQuote",
                  {"score", kGood, Csv("afterquote.csv", "x,c\n1,\"p\"q\n")},
                  1,
                  kDir + "/afterquote.csv: line 2: text after a closing quote"}),
    PrintName);

INSTANTIATE_TEST_SUITE_P(
    Output, ProgramFaults,
    testing::Values(ErrorCase{"ScoreToFullDevice",
                              {"score", kGood, kData},
                              1,
                              "cannot write standard output: No space left on device",
                              "/dev/full"},
                    ErrorCase{"RulesToFullDevice",
                              {"rules", kGood},
                              1,
                              "cannot write standard output: No space left on device",
                              "/dev/full"},
                    ErrorCase{"ShowToFullDevice",
                              {"show", kGood, "--dot"},
                              1,
                              "cannot write standard output: No space left on device",
                              "/dev/full"},
                    ErrorCase{
                        "NoSuchFolder",
                        {"show", kGood, "-o", kDir + "/absent/out.txt"},
                        1,
                        "cannot write " + kDir + "/absent/out.txt: No such file or directory"}),
    PrintName);

}  // namespace
