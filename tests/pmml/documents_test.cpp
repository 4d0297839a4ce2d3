// Hand-written documents in tests/data/pmml, one per construct, with records
// chosen to meet every branch: each record's node, prediction and
// probability is worked out by hand from PMML 4.4's rules (the reasoning
// stands beside each row). Scoring must give them, the document's own
// predicates must give them, and every node's SQL must select exactly the
// records whose route passes through it.
#include <cmath>

#include <gtest/gtest.h>

#include "cli/recordreader.h"
#include "cli/scorer.h"
#include "pmmlcheck.h"

namespace {

struct Row {
  std::vector<std::string> values;  // one per field in model order, "" missing
  std::string node;                 // output number
  std::string prediction;           // "" for none
  double probability;               // of the prediction; ignored without one
};

struct DocumentCase {
  char const* file;
  std::vector<Row> rows;
};

std::vector<DocumentCase> const kDocuments = {
    {"cast.pmml",
     {
         // float(0.1) is 0.1f = 0.10000000149011612, at the threshold: node 1;
         // int(1) = 1 < 3: node 3.
         {{"0.1", "1"}, "3", "a", 0.9},
         // int(2.4999999) = 2.
         {{"0.10000000149011612", "2.4999999"}, "3", "a", 0.9},
         // 0.100000005 rounds down to 0.1f (the next float is 0.10000000894069672);
         // int(2.5) = 3, halves up: node 4.
         {{"0.100000005", "2.5"}, "4", "b", 0.7},
         // Just below the midpoint of 0.1f and the next float: still 0.1f;
         // int(-0.5) = 0.
         {{"0.1000000052154064", "-0.5"}, "3", "a", 0.9},
         // The midpoint rounds to the even neighbour, the next float: node 2.
         {{"0.10000000521540642", "1"}, "2", "b", 0.9},
         {{"0.1000000053", "1"}, "2", "b", 0.9},
         // No x: both predicates UNKNOWN, read as FALSE (strategy none); no
         // true child returns no prediction at the root.
         {{"", "1"}, "0", "", 0},
         // No y below node 1: it stops there without a prediction.
         {{"0.05", ""}, "1", "", 0},
         // int(3.4999) = 3.
         {{"0.05", "3.4999"}, "4", "b", 0.7},
     }},
    {"compound.pmml",
     {
         // and(20 < 30, 60 < 80).
         {{"overcast", "20", "60"}, "3", "yes", 0.9},
         // and(FALSE, UNKNOWN) is FALSE: the True child.
         {{"rain", "35", ""}, "4", "no", 0.8},
         // and(TRUE, UNKNOWN) is UNKNOWN: lastPrediction stops at node 1.
         {{"rain", "20", ""}, "1", "yes", 0.7},
         // or(UNKNOWN, UNKNOWN): stops at the root.
         {{"", "20", "60"}, "0", "yes", 0.6},
         // xor(30 > 25, 60 > 70) = xor(TRUE, FALSE).
         {{"sunny", "30", "60"}, "5", "yes", 0.8},
         {{"sunny", "20", "60"}, "6", "no", 0.7},
         {{"sunny", "30", "80"}, "6", "no", 0.7},
         // xor with an UNKNOWN part is UNKNOWN: stops at node 2.
         {{"sunny", "", "80"}, "2", "no", 0.6},
         // On the cuts: 30 < 30 and 80 < 80 are FALSE.
         {{"overcast", "30", "80"}, "4", "no", 0.8},
         {{"rain", "29.999", "79.999"}, "3", "yes", 0.9},
         // 25 > 25 and 70 > 70 are FALSE: xor is FALSE.
         {{"sunny", "25", "70"}, "6", "no", 0.7},
         // A value the field does not declare reads as missing.
         {{"foggy", "20", "60"}, "0", "yes", 0.6},
         // and(UNKNOWN, 90 < 80) is FALSE.
         {{"overcast", "", "90"}, "4", "no", 0.8},
     }},
    {"surrogates.pmml",
     {
         // x decides when present: [1, 5) is node 1, else node 2.
         {{"3", ""}, "1", "a", 0.9},
         {{"0.5", ""}, "2", "b", 0.8},
         {{"5", ""}, "2", "b", 0.8},
         {{"1", ""}, "1", "a", 0.9},
         {{"4.999", "100"}, "1", "a", 0.9},
         // No x: y decides, [2, 7) is node 1.
         {{"", "4"}, "1", "a", 0.9},
         {{"", "1"}, "2", "b", 0.8},
         {{"", "7"}, "2", "b", 0.8},
         {{"", "2"}, "1", "a", 0.9},
         // Neither: node 1's chain ends in False, node 2's in isMissing(x),
         // which is TRUE.
         {{"", ""}, "2", "b", 0.8},
     }},
    {"boolean.pmml",
     {
         // true reads as 1 >= 0.5; vs equal TRUE.
         {{"true", "TRUE"}, "3", "four", 0.9},
         {{"false", "TRUE"}, "1", "three", 0.8},
         // vs FALSE: node 3 is FALSE, node 4 is True.
         {{"TRUE", "FALSE"}, "4", "three", 0.6},
         // 1 and true are the same values as true and TRUE.
         {{"1", "true"}, "3", "four", 0.9},
         {{"0", ""}, "1", "three", 0.8},
         // No am: UNKNOWN, the root's default child, node 1.
         {{"", "TRUE"}, "1", "three", 0.8},
         // "yes" is no boolean: missing, as above.
         {{"yes", "TRUE"}, "1", "three", 0.8},
         // No vs below node 2: its default child, node 4.
         {{"True", ""}, "4", "three", 0.6},
     }},
    {"weighted.pmml",
     {
         {{"3", ""}, "2", "a", 0.75},
         {{"7", "1"}, "4", "b", 0.8},
         {{"5", "2"}, "5", "a", 0.8},
         // No x: nodes 2 and 3 are UNKNOWN, weights 60/100 and 40/100; node 3
         // goes on to node 4 (y = 1). a = .6 * .75 + .4 * .2 = .53, times the
         // penalty .8: .424.
         {{"", "1"}, "1", "a", 0.424},
         // No y at node 3: nodes 4 and 5, weights 30/40 and 10/40:
         // b = .75 * .8 + .25 * .2 = .65, times .8: .52.
         {{"7", ""}, "3", "b", 0.52},
         // Neither: a = .6 * .8 * .75 + .4 * (.75 * .64 * .2 + .25 * .64 * .8)
         // = .36 + .0896 = .4496 (two blends on the way to nodes 4 and 5).
         {{"", ""}, "1", "a", 0.4496},
     }},
    {"aggregate.pmml",
     {
         {{"3", ""}, "2", "a", 0.75},
         // No x: nodes 2 (45, 15) and 4 (6, 24): a 51 of 90.
         {{"", "1"}, "1", "a", 51.0 / 90.0},
         // No y at node 3: nodes 4 and 5: b 26 of 40.
         {{"7", ""}, "3", "b", 0.65},
         // Neither: nodes 2, 4 and 5: a 59 of 100.
         {{"", ""}, "1", "a", 0.59},
     }},
    {"date_target.pmml",
     {
         // No ids: nodes are numbered in document order.
         {{"5"}, "1", "2020-01-31", 0},
         {{"10"}, "2", "2021-06-15", 0},
         {{""}, "0", "2020-12-01", 0},
     }},
};

TEST(PmmlDocuments, ScoreAsWorkedOutByHand) {
  for (DocumentCase const& c : kDocuments) {
    SCOPED_TRACE(c.file);
    refhost::LoadOptions options;
    options.keepPredicates = true;
    refhost::PmmlModel model =
        refhost::LoadPmmlFile(std::string(TREEOUT_TEST_DATA) + "/pmml/" + c.file, options);
    std::vector<std::string> header;
    for (refhost::PmmlField const& f : model.Fields()) header.push_back(f.name);
    treeout_cli::RecordReader const reader(model, header);
    treeout_cli::Scorer const scorer(model);
    std::vector<pmmltest::Values> records;
    for (Row const& row : c.rows) {
      std::vector<std::string> fields = row.values;
      fields.resize(header.size());
      refhost::Record const record = reader.Make(fields, 1);
      treeout_cli::Score const score = scorer.ScoreRecord(record);
      std::string const where = "record " + ::testing::PrintToString(row.values);
      EXPECT_EQ(score.node, row.node) << where;
      EXPECT_EQ(score.prediction.value_or(""), row.prediction) << where;
      if (model.IsClassification() && !row.prediction.empty()) {
        ASSERT_TRUE(score.probability.has_value()) << where;
        EXPECT_NEAR(*score.probability, row.probability, 1e-12) << where;
      }
      pmmltest::Values values;
      for (std::size_t i = 1; i < record.GetSize(); ++i) values.push_back(record[i]);
      EXPECT_EQ(pmmltest::Scored(model, values), pmmltest::ByDocument(model, values)) << where;
      records.push_back(values);
    }
    int checked = 0;
    for (std::string const& fault : pmmltest::SqlDisagreements(model, records, &checked)) {
      ADD_FAILURE() << fault;
    }
    EXPECT_GT(checked, 0);
  }
}

}  // namespace
