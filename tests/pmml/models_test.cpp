// Scores every record of the third-party and trained models and compares the
// node, prediction and probabilities with the answers published with them.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "cli/csvreader.h"
#include "cli/recordreader.h"
#include "cli/scorer.h"
#include "refhost/pmml/pmmlmodel.h"

namespace {

using treeout_cli::CsvReader;

struct Table {
  std::vector<std::string> header;
  std::vector<std::vector<std::string>> rows;
  int Column(std::string const& name) const {
    for (std::size_t i = 0; i < header.size(); ++i) {
      if (header[i] == name) return static_cast<int>(i);
    }
    return -1;
  }
};

Table ReadTable(std::string const& path) {
  std::ifstream in(path);
  EXPECT_TRUE(in) << path;
  CsvReader csv(in);
  Table table;
  csv.Next(&table.header);
  std::vector<std::string> row;
  while (csv.Next(&row)) table.rows.push_back(row);
  return table;
}

struct ModelCase {
  char const* name;
  char const* model;
  char const* data;      // records, with a header
  char const* expected;  // null: the data file holds the answers
  char const* nodeColumn;
  char const* predictionColumn;
  char const* probabilityPrefix;  // then the category text
};

ModelCase const kModels[] = {
    {"AuditTree", "external/AuditTree.xml", "external/AuditTree.expected.csv", nullptr, nullptr,
     "prediction", "Probability_"},
    {"IrisTree", "external/IrisTree.xml", "external/IrisTree.expected.csv", nullptr, nullptr,
     "prediction", "Probability_"},
    {"single_audit_dectree", "external/single_audit_dectree.xml",
     "external/single_audit_dectree.expected.csv", nullptr, nullptr, "prediction", nullptr},
    {"single_iris_dectree", "external/single_iris_dectree.xml",
     "external/single_iris_dectree.expected.csv", nullptr, nullptr, "prediction", nullptr},
    {"rpart_cu_class", "trained/rpart_cu_class/model.pmml", "trained/rpart_cu_class/data.csv",
     "trained/rpart_cu_class/expected.csv", "node_id", "prediction", "prob_"},
    {"rpart_airq_reg_code99", "trained/rpart_airq_reg_code99/model.pmml",
     "trained/rpart_airq_reg_code99/data.csv", "trained/rpart_airq_reg_code99/expected.csv",
     "node_id", "prediction", nullptr},
    {"rpart_solder_class", "trained/rpart_solder_class/model.pmml",
     "trained/rpart_solder_class/data.csv", "trained/rpart_solder_class/expected.csv", "node_id",
     "prediction", "prob_"},
    {"sk_wine_class", "trained/sk_wine_class/model.pmml", "trained/sk_wine_class/data.csv",
     "trained/sk_wine_class/expected.csv", "node_id", "prediction", "prob_"},
    {"sk_synth_deep_class", "trained/sk_synth_deep_class/model.pmml",
     "trained/sk_synth_deep_class/data.csv", "trained/sk_synth_deep_class/expected.csv", "node_id",
     "prediction", "prob_"},
};

std::string Data(char const* path) { return std::string(TREEOUT_TEST_DATA) + "/" + path; }

bool SameNumber(std::string const& expected, double actual) {
  double const e = std::strtod(expected.c_str(), nullptr);
  return std::fabs(e - actual) <= 1e-9 * std::max(1.0, std::fabs(e));
}

class ModelScores : public testing::TestWithParam<ModelCase> {};

TEST_P(ModelScores, MatchPublishedAnswers) {
  ModelCase const& c = GetParam();
  refhost::PmmlModel const model = refhost::LoadPmmlFile(Data(c.model));
  Table const data = ReadTable(Data(c.data));
  Table const expected = c.expected ? ReadTable(Data(c.expected)) : data;
  ASSERT_EQ(expected.rows.size(), data.rows.size());
  treeout_cli::RecordReader const reader(model, data.header);
  treeout_cli::Scorer const scorer(model);
  std::vector<std::string> categories;
  for (auto const& field : model.Fields()) {
    if (field.isTarget) categories = field.categories;
  }
  int const nodeColumn = c.nodeColumn ? expected.Column(c.nodeColumn) : -1;
  int const predictionColumn = expected.Column(c.predictionColumn);
  ASSERT_GE(predictionColumn, 0);
  ASSERT_TRUE(c.nodeColumn == nullptr || nodeColumn >= 0);
  int matched = 0;
  int reported = 0;
  for (std::size_t r = 0; r < data.rows.size(); ++r) {
    treeout_cli::Score const score =
        scorer.ScoreRecord(reader.Make(data.rows[r], static_cast<int>(r) + 1));
    std::vector<std::string> const& want = expected.rows[r];
    std::ostringstream faults;
    if (nodeColumn >= 0 && want[nodeColumn] != score.node) {
      faults << " node " << score.node << " (want " << want[nodeColumn] << ")";
    }
    std::string const& wantPrediction = want[predictionColumn];
    bool const numeric = categories.empty();
    bool const predictionOk =
        numeric ? (score.prediction &&
                   SameNumber(wantPrediction, std::strtod(score.prediction->c_str(), nullptr)))
                : score.prediction.value_or("") == wantPrediction;
    if (!predictionOk)
      faults << " prediction '" << score.prediction.value_or("(none)") << "' (want '"
             << wantPrediction << "')";
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
    } else if (++reported <= 10) {
      ADD_FAILURE() << c.name << " row " << r + 1 << ":" << faults.str();
    }
  }
  EXPECT_EQ(matched, static_cast<int>(data.rows.size()));
  std::printf("%s: %d/%zu rows match\n", c.name, matched, data.rows.size());
}

INSTANTIATE_TEST_SUITE_P(Published, ModelScores, testing::ValuesIn(kModels),
                         [](testing::TestParamInfo<ModelCase> const& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
