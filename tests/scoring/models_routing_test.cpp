// Every record of every PMML model of the test data and the examples, and
// probe records around each model's cuts, go where the host drops them.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "cli/csvreader.h"
#include "cli/recordreader.h"
#include "refhost/pmml/pmmlmodel.h"
#include "tests/scoring/probes.h"

namespace {

struct ModelCase {
  char const* model;
  char const* data;  // records with a header, as the tool reads them
};

std::string const kData = TREEOUT_TEST_DATA;
std::string const kExamples = TREEOUT_EXAMPLES;

ModelCase const kModels[] = {
    {"/external/AuditTree.xml", "/external/Audit.csv"},
    {"/external/IrisTree.xml", "/external/Iris.csv"},
    {"/external/single_audit_dectree.xml", "/external/single_audit_dectree.expected.csv"},
    {"/external/single_iris_dectree.xml", "/external/single_iris_dectree.expected.csv"},
    {"/trained/rpart_cu_class/model.pmml", "/trained/rpart_cu_class/data.csv"},
    {"/trained/rpart_airq_reg_code99/model.pmml", "/trained/rpart_airq_reg_code99/data.csv"},
    {"/trained/rpart_solder_class/model.pmml", "/trained/rpart_solder_class/data.csv"},
    {"/trained/sk_wine_class/model.pmml", "/trained/sk_wine_class/data.csv"},
};

std::vector<refhost::Record> ReadRecords(refhost::PmmlModel const& model, std::string const& path) {
  std::ifstream in(path);
  EXPECT_TRUE(in) << path;
  treeout_cli::CsvReader csv(in);
  std::vector<std::string> fields;
  std::vector<refhost::Record> records;
  if (!csv.Next(&fields)) return records;
  treeout_cli::RecordReader const reader(model, fields);
  while (csv.Next(&fields)) {
    records.push_back(reader.Make(fields, static_cast<int>(records.size()) + 1));
  }
  return records;
}

void ExpectModel(std::string const& model, std::string const& data) {
  refhost::PmmlModel const pmml = refhost::LoadPmmlFile(model);
  std::vector<refhost::Record> records = ReadRecords(pmml, data);
  EXPECT_FALSE(records.empty()) << data;
  std::vector<refhost::Record> const probes = scoringtest::ProbeRecords(pmml.GetModel(), 2000, 5);
  records.insert(records.end(), probes.begin(), probes.end());
  scoringtest::ExpectHostRouting(pmml.GetModel(), records, model.c_str());
}

TEST(ModelsRouting, TestModelsRouteAsTheHost) {
  for (ModelCase const& c : kModels) ExpectModel(kData + c.model, kData + c.data);
}

TEST(ModelsRouting, ExamplesRouteAsTheHost) {
  for (char const* name : {"airline", "credit"}) {
    ExpectModel(kExamples + "/" + name + ".pmml", kExamples + "/" + name + ".csv");
  }
}

}  // namespace
