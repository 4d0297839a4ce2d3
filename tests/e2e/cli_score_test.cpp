// `treeout score` as a Unix data tool: the same scores however the input
// arrives, the learners' own answers for every record of the trained models
// (and the outline's leaves agreeing with them), and trees far deeper than any
// stack of calls.
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>

#include <gtest/gtest.h>

#include "program.h"

namespace {

using e2e::ParseCsv;
using e2e::Treeout;
using Table = std::vector<std::vector<std::string>>;

std::string Trained(std::string const& folder, char const* file) {
  return e2e::TestData("trained/" + folder + "/" + file);
}

// `rows` written back as CSV with `delimiter` and `lineEnd`, leaving out the
// column named `drop`. (No field of these files holds a delimiter, a quote or
// a line break.)
std::string Join(Table const& rows, std::string const& delimiter, std::string const& lineEnd,
                 std::string const& drop) {
  std::string text;
  for (auto const& row : rows) {
    for (std::size_t i = 0, n = 0; i < row.size(); ++i) {
      if (rows[0][i] != drop) text += (n++ == 0 ? "" : delimiter) + row[i];
    }
    text += lineEnd;
  }
  return text;
}

// Every way of handing the program the same records gives the output of the
// plain call: delimiters, line ends, standard input, -o, and a file without
// a column that no split uses.
TEST(SameScores, AsThePlainCall) {
  enum From { kFiles, kDataOnStdin, kModelOnStdin, kOutputFile };
  struct Case {
    char const* folder;
    char const* delimiter;
    char const* lineEnd;
    char const* drop;
    std::vector<std::string> options;
    From from;
  };
  Case const cases[] = {
      {"rpart_cu_class", "\t", "\r\n", "", {"--delimiter", "\\t"}, kFiles},
      {"rpart_airq_reg_code99", ",", "\n", "", {}, kDataOnStdin},
      {"rpart_airq_reg_code99", ",", "\n", "", {}, kModelOnStdin},
      {"sk_wine_class", ",", "\n", "", {}, kOutputFile},
      {"sk_wine_class", ",", "\n", "alcalinity_of_ash", {}, kFiles},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.folder) + " way " + std::to_string(c.from));
    std::string const model = Trained(c.folder, "model.pmml"), data = Trained(c.folder, "data.csv");
    e2e::Run const plain = Treeout({"score", model, data});
    ASSERT_EQ(plain.status, 0) << plain.err;
    ASSERT_GT(ParseCsv(plain.out).size(), 2u);
    std::string const variant = e2e::WriteFile(
        "variant.csv", Join(ParseCsv(e2e::ReadFile(data)), c.delimiter, c.lineEnd, c.drop));
    std::vector<std::string> args{"score", model, variant};
    std::string input, output;
    if (c.from == kDataOnStdin) args[2] = "-", input = variant;
    if (c.from == kModelOnStdin) args[1] = "-", input = model;
    if (c.from == kOutputFile) output = e2e::ScratchDir() + "/scores.out";
    if (c.from == kOutputFile) args.insert(args.end(), {"-o", output});
    args.insert(args.end(), c.options.begin(), c.options.end());
    e2e::Run const run = Treeout(args, input);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(c.from == kOutputFile ? e2e::ReadFile(output) : run.out, plain.out);
    if (c.from == kOutputFile) {
      EXPECT_EQ(run.out, "");
    }
  }
}

// The outline's lines by node id: "ID  CONDITION  n=N  predict ...".
std::map<std::string, std::string> OutlineLines(std::string const& model) {
  std::map<std::string, std::string> lines;
  std::string const text = Treeout({"show", model}).out;
  for (std::size_t at = text.find('\n') + 1; at < text.size();) {
    std::size_t const end = text.find('\n', at);
    std::string line = text.substr(at, end - at);
    line.erase(0, line.find_first_not_of(' '));
    lines[line.substr(0, line.find(' '))] = line;
    at = end + 1;
  }
  return lines;
}

class LearnersAnswers : public testing::TestWithParam<char const*> {};

// With --probabilities all the program writes what the learner answers for
// each record: node, prediction and one probability per class, in the
// target's order; the default output's probability is that of the
// prediction, and the outline shows each leaf's prediction and probability
// as scored there.
TEST_P(LearnersAnswers, EveryRecord) {
  std::string const model = Trained(GetParam(), "model.pmml"),
                    data = Trained(GetParam(), "data.csv");
  Table const expected = ParseCsv(e2e::ReadFile(Trained(GetParam(), "expected.csv")));
  e2e::Run const all = Treeout({"score", model, data, "--probabilities", "all"});
  e2e::Run const plain = Treeout({"score", model, data});
  ASSERT_EQ(all.status, 0) << all.err;
  Table const got = ParseCsv(all.out), chosen = ParseCsv(plain.out);
  ASSERT_EQ(got.size(), expected.size());
  ASSERT_EQ(chosen.size(), expected.size());
  std::map<std::string, std::string> const outline = OutlineLines(model);
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
    if (classification) {
      EXPECT_EQ(got[r][1], expected[r][2]);
    }
    for (std::size_t k = classification ? 2 : 1; k < header.size(); ++k) {
      EXPECT_NEAR(std::strtod(got[r][k].c_str(), nullptr),
                  std::strtod(expected[r][k + 1].c_str(), nullptr), 1e-9)
          << header[k];
    }
    EXPECT_EQ(std::vector<std::string>(chosen[r].begin(), chosen[r].begin() + 2),
              std::vector<std::string>(got[r].begin(), got[r].begin() + 2));
    std::string predict = "  predict " + chosen[r][1];
    if (classification) {
      auto const at = std::find(header.begin(), header.end(), "prob_" + got[r][1]);
      ASSERT_NE(at, header.end());
      EXPECT_EQ(chosen[r][2], got[r][static_cast<std::size_t>(at - header.begin())]);
      predict += " (" + chosen[r][2] + ")";
    }
    std::string const line = outline.count(chosen[r][0]) ? outline.at(chosen[r][0]) : "";
    EXPECT_EQ(line.substr(line.size() - std::min(line.size(), predict.size())), predict) << line;
  }
}

