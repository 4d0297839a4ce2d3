// Scores every record of the third-party and trained models and compares the
// node, prediction and probabilities with the answers published with them.
#include <cmath>
#include <sstream>

#include <gtest/gtest.h>

#include "cli/recordreader.h"
#include "cli/scorer.h"
#include "pmmlcheck.h"
#include "refhost/numbertext.h"

namespace {

struct ModelCase {
  char const* name;
  char const* folder;             // under the test data; "" for external/NAME.xml
  char const* probabilityPrefix;  // then the category text; null when not published
};

// External models carry their answers beside the records (NAME.expected.csv);
// trained ones in expected.csv, with the node.
ModelCase const kModels[] = {
    {"AuditTree", "", "Probability_"},
    {"IrisTree", "", "Probability_"},
    {"single_audit_dectree", "", nullptr},
    {"single_iris_dectree", "", nullptr},
    {"rpart_cu_class", "trained/", "prob_"},
    {"rpart_airq_reg_code99", "trained/", nullptr},
    {"rpart_solder_class", "trained/", "prob_"},
    {"sk_wine_class", "trained/", "prob_"},
    {"sk_synth_deep_class", "trained/", "prob_"},
};

bool SameNumber(std::string const& expected, double actual) {
  double const e = refhost::ParseDouble(expected).value_or(NAN);
  return std::fabs(e - actual) <= 1e-9 * std::max(1.0, std::fabs(e));
}

class ModelScores : public testing::TestWithParam<ModelCase> {};

TEST_P(ModelScores, MatchPublishedAnswers) {
  ModelCase const& c = GetParam();
  std::string const data = std::string(TREEOUT_TEST_DATA) + "/";
  bool const trained = *c.folder != '\0';
  std::string const stem = trained ? data + c.folder + c.name + "/" : data + "external/" + c.name;
  refhost::PmmlModel const model =
      refhost::LoadPmmlFile(trained ? stem + "model.pmml" : stem + ".xml");
  pmmltest::Table const records =
      pmmltest::ReadTable(trained ? stem + "data.csv" : stem + ".expected.csv");
  pmmltest::Table const expected = trained ? pmmltest::ReadTable(stem + "expected.csv") : records;
  ASSERT_FALSE(records.rows.empty());
  ASSERT_EQ(expected.rows.size(), records.rows.size());
  treeout_cli::RecordReader const reader(model, records.header);
  treeout_cli::Scorer const scorer(model);
  std::vector<std::string> const& categories = model.Target().categories;
  int const nodeColumn = trained ? expected.Column("node_id") : -1;
  int const predictionColumn = expected.Column("prediction");
  ASSERT_GE(predictionColumn, 0);
  ASSERT_TRUE(!trained || nodeColumn >= 0);
  int matched = 0;
  for (std::size_t r = 0; r < records.rows.size(); ++r) {
    treeout_cli::Score const score =
        scorer.ScoreRecord(reader.Make(records.rows[r], static_cast<int>(r) + 1));
    std::vector<std::string> const& want = expected.rows[r];
    std::ostringstream faults;
    if (nodeColumn >= 0 && want[nodeColumn] != score.node) {
      faults << " node " << score.node << " (want " << want[nodeColumn] << ")";
    }
    std::string const& wantPrediction = want[predictionColumn];
    std::string const prediction = score.prediction.value_or("(none)");
    if (categories.empty()
            ? !score.prediction || !SameNumber(wantPrediction, *refhost::ParseDouble(prediction))
            : prediction != wantPrediction) {
      faults << " prediction '" << prediction << "' (want '" << wantPrediction << "')";
    }
    for (std::size_t k = 0; c.probabilityPrefix && k < categories.size(); ++k) {
      int const column = expected.Column(c.probabilityPrefix + categories[k]);
      if (column < 0 || k >= score.probabilities.size()) {
        faults << " no probability of " << categories[k];
      } else if (!SameNumber(want[column], score.probabilities[k])) {
        faults << " p(" << categories[k] << ") " << score.probabilities[k] << " (want "
               << want[column] << ")";
      }
    }
    if (faults.str().empty()) {
      ++matched;
    } else if (r - matched < 10) {
      ADD_FAILURE() << c.name << " row " << r + 1 << ":" << faults.str();
    }
  }
  EXPECT_EQ(matched, static_cast<int>(records.rows.size()));
}

INSTANTIATE_TEST_SUITE_P(Published, ModelScores, testing::ValuesIn(kModels),
                         [](testing::TestParamInfo<ModelCase> const& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
