// Hand-written documents in tests/data/pmml, one per construct, each with a
// CSV of records chosen to meet every branch: the record's node, prediction
// and probability worked out by hand from PMML 4.4's rules (the reasoning in
// the "why" column). Scoring must give them, the document's own predicates
// must give them, and every node's SQL must select exactly the records whose
// route passes through it.
#include <gtest/gtest.h>

#include "cli/recordreader.h"
#include "cli/scorer.h"
#include "pmmlcheck.h"
#include "refhost/numbertext.h"

namespace {

TEST(PmmlDocuments, ScoreAsWorkedOutByHand) {
  for (char const* name : {"cast", "compound", "surrogates", "boolean", "weighted", "aggregate",
                           "date_target", "named", "categories", "missing"}) {
    SCOPED_TRACE(name);
    std::string const stem = std::string(TREEOUT_TEST_DATA) + "/pmml/" + name;
    refhost::LoadOptions options;
    options.keepPredicates = true;
    refhost::PmmlModel model = refhost::LoadPmmlFile(stem + ".pmml", options);
    pmmltest::Table const table = pmmltest::ReadTable(stem + ".csv");
    ASSERT_FALSE(table.rows.empty());
    int const node = table.Column("node");
    ASSERT_GT(node, 0);
    std::vector<std::string> const header(table.header.begin(), table.header.begin() + node);
    treeout_cli::RecordReader const reader(model, header);
    treeout_cli::Scorer const scorer(model);
    std::vector<pmmltest::Values> records;
    for (std::vector<std::string> const& row : table.rows) {
      SCOPED_TRACE(row.back());
      refhost::Record const record =
          reader.Make(std::vector<std::string>(row.begin(), row.begin() + node), 1);
      treeout_cli::Score const score = scorer.ScoreRecord(record);
      EXPECT_EQ(score.node, row[node]);
      EXPECT_EQ(score.prediction.value_or(""), row[node + 1]);
      if (!row[node + 2].empty()) {  // the probability, when the document gives one
        ASSERT_TRUE(score.probability.has_value());
        EXPECT_NEAR(*score.probability, *refhost::ParseDouble(row[node + 2]), 1e-12);
      }
      pmmltest::Values values;
      for (std::size_t i = 1; i < record.GetSize(); ++i) values.push_back(record[i]);
      EXPECT_EQ(pmmltest::Scored(model, values), pmmltest::ByDocument(model, values));
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