INSTANTIATE_TEST_SUITE_P(Models, LearnersAnswers,
                         testing::Values("rpart_cu_class", "rpart_solder_class", "sk_wine_class",
                                         "rpart_airq_reg_code99"),
                         [](testing::TestParamInfo<char const*> const& info) {
                           return std::string(info.param);
                         });

// A record that stops without a prediction gets no probabilities either.
TEST(NoPrediction, NoProbabilities) {
  e2e::Run const run =
      Treeout({"score", e2e::TestData("pmml/cast.pmml"), e2e::TestData("../engines/data/cast.csv"),
               "--probabilities", "all"});
  ASSERT_EQ(run.status, 0) << run.err;
  std::size_t without = 0;
  for (auto const& row : ParseCsv(run.out)) {
    if (!row.at(1).empty()) continue;
    ++without;
    EXPECT_EQ(std::vector<std::string>(row.begin() + 1, row.end()),
              std::vector<std::string>(row.size() - 1, ""))
        << "node " << row[0];
  }
  EXPECT_GT(without, 0u);
}

// A chain 100,000 levels deep: each level sends x < i to a leaf and the rest
// on. Outline, picture and scores come out whole; nothing recurses per level,
// and the outline stops indenting after 50 levels.
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
           "<Node id=\"0\" score=\"-1\" recordCount=\"7\"><True/>\n";
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
  EXPECT_EQ(std::count(show.out.begin(), show.out.end(), '\n'), 2 * depth + 2);  // title, nodes
  EXPECT_EQ(show.out.substr(0, show.out.find("\n  2 ")),
            "model (unnamed), 200001 nodes\n0  n=7  predict -1\n  1  x < 0  predict 0");
  std::string const indent(100, ' ');
  EXPECT_NE(show.out.find("\n" + indent + "100  x >= 49  predict 50\n"), std::string::npos);
  EXPECT_NE(show.out.find("\n" + indent + "[level 51] 101  x < 50  predict 50\n"),
            std::string::npos);
  e2e::Run const dot = Treeout({"show", path, "--dot"});
  ASSERT_EQ(dot.status, 0) << dot.err;
  EXPECT_EQ(std::count(dot.out.begin(), dot.out.end(), '\n'),
            2 * depth + 1 + 2 * depth + 4);  // every node and edge, and the frame
  std::string const data = e2e::WriteFile("chain.csv", "x\n-5\n5.5\n99998\n1e9\n\n");
  e2e::Run const score = Treeout({"score", path, data});
  ASSERT_EQ(score.status, 0) << score.err;
  EXPECT_EQ(score.out, "node,prediction\n1,0\n13,6\n199999,99999\n200000,100000\n");
}

// The outline writes each range with its open and closed ends, and a copy of
// a document node that a compound's test reaches by a second route as added.
TEST(Outline, RangeEndsAndAddedCopies) {
  std::string const model = e2e::WriteFile(
      "range.pmml",
      R"(<PMML version="4.4"><DataDictionary><DataField name="x" optype="continuous" dataType="double"/>)"
      R"(<DataField name="y" optype="continuous" dataType="double"/></DataDictionary>)"
      R"(<TreeModel functionName="regression"><MiningSchema><MiningField name="x"/>)"
      R"(<MiningField name="y" usageType="target"/></MiningSchema><Node id="0" score="0"><True/>)"
      R"(<Node id="1" score="1"><CompoundPredicate booleanOperator="and">)"
      R"(<SimplePredicate field="x" operator="greaterThan" value="1"/>)"
      R"(<SimplePredicate field="x" operator="lessOrEqual" value="5"/></CompoundPredicate></Node>)"
      R"(<Node id="2" score="2"><True/></Node></Node></TreeModel></PMML>)");
  EXPECT_EQ(Treeout({"show", model}).out,
            "model (unnamed), 4 nodes\n0  predict 0\n  2  x <= 1 or missing  predict 2\n"
            "  1  1 < x <= 5  predict 1\n  2 (added)  x > 5  predict 2\n");
}

}  // namespace
