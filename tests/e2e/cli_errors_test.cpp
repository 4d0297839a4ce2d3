// The program's faults, one row per rule: the exit status (2 for usage, 1 for
// a model, data or output fault) and the one line it writes on standard error.
#include <gtest/gtest.h>

#include "program.h"

namespace {

using e2e::WriteFile;

TEST(ProgramFaults, OneLineAndItsStatus) {
  std::string const good = e2e::Example("credit.pmml");
  std::string const data = WriteFile("good.csv", "age,region,income\n0,N,1\n2,N,1\n");
  std::string const dir = e2e::ScratchDir();
  char const wide[] = "\xFF\xFEx\0,\0c\0\n\0";  // UTF-16 with its byte order mark
  std::string const wideCsv = WriteFile("wide.csv", std::string(wide, sizeof wide - 1));
  auto const score = [&](char const* name, std::string const& text) {
    return std::vector<std::string>{"score", good, WriteFile(name, text)};
  };
  std::string const see = " (see treeout rules --help)";
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string message;      // the line after "treeout: "; a row ending "..." matches up to it
    std::string output = "";  // standard output to this file (e.g. /dev/full)
  };
  Case const cases[] = {
      // Usage.
      {{"frobnicate"},
       2,
       "unknown subcommand 'frobnicate'; treeout knows show, rules and score (see treeout --help)"},
      {{"rules", "--frob"}, 2, "unknown option '--frob'" + see},
      {{"--frob", "show"}, 2, "unknown option '--frob' (see treeout --help)"},
      {{}, 2, "a subcommand is required: show, rules or score (see treeout --help)"},
      {{"score", good}, 2, "DATA is required (see treeout score --help)"},
      {{"score", good, data, data},
       2,
       "unexpected argument '" + data + "' (see treeout score --help)"},
      {{"score", "-", "-"},
       2,
       "MODEL and DATA cannot both be - (standard input) (see treeout score --help)"},
      {{"score", good, data, "--delimiter", ";;"},
       2,
       "--delimiter takes one character other than a quote or line break, or \\t for tab (see "
       "treeout score --help)"},
      {{"rules", good, "--update", "--nodes", "2,4"},
       2,
       "--update writes one node's statement: give --nodes one node id" + see},
      {{"rules", good, "--dialect", "generic", "--nodes", "2,4"},
       2,
       "--dialect generic writes one node's block: give --nodes one node id" + see},
      {{"rules", good, "--dialect", "veld", "--update", "--add-columns"},
       2,
       "--add-columns goes with --dialect sql --update" + see},
      {{"rules", good, "--one-pass", "--nodes", "2"},
       2,
       "--one-pass scores every node: leave out --nodes" + see},
      {{"rules", good, "--one-pass", "--stage-depth", "0"},
       2,
       "--stage-depth takes auto, none or a number of tree levels from 1" + see},
      // The model.
      {{"show", dir + "/absent.pmml"},
       1,
       dir + "/absent.pmml: cannot read the file: No such file or directory"},
      {{"rules", dir}, 1, dir + ": is a directory, not a file"},
      {{"show", WriteFile("wide.pmml", std::string("\xFF\xFE<\0?\0", 6))},
       1,
       dir + "/wide.pmml: not UTF-8 text (UTF-16?); treeout reads UTF-8 PMML"},
      {{"show", WriteFile("latin1.pmml", "<?xml version=\"1.0\"?>\n<PMML>\xE9</PMML>\n")},
       1,
       dir + "/latin1.pmml: not UTF-8 text, and its XML declaration names no other encoding"},
      {{"show", WriteFile("notxml.pmml", "this is not XML\n")}, 1, dir + "/notxml.pmml: ..."},
      {{"rules", good, "--nodes", "2,99"}, 1, good + ": the tree has no node '99'"},
      // The data (the reader's own faults are its own test's).
      {{"score", good, dir}, 1, dir + ": is a directory, not a file"},
      {{"score", good, wideCsv}, 1, wideCsv + ": line 1: the file is UTF-16 text, not UTF-8"},
      {score("empty.csv", ""), 1,
       dir + "/empty.csv: the CSV file is empty (it needs a header row)"},
      {score("nocolumn.csv", "id,age,\"a\nb\"\n1,2,3\n"), 1,
       dir +
           "/nocolumn.csv: the CSV has no column 'region', a field the tree uses; its columns are "
           "'id', 'age', 'a\\nb'"},
      {score("twocolumns.csv", "age,region,age\n1,N,2\n"), 1,
       dir + "/twocolumns.csv: the CSV has two columns named 'age'"},
      {score("badnumber.csv", "age,region,income\n1,N,1\n\"a\nb\",N,1\n"), 1,
       dir + "/badnumber.csv: row 2 (line 3), column 'age': 'a\\nb' is not a number"},
      {score("latin1.csv", "age,region,income,note\n1,N,1,\xE9\n1,\xE9,1,ok\n"), 1,
       dir +
           "/latin1.csv: row 2 (line 3), column 'region': the value is not UTF-8 text (Latin-1?); "
           "treeout reads UTF-8"},
      {score("short.csv", "age,region,income\n1,N,1\n\n1,N\n"), 1,
       dir + "/short.csv: row 3 (line 4) has 2 fields, the header 3"},
      // The output.
      {{"score", good, data},
       1,
       "cannot write standard output: No space left on device",
       "/dev/full"},
      {{"show", good, "-o", dir + "/absent/out.txt"},
       1,
       "cannot write " + dir + "/absent/out.txt: No such file or directory"},
  };
  for (Case const& c : cases) {
    std::string shown;
    for (std::string const& arg : c.args) shown += " " + arg;
    SCOPED_TRACE("treeout" + shown);
    e2e::Run const run = e2e::Treeout(c.args, "", c.output);
    EXPECT_EQ(run.status, c.status);
    std::size_t const dots = c.message.size() - 3;
    if (c.message.compare(dots, 3, "...") == 0) {
      EXPECT_EQ(run.err.rfind("treeout: " + c.message.substr(0, dots), 0), 0u) << run.err;
      EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
    } else {
      EXPECT_EQ(run.err, "treeout: " + c.message + "\n");
    }
  }
}

}  // namespace
