// `treeout score` as a Unix data tool: the same scores however the input
// arrives, the learners' own answers for every record of the trained models,
// and trees far deeper than any stack of calls.
#include <cmath>
#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

#include "program.h"

namespace {

using e2e::ParseCsv;
using e2e::Treeout;
using e2e::WriteFile;
using Table = std::vector<std::vector<std::string>>;

// `rows` written back as CSV with `delimiter` and `lineEnd`; `drop` names a
// column left out.
std::string Join(Table const& rows, std::string const& delimiter, std::string const& lineEnd,
                 std::string const& drop = "") {
  std::string text;
  for (auto const& row : rows) {
    bool first = true;
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (!drop.empty() && rows[0][i] == drop) continue;
      std::string field = row[i];
      if (field.find_first_of(",;\t\"\r\n") != std::string::npos || field == "NA") {
        std::string quoted = "\"";
        for (char c : field) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
        field = quoted + "\"";
      }
      text += (first ? "" : delimiter) + field;
      first = false;
    }
    text += lineEnd;
  }
  return text;
}

struct InputCase {
  char const* name;
  char const* model;
  char const* data;
  // What changes: the data text, the arguments, and where input comes from.
  std::string (*rewrite)(Table const& rows);
  std::vector<std::string> options;
  enum From { kFiles, kDataOnStdin, kModelOnStdin, kOutputFile } from;
};

// The test log names a case by its name, not by its bytes.
void PrintTo(InputCase const& c, std::ostream* out) { *out << c.name; }

class SameScores : public testing::TestWithParam<InputCase> {};

// Every way of handing the program the same records gives the output of the
// plain call: byte order mark, delimiters, line ends, standard input, -o,
// and a file without the columns that no split uses.
TEST_P(SameScores, AsThePlainCall) {
  InputCase const& c = GetParam();
  std::string const model = e2e::TestData(c.model);
  std::string const data = e2e::TestData(c.data);
  e2e::Run const plain = Treeout({"score", model, data});
  ASSERT_EQ(plain.status, 0) << plain.err;
  ASSERT_GT(ParseCsv(plain.out).size(), 2u);
  std::string const variant =
      WriteFile(std::string(c.name) + ".csv", c.rewrite(ParseCsv(e2e::ReadFile(data))));
  std::vector<std::string> args{"score", model, variant};
  std::string input, output;
  if (c.from == InputCase::kDataOnStdin) args[2] = "-", input = variant;
  if (c.from == InputCase::kModelOnStdin) args[1] = "-", input = model;
  if (c.from == InputCase::kOutputFile) {
    output = e2e::ScratchDir() + "/" + c.name + ".out";
    args.insert(args.end(), {"-o", output});
  }
  args.insert(args.end(), c.options.begin(), c.options.end());
  e2e::Run const run = Treeout(args, input);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(c.from == InputCase::kOutputFile ? e2e::ReadFile(output) : run.out, plain.out);
  if (c.from == InputCase::kOutputFile) {
    EXPECT_EQ(run.out, "");
  }
}

std::string Same(Table const& rows) { return Join(rows, ",", "\n"); }

INSTANTIATE_TEST_SUITE_P(
    Inputs, SameScores,
    testing::Values(InputCase{"ByteOrderMark",
                              "trained/rpart_cu_class/model.pmml",
                              "trained/rpart_cu_class/data.csv",
                              [](Table const& rows) { return "\xEF\xBB\xBF" + Same(rows); },
                              {},
                              InputCase::kFiles},
                    InputCase{"TabsAndCrLf",
                              "trained/rpart_cu_class/model.pmml",
                              "trained/rpart_cu_class/data.csv",
                              [](Table const& rows) { return Join(rows, "\t", "\r\n"); },
                              {"--delimiter", "\\t"},
                              InputCase::kFiles},
                    InputCase{"Semicolons",
                              "trained/rpart_solder_class/model.pmml",
                              "trained/rpart_solder_class/data.csv",
                              [](Table const& rows) { return Join(rows, ";", "\n"); },
                              {"--delimiter", ";"},
                              InputCase::kFiles},
                    InputCase{"DataOnStdin",
                              "trained/rpart_airq_reg_code99/model.pmml",
                              "trained/rpart_airq_reg_code99/data.csv",
                              Same,
                              {},
                              InputCase::kDataOnStdin},
                    InputCase{"ModelOnStdin",
                              "trained/rpart_airq_reg_code99/model.pmml",
                              "trained/rpart_airq_reg_code99/data.csv",
                              Same,
                              {},
                              InputCase::kModelOnStdin},
                    InputCase{"OutputFile",
                              "trained/sk_wine_class/model.pmml",
                              "trained/sk_wine_class/data.csv",
                              Same,
                              {},
                              InputCase::kOutputFile},
                    InputCase{"UnusedColumnLeftOut",
                              "trained/sk_wine_class/model.pmml",
                              "trained/sk_wine_class/data.csv",
                              [](Table const& rows) {
                                return Join(rows, ",", "\n", "alcalinity_of_ash");
                              },
                              {},
                              InputCase::kFiles}),
    [](testing::TestParamInfo<InputCase> const& info) { return std::string(info.param.name); });

struct AnswerCase {
  char const* name;
  char const* folder;
};

// The test log names a case by its name, not by its bytes.
void PrintTo(AnswerCase const& c, std::ostream* out) { *out << c.name; }

class LearnersAnswers : public testing::TestWithParam<AnswerCase> {};

