// The rule text runs in real engines and selects what the tree routes: for
// every model of the test data and the examples, in SQLite, PostgreSQL and
// DuckDB, each leaf's SELECT (`treeout rules --nodes LEAF`) returns exactly the
// records `treeout score` puts at that leaf, and the whole `--update` script,
// the one-pass SELECT and the one-pass UPDATE give every record the node,
// prediction and probability that `treeout score` gives; in PSPP, so do the
// VELD whole update script and the VELD one-pass script. The hand-written
// documents are scored over probe records (data/make_probes.py); the 11,999
// node tree by the one-pass texts only. Where scoring blends several nodes
// (aggregateNodes, weightedConfidence) the text gives the node without a
// prediction, as the program says.
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
    {"boolean", "pmml/boolean.pmml", "../engines/data/boolean.csv"},
    {"cast", "pmml/cast.pmml", "../engines/data/cast.csv"},
    {"compound", "pmml/compound.pmml", "../engines/data/compound.csv"},
    {"date_target", "pmml/date_target.pmml", "../engines/data/date_target.csv"},
    {"surrogates", "pmml/surrogates.pmml", "../engines/data/surrogates.csv"},
    {"aggregate", "pmml/aggregate.pmml", "../engines/data/aggregate.csv"},
    {"weighted", "pmml/weighted.pmml", "../engines/data/weighted.csv"},
    {"sk_synth_deep_class", "trained/sk_synth_deep_class/model.pmml",
     "trained/sk_synth_deep_class/data.csv", true},
};

class Corpus : public testing::TestWithParam<std::tuple<ModelFiles, EngineKind>> {};

TEST_P(Corpus, LeafSelectionsUpdateScriptAndOnePass) {
  auto const& [files, kind] = GetParam();
  testsupport::Engine* engine = testsupport::EngineForTest(kind);
  if (engine == nullptr) return;
  enginecheck::Model const& model = enginecheck::Prepared(files, {});
  enginecheck::CheckLeafSelections(*engine, model);
  enginecheck::CheckUpdateScript(*engine, model);
  enginecheck::CheckOnePass(*engine, model);
}

class CorpusVeld : public testing::TestWithParam<ModelFiles> {};

TEST_P(CorpusVeld, UpdateScriptAndOnePassInPspp) {
  enginecheck::CheckVeldScripts(enginecheck::Prepared(GetParam(), {}));
}

INSTANTIATE_TEST_SUITE_P(Models, CorpusVeld, testing::ValuesIn(kModels),
                         [](testing::TestParamInfo<ModelFiles> const& info) {
                           return std::string(info.param.name);
                         });

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
