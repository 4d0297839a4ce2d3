// The classifier and the rule text must agree: for every leaf, the SELECT
// that `treeout rules --dialect sql --nodes LEAF` writes, run by SQLite over
// the records, returns exactly the records that scoring puts in that leaf.
// A record that stops at an inner node is in no leaf's result.
#include <cctype>
#include <fstream>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "cli/csvreader.h"
#include "cli/recordreader.h"
#include "cli/ruleswriter.h"
#include "cli/scorer.h"
#include "sqliterecords.h"

namespace {

struct SqlCase {
  char const* name;
  char const* model;
  char const* data;
};

// The test log names a case by its name, not by its bytes.
void PrintTo(SqlCase const& c, std::ostream* out) { *out << c.name; }

SqlCase const kCases[] = {
    {"AuditTree_Audit", "external/AuditTree.xml", "external/Audit.csv"},
    {"single_audit_dectree_Audit", "external/single_audit_dectree.xml", "external/Audit.csv"},
    {"IrisTree", "external/IrisTree.xml", "external/Iris.csv"},
    {"single_iris_dectree", "external/single_iris_dectree.xml", "external/Iris.csv"},
    {"rpart_cu_class", "trained/rpart_cu_class/model.pmml", "trained/rpart_cu_class/data.csv"},
    {"rpart_airq_reg_code99", "trained/rpart_airq_reg_code99/model.pmml",
     "trained/rpart_airq_reg_code99/data.csv"},
    {"rpart_solder_class", "trained/rpart_solder_class/model.pmml",
     "trained/rpart_solder_class/data.csv"},
    {"sk_wine_class", "trained/sk_wine_class/model.pmml", "trained/sk_wine_class/data.csv"},
    {"credit_sample", "../../examples/credit.pmml", "../../examples/credit.csv"},
    {"airline_sample", "../../examples/airline.pmml", "../../examples/airline.csv"},
};

std::string Data(char const* path) { return std::string(TREEOUT_TEST_DATA) + "/" + path; }

// The condition of a "SELECT * FROM <TABLE>\nWHERE ...;" statement.
std::string WhereOf(std::string const& statement) {
  std::size_t const at = statement.find("\nWHERE ");
  if (at == std::string::npos) return "1";  // a selection of every record
  std::size_t const end = statement.rfind(';');
  return statement.substr(at + 7, end - at - 7);
}

class SqlAgreesWithScoring : public testing::TestWithParam<SqlCase> {};

TEST_P(SqlAgreesWithScoring, EveryLeaf) {
  SqlCase const& c = GetParam();
  refhost::PmmlModel model = refhost::LoadPmmlFile(Data(c.model));
  refhost::Model const& m = model.GetModel();
  testsupport::SqliteRecords table(m.GetMetadata().GetVariables());
  std::ifstream in(Data(c.data));
  ASSERT_TRUE(in);
  treeout_cli::CsvReader csv(in);
  std::vector<std::string> fields;
  ASSERT_TRUE(csv.Next(&fields));
  treeout_cli::RecordReader const reader(model, fields);
  treeout_cli::Scorer const scorer(model);
  std::map<std::string, std::vector<int>> byNode;  // PMML id -> record ids
  for (int row = 1; csv.Next(&fields); ++row) {
    refhost::Record const record = reader.Make(fields, row);
    std::vector<mdt_800::Variant> values;
    for (std::size_t i = 1; i < record.GetSize(); ++i) values.push_back(record[i]);
    int const id = table.Insert(values);
    byNode[scorer.ScoreRecord(record).node].push_back(id);
  }
  std::vector<tree_800::Node const*> stack{m.Root()};
  int leaves = 0;
  while (!stack.empty()) {
    tree_800::Node const* node = stack.back();
    stack.pop_back();
    for (int i = 0; i < node->GetNumChildren(); ++i) stack.push_back(node->GetChild(i));
    if (node->GetNumChildren() > 0) continue;
    ++leaves;
    std::string const id = model.PmmlId(node->GetId());
    treeout_cli::RulesRequest request;
    request.options.fnNumberFormat = 1;
    request.nodes = {id};
    std::ostringstream text;
    treeout_cli::WriteRules(model, request, text);
    std::string const statement = text.str();
    EXPECT_EQ(table.Select(WhereOf(statement)), byNode[id]) << c.name << " leaf " << id << "\n"
                                                            << statement;
  }
  EXPECT_GT(leaves, 1);
}

INSTANTIATE_TEST_SUITE_P(Models, SqlAgreesWithScoring, testing::ValuesIn(kCases),
                         [](testing::TestParamInfo<SqlCase> const& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