// With --probabilities all the program writes what the learner answers for
// each record: node, prediction and one probability per class, in the
// target's order; the default output's probability is that of the prediction.
TEST_P(LearnersAnswers, EveryRecord) {
  std::string const folder = std::string("trained/") + GetParam().folder;
  std::string const model = e2e::TestData(folder + "/model.pmml");
  std::string const data = e2e::TestData(folder + "/data.csv");
  Table const expected = ParseCsv(e2e::ReadFile(e2e::TestData(folder + "/expected.csv")));
  e2e::Run const all = Treeout({"score", model, data, "--probabilities", "all"});
  e2e::Run const plain = Treeout({"score", model, data});
  ASSERT_EQ(all.status, 0) << all.err;
  Table const got = ParseCsv(all.out);
  Table const chosen = ParseCsv(plain.out);
  ASSERT_EQ(got.size(), expected.size());
  ASSERT_EQ(chosen.size(), expected.size());
  // expected: row, node_id, prediction, prob_...; got: node, prediction, prob_...
  std::vector<std::string> header(expected[0].begin() + 1, expected[0].end());
  header[0] = "node";
  EXPECT_EQ(got[0], header);
  bool const classification = header.size() > 2;
  EXPECT_EQ(chosen[0].size(), classification ? 3u : 2u);
  for (std::size_t r = 1; r < expected.size(); ++r) {
    SCOPED_TRACE("record " + expected[r][0]);
    ASSERT_EQ(got[r].size(), header.size());
    EXPECT_EQ(got[r][0], expected[r][1]);
    double const tolerance = 1e-9;
    for (std::size_t k = 1; k < header.size(); ++k) {
      bool const number = classification ? k > 1 : true;
      if (number) {
        EXPECT_NEAR(std::strtod(got[r][k].c_str(), nullptr),
                    std::strtod(expected[r][k + 1].c_str(), nullptr), tolerance)
            << header[k];
      } else {
        EXPECT_EQ(got[r][k], expected[r][k + 1]);
      }
    }
    EXPECT_EQ(std::vector<std::string>(chosen[r].begin(), chosen[r].begin() + 2),
              std::vector<std::string>(got[r].begin(), got[r].begin() + 2));
    for (std::size_t k = 2; classification && k < header.size(); ++k) {
      if (header[k] == "prob_" + got[r][1]) {
        EXPECT_EQ(chosen[r][2], got[r][k]);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Models, LearnersAnswers,
                         testing::Values(AnswerCase{"CuSummary", "rpart_cu_class"},
                                         AnswerCase{"Solder", "rpart_solder_class"},
                                         AnswerCase{"Wine", "sk_wine_class"},
                                         AnswerCase{"AirQuality", "rpart_airq_reg_code99"}),
                         [](testing::TestParamInfo<AnswerCase> const& info) {
                           return std::string(info.param.name);
                         });

// A chain 100,000 levels deep: each level sends x < i to a leaf and the rest
// on. Outline, picture and scores come out whole; nothing recurses per level.
TEST(DeepTree, HundredThousandLevels) {
  int const depth = 100000;
  std::string const path = e2e::ScratchDir() + "/chain.pmml";
  {
    std::ofstream out(path);
    out << "<?xml version=\"1.0\"?>\n<PMML version=\"4.4\" xmlns=\"http://www.dmg.org/PMML-4_4\">"
           "<DataDictionary><DataField name=\"x\" optype=\"continuous\" dataType=\"double\"/>"
           "<DataField name=\"y\" optype=\"continuous\" dataType=\"double\"/></DataDictionary>"
           "<TreeModel functionName=\"regression\"><MiningSchema><MiningField name=\"x\"/>"
           "<MiningField name=\"y\" usageType=\"target\"/></MiningSchema>\n"
           "<Node id=\"0\" score=\"-1\"><True/>\n";
    for (int i = 0; i < depth; ++i) {
      out << "<Node id=\"" << 2 * i + 1 << "\" score=\"" << i
          << "\"><SimplePredicate field=\"x\" operator=\"lessThan\" value=\"" << i
          << "\"/></Node>\n<Node id=\"" << 2 * i + 2 << "\" score=\"" << i + 1
          << "\"><SimplePredicate field=\"x\" operator=\"greaterOrEqual\" value=\"" << i
          << "\"/>\n";
    }
    for (int i = 0; i <= depth; ++i) out << "</Node>";
    out << "\n</TreeModel></PMML>\n";
  }
  e2e::Run const show = Treeout({"show", path});
  ASSERT_EQ(show.status, 0) << show.err;
  std::size_t const lines =
      static_cast<std::size_t>(std::count(show.out.begin(), show.out.end(), '\n'));
  EXPECT_EQ(lines, 2u * depth + 2);  // a title line, then one per node
  e2e::Run const dot = Treeout({"show", path, "--dot"});
  ASSERT_EQ(dot.status, 0) << dot.err;
  EXPECT_EQ(static_cast<std::size_t>(std::count(dot.out.begin(), dot.out.end(), '\n')),
            2u * depth + 1 + 2u * depth + 4);  // every node and edge, and the frame
  std::string const data = WriteFile("chain.csv", "x\n-5\n5.5\n99998\n1e9\n\n");
  e2e::Run const score = Treeout({"score", path, data});
  ASSERT_EQ(score.status, 0) << score.err;
  EXPECT_EQ(score.out, "node,prediction\n1,0\n13,6\n199999,99999\n200000,100000\n");
}

}  // namespace
