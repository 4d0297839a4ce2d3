// Names and values that SQL must quote or escape, run in SQLite, PostgreSQL
// and DuckDB (data/README.md describes the model): keywords as field names,
// blanks, a slash, a trailing point, quotes in names, category values and
// predictions, mixed case, a 300-character category value, cuts that need 17
// digits or lie at the edge of the doubles, with records on each, in a table
// named "order lines". Every leaf's SELECT and the whole update script
// (creating its own columns) agree with `treeout score`, with the default
// quoting and with --quote-names always; so do the one-pass SELECT and
// UPDATE. (Not VELD: its text writes the low value as -1.797e307, so the
// records this model holds just above a cut at the low value fall below it.)
#include <gtest/gtest.h>

#include "enginecheck.h"

namespace {

using testsupport::EngineKind;

enginecheck::ModelFiles const kHostile{"hostile_names", "../e2e/data/hostile_names.pmml",
                                       "../e2e/data/hostile_names.csv"};

class HostileNames : public testing::TestWithParam<std::tuple<char const*, EngineKind>> {};

TEST_P(HostileNames, RunAsWrittenAndSelectWhatScoringGives) {
  auto const& [quoting, kind] = GetParam();
  testsupport::Engine* engine = testsupport::EngineForTest(kind);
  if (engine == nullptr) return;
  enginecheck::Options options;
  options.table = "order lines";
  options.flags = {"--quote-names", quoting};
  options.addColumns = true;
  enginecheck::Model const& model = enginecheck::Prepared(kHostile, options);
  enginecheck::CheckLeafSelections(*engine, model);
  enginecheck::CheckUpdateScript(*engine, model);
  enginecheck::CheckOnePass(*engine, model);
}

INSTANTIATE_TEST_SUITE_P(Quoting, HostileNames,
                         testing::Combine(testing::Values("needed", "always"),
                                          testing::Values(EngineKind::kSqlite,
                                                          EngineKind::kPostgres,
                                                          EngineKind::kDuckdb)),
                         [](testing::TestParamInfo<HostileNames::ParamType> const& info) {
                           return std::string(std::get<0>(info.param)) + "_" +
                                  testsupport::EngineKindName(std::get<1>(info.param));
                         });

}  // namespace
