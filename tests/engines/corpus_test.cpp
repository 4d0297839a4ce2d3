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

ModelFiles Trained(std::string const& name, bool onePassOnly = false) {
  return {name, "trained/" + name + "/model.pmml", "trained/" + name + "/data.csv", onePassOnly};
}
ModelFiles Probed(std::string const& name) {
  return {name, "pmml/" + name + ".pmml", "../engines/data/" + name + ".csv"};
}

// Names and values that SQL must quote or escape (data/README.md describes
// the model), in a table named "order lines", with the default quoting and
// with --quote-names always; the update script creates its own columns.
ModelFiles Hostile(std::string const& quoting) {
  return {"hostile_names_" + quoting, "../engines/data/hostile_names.pmml",
          "../engines/data/hostile_names.csv", false,
          enginecheck::Options{"order lines", {"--quote-names", quoting}, true}};
}

std::vector<ModelFiles> const kModels{
    {"AuditTree", "external/AuditTree.xml", "external/Audit.csv"},
    {"single_audit_dectree", "external/single_audit_dectree.xml", "external/Audit.csv"},
    {"IrisTree", "external/IrisTree.xml", "external/Iris.csv"},
    {"single_iris_dectree", "external/single_iris_dectree.xml", "external/Iris.csv"},
    {"credit_example", "../../examples/credit.pmml", "../../examples/credit.csv"},
    {"airline_example", "../../examples/airline.pmml", "../../examples/airline.csv"},
    Trained("rpart_cu_class"),
    Trained("rpart_airq_reg_code99"),
    Trained("rpart_solder_class"),
    Trained("sk_wine_class"),
    Trained("sk_synth_deep_class", true),
    Probed("boolean"),
    Probed("cast"),
    Probed("compound"),
    Probed("date_target"),
    Probed("surrogates"),
    Probed("aggregate"),
    Probed("weighted"),
    Hostile("needed"),
    Hostile("always"),
};

class Corpus : public testing::TestWithParam<std::tuple<ModelFiles, EngineKind>> {};

TEST_P(Corpus, LeafSelectionsUpdateScriptAndOnePass) {
  testsupport::Engine* engine = testsupport::EngineForTest(std::get<1>(GetParam()));
  if (engine == nullptr) return;
  enginecheck::CheckSql(*engine, enginecheck::Prepared(std::get<0>(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Models, Corpus,
                         testing::Combine(testing::ValuesIn(kModels),
                                          testing::Values(EngineKind::kSqlite,
                                                          EngineKind::kPostgres,
                                                          EngineKind::kDuckdb)),
                         [](testing::TestParamInfo<Corpus::ParamType> const& info) {
                           return std::get<0>(info.param).name + "_" +
                                  testsupport::EngineKindName(std::get<1>(info.param));
                         });

// VELD over the models as the tool writes them by default. (Not the hostile
// names: VELD writes the low value as -1.797e307, so the records that model
// holds just above a cut at the low value fall below it.)
class CorpusVeld : public testing::TestWithParam<ModelFiles> {};

TEST_P(CorpusVeld, UpdateScriptAndOnePassInPspp) {
  enginecheck::CheckVeldScripts(enginecheck::Prepared(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Models, CorpusVeld, testing::ValuesIn(kModels.begin(), kModels.end() - 2),
                         [](testing::TestParamInfo<ModelFiles> const& info) {
                           return info.param.name;
                         });

}  // namespace
