// The one-pass SELECT and UPDATE run as written in PostgreSQL and DuckDB (the
// shared engine harness) and give every record the host's answer: in one
// expression, in inline stages and in materialised stages.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

#include "../output/outputmodels.h"
#include "engines.h"
#include "onepasscheck.h"
#include "refhost/builder.h"
#include "refhost/dates.h"

namespace {

using mdt_800::Variant;
using onepasstest::Outcome;
using onepasstest::Records;
using testsupport::Cell;
using testsupport::EngineKind;

// A chain of `levels` inner nodes, each sending x below its level to a leaf.
refhost::Model Chain(unsigned levels) {
  refhost::ModelBuilder b;
  int const x = b.Scale("x");
  b.ContinuousTarget("t");
  for (unsigned level = 0; level < levels; ++level) {
    b.Node(2 * level).SplitOrdinal(x, {level + 0.5}).Children({2 * level + 1, 2 * level + 2});
    b.Node(2 * level).PredictValue(level / 3.0);
    b.Node(2 * level + 1).PredictValue(-1.0 * level);
  }
  b.Node(2 * levels).PredictValue(1e300);
  return b.Build();
}

Cell ToCell(Variant const& value, bool date) {
  switch (value.GetType()) {
    case Variant::TYPE_STRING:
      return static_cast<std::string const&>(value);
    case Variant::TYPE_NONE:
      return std::monostate();
    default:
      if (date) return refhost::IsoFromDateNumber(value);
      return static_cast<double>(value);
  }
}

Variant ToVariant(Cell const& cell) {
  if (auto const* number = std::get_if<double>(&cell)) return *number;
  if (auto const* text = std::get_if<std::string>(&cell)) return *text;
  return Variant();
}

void Check(testsupport::Engine& engine, refhost::Model const& model, Records const& records,
           TreeOut_800::OnePassSettings const& settings, std::string const& what) {
  auto const& variables = model.GetMetadata().GetVariables();
  std::vector<testsupport::Column> columns;
  for (auto const& variable : variables) {
    // Names the text writes bare are folded to lower case, as PostgreSQL does.
    std::string name = variable.GetName();
    if (name[0] == '"') {
      name = name.substr(1, name.size() - 2);
    } else {
      std::transform(name.begin(), name.end(), name.begin(),
                     [](unsigned char c) { return std::tolower(c); });
    }
    bool const text =
        variable.GetStorageType() == mdt_800::Variable::STORAGE_STRING || variable.IsDate();
    columns.push_back({name, text ? testsupport::Column::kText : testsupport::Column::kDouble});
  }
  std::vector<testsupport::Row> rows;
  for (auto const& record : records) {
    rows.emplace_back();
    for (std::size_t i = 0; i < variables.size(); ++i)
      rows.back().push_back(ToCell(record[i], variables[i].IsDate()));
  }
  auto const expected =
      onepasstest::HostOutcomes(model, records, settings, onepasstest::BySettings(model, settings));
  TreeOut_800::OnePassWriter const writer(&model.GetTree(), &model.GetMetadata());
  for (int update : {0, 1}) {
    std::string text = writer.ExportOnePass(outputtest::Options(0, update, 0, 1), settings).Str();
    text.replace(text.find("<TABLE>"), 7, "records");
    engine.Load("records", columns, rows);
    std::vector<testsupport::Row> answers;
    std::size_t first = 0;  // the column of nod_001
    if (update) {
      engine.Run(
          "ALTER TABLE records ADD COLUMN nod_001 INTEGER; ALTER TABLE records ADD COLUMN "
          "pre_001 TEXT; ALTER TABLE records ADD COLUMN prb_001 DOUBLE PRECISION;");
      engine.Run(text);
      answers = engine.Read("records", "nod_001, pre_001, prb_001");
    } else {
      answers = engine.Query(text);
      std::sort(answers.begin(), answers.end(), [](auto const& a, auto const& b) {
        return std::get<double>(a[0]) < std::get<double>(b[0]);
      });
      first = columns.size() + 1;
    }
    std::vector<Outcome> actual;
    for (auto const& row : answers) {
      Outcome outcome{static_cast<long>(std::get<double>(row.at(first))),
                      ToVariant(row.at(first + 1))};
      if (row.size() > first + 2 && std::holds_alternative<double>(row[first + 2])) {
        outcome.probability = std::get<double>(row[first + 2]);
      }
      actual.push_back(outcome);
    }
    onepasstest::ExpectSameOutcomes(expected, actual, records,
                                    engine.Name() + " " + what + ":\n" + text);
  }
}

class OnePassEngines : public testing::TestWithParam<EngineKind> {};

TEST_P(OnePassEngines, SelectAndUpdateGiveTheHostsAnswer) {
  testsupport::Engine* engine = testsupport::EngineForTest(GetParam());
  if (engine == nullptr) return;
  for (int m = 0; m < 6; ++m) {
    refhost::Model model = m == 0   ? outputtest::RichModel()
                           : m == 5 ? Chain(40)
                                    : onepasstest::RandomModel(40 + m, m - 1);
    onepasstest::RenameVariables(model, TreeOut_800::DIALECT_SQL);
    TreeOut_800::OnePassSettings settings;
    settings.fnStopMissing = m % 2;
    settings.fnStopOther = m / 2 % 2;
    // One expression, inline stages, and 20 materialised stages for the chain.
    settings.fnMaxNesting = m < 2 ? 0 : 2;
    Check(*engine, model, onepasstest::ProbeRecords(model, 300, static_cast<unsigned>(m)), settings,
          "model " + std::to_string(m));
    if (HasFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Engines, OnePassEngines,
                         testing::Values(EngineKind::kPostgres, EngineKind::kDuckdb),
                         [](testing::TestParamInfo<EngineKind> const& info) {
                           return std::string(testsupport::EngineKindName(info.param));
                         });

}  // namespace
