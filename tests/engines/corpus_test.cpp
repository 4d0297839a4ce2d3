// The rule text runs in real engines and selects what the tree routes: for
// every model of the test data and the examples, in SQLite, PostgreSQL and
// DuckDB, each leaf's SELECT (`treeout rules --nodes LEAF`) returns exactly the
// records `treeout score` puts at that leaf, and the whole `--update` script
// stamps every record with the node, prediction and probability that
// `treeout score` gives.
#include <gtest/gtest.h>

#include "enginecheck.h"

namespace {

using enginecheck::ModelFiles;
using testsupport::EngineKind;

ModelFiles const kModels[] = {
    {"AuditTree", "external/AuditTree.xml", "external/Audit.csv"},
    {"single_audit_dectree", "external/single_audit_dectree.xml", "external/Audit.csv"},
    {"IrisTree", "external/IrisTree.xml", "external/Iris.csv"},
    {"single_iris_dectree", "external/single_iris_dectree.xml", "external/Iris.csv"},
    {"rpart_cu_class", "trained/rpart_cu_class/model.pmml", "trained/rpart_cu_class/data.csv"},
    {"rpart_airq_reg_code99", "trained/rpart_airq_reg_code99/model.pmml",
     "trained/rpart_airq_reg_code99/data.csv"},
    {"rpart_solder_class", "trained/rpart_solder_class/model.pmml",
     "trained/rpart_solder_class/data.csv"},
    {"sk_wine_class", "trained/sk_wine_class/model.pmml", "trained/sk_wine_class/data.csv"},
    {"credit_example", "../../examples/credit.pmml", "../../examples/credit.csv"},
    {"airline_example", "../../examples/airline.pmml", "../../examples/airline.csv"},
};

class Corpus : public testing::TestWithParam<std::tuple<ModelFiles, EngineKind>> {};

TEST_P(Corpus, LeafSelectionsAndUpdateScript) {
  auto const& [files, kind] = GetParam();
  testsupport::Engine* engine = testsupport::EngineForTest(kind);
  if (engine == nullptr) return;
  enginecheck::Model const& model = enginecheck::Prepared(files, {});
  enginecheck::CheckLeafSelections(*engine, model);
  enginecheck::CheckUpdateScript(*engine, model);
}

INSTANTIATE_TEST_SUITE_P(Models, Corpus,
                         testing::Combine(testing::ValuesIn(kModels),
                                          testing::Values(EngineKind::kSqlite,
                                                          EngineKind::kPostgres,
                                                          EngineKind::kDuckdb)),
                         [](testing::TestParamInfo<Corpus::ParamType> const& info) {
                           return std::string(std::get<0>(info.param).name) + "_" +
                                  testsupport::EngineKindName(std::get<1>(info.param));
                         });

}  // namespace
