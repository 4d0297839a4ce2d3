#include "onepasscheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <random>

#include "host/systemmissing.h"
#include "refhost/builder.h"
#include "refhost/dates.h"
#include "refhost/numbertext.h"
#include "scoring/rulefactory.h"

namespace onepasstest {

using mdt_800::Variant;
using refhost::Split;

namespace {

constexpr double kDay = 86400.0;
constexpr double kDate = 13727923200.0;  // 2017-10-21

}  // namespace

refhost::Model RandomModel(unsigned seed, int target) {
  std::mt19937 random(seed);
  auto pick = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };
  refhost::ModelBuilder b;
  b.Scale("age").Missing({999.0});
  b.Nominal("region", {1L, 2L, 3L, 4L, 5L}).Missing({9L});
  b.Nominal("color", {"red", "green", "blue", "other"});
  b.OrderedCategories("size", {"S", "M", "L", "XL"});
  b.Scale("income").MissingRange(-1e9, -1.0);
  b.Scale("opened").Date();
  if (target == 0) b.ClassTarget("risk", {"low", "mid", "high"});
  if (target == 1) b.ClassTarget("grade", {1L, 2L, 3L});
  if (target == 2) b.ContinuousTarget("amount");
  if (target == 3) b.ContinuousTarget("due").Date();
  std::vector<std::vector<double>> const cuts = {
      {20, 30, 45.5, 50, 70},
      {},
      {},
      {0, 1, 2},
      {0, 1000, 2500.25, 5000},
      {kDate - 30 * kDay, kDate, kDate + kDay / 2, kDate + 40 * kDay}};
  auto split = [&](int variable, int children) {
    if (cuts[variable].empty()) {
      std::vector<std::vector<int>> perChild(children);
      for (int code = 1; code <= (variable == 1 ? 5 : 4); ++code) {
        perChild[code <= children ? code - 1 : pick(children)].push_back(code);
      }
      return Split::Codes(variable, perChild);
    }
    std::vector<double> pool = cuts[variable];
    std::shuffle(pool.begin(), pool.end(), random);
    pool.resize(children - 1);
    std::sort(pool.begin(), pool.end());
    if (variable != 3) return Split::Cuts(variable, pool);
    std::vector<Variant> sizes;
    for (double rank : pool) sizes.push_back(std::string(1, "SML"[static_cast<int>(rank)]));
    return Split::CategoryCuts(variable, sizes);
  };
  unsigned int nextId = 1;
  std::vector<std::pair<unsigned int, int>> open = {{0, 0}};  // (id, depth)
  while (!open.empty()) {
    auto const [id, depth] = open.back();
    open.pop_back();
    double const p = pick(1000) / 997.0;
    if (target <= 1) b.Node(id).Predict(1 + pick(3), {p / 2, p / 2, 1 - p});
    if (target == 2) b.Node(id).PredictValue((pick(20000) - 10000) / 7.0);
    if (target == 3) b.Node(id).PredictValue(kDate + pick(60) * kDay + pick(2) * 3600.0);
    if (depth >= 5 || (depth > 0 && pick(4) == 0)) continue;
    int const children = 2 + pick(2);
    int const primary = pick(6);
    Split first = split(primary, children);
    bool const missingChild = pick(3) == 0;
    if (missingChild) first.Missing(pick(children));
    refhost::NodeSpec& node = b.Node(id).SplitBy(first);
    // Surrogates beside a missing-value child would never be asked.
    for (int s = missingChild ? 3 : 1 + pick(3); s < 3; ++s) {
      node.Surrogate(split((primary + 1 + pick(5)) % 6, children));
    }
    if (pick(2) == 0) node.DefaultChild(pick(children));
    std::vector<unsigned int> ids;
    for (int c = 0; c < children; ++c) {
      ids.push_back(nextId);
      open.push_back({nextId++, depth + 1});
    }
    node.Children(ids);
  }
  return b.Build();
}

NoPrediction BySettings(refhost::Model const& model, TreeOut_800::OnePassSettings const& settings) {
  int const stopMissing = settings.fnStopMissing;
  int const stopOther = settings.fnStopOther;
  return
      [&model, stopMissing, stopOther](tree_800::Node const& node, refhost::Record const& record) {
        std::unique_ptr<tree_800::SplitRule> const primary(node.GetSplitRule(0));
        bool const missing =
            refhost::EncodeRecord(model.GetMetadata(), record)[primary->GetPredictorIndex()] ==
            systemMissingValue();
        return (missing ? stopMissing : stopOther) == TreeOut_800::STOP_NO_PREDICTION;
      };
}

std::vector<Outcome> HostOutcomes(refhost::Model const& model, Records const& records,
                                  TreeOut_800::OnePassSettings const& settings,
                                  NoPrediction const& none) {
  std::unique_ptr<TreeOut_800::RecordClassifier> const classifier(
      TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetTree(), &model.GetMetadata()));
  mdt_800::Encoder const* classes = model.GetMetadata().GetTarget()->GetEncoding();
  std::vector<Outcome> outcomes;
  for (auto const& values : records) {
    refhost::Record const record = refhost::MakeRecord(values);
    tree_800::Node const* node = classifier->Score(record);
    auto const numbered = settings.fnNodeNumbers.find(node);
    Outcome outcome{numbered != settings.fnNodeNumbers.end() ? numbered->second
                                                             : static_cast<long>(node->GetId()),
                    Variant()};
    if (tree_800::ValueStatistics const* value = node->GetValueStatistics(0)) {
      outcome.prediction = value->GetPredictedValue();
    } else if (tree_800::ClassStatistics const* stats = node->GetClassStatistics(0)) {
      int const code = stats->GetPredictedCategory();
      outcome.prediction =
          classes == nullptr
              ? Variant(static_cast<long>(code))
              : classes->Decode(code).GetEncodingSetList().front()->GetItems().front().GetValue();
      outcome.probability = stats->GetProbability(code);
    }
    if (node->GetNumChildren() > 0 && none(*node, record)) outcome = {outcome.node, Variant()};
    outcomes.push_back(outcome);
  }
  return outcomes;
}

namespace {

testsupport::Cell ToCell(Variant const& value, bool date) {
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

Variant ToVariant(testsupport::Cell const& cell) {
  if (auto const* number = std::get_if<double>(&cell)) return *number;
  if (auto const* text = std::get_if<std::string>(&cell)) return *text;
  return Variant();
}

}  // namespace

std::vector<Outcome> EngineOutcomes(testsupport::Engine& engine, refhost::Model const& model,
                                    Records const& records, std::string text, bool update) {
  auto const& variables = model.GetMetadata().GetVariables();
  std::vector<testsupport::Column> columns;
  for (auto const& variable : variables) {
    bool const isText =
        variable.GetStorageType() == mdt_800::Variable::STORAGE_STRING || variable.IsDate();
    columns.push_back(
        {variable.GetName(), isText ? testsupport::Column::kText : testsupport::Column::kDouble});
  }
  std::vector<testsupport::Row> rows;
  for (auto const& record : records) {
    rows.emplace_back();
    for (std::size_t i = 0; i < variables.size(); ++i) {
      rows.back().push_back(ToCell(record[i], variables[i].IsDate()));
    }
  }
  for (auto at = text.find("<TABLE>"); at != std::string::npos; at = text.find("<TABLE>", at)) {
    text.replace(at, 7, "records");
  }
  engine.Load("records", columns, rows);
  std::vector<testsupport::Row> answers;
  std::size_t first = 0;  // the column of nod_001
  if (update) {
    // A regression value kept as a double; SQLite would round it as text.
    bool const number = model.Root()->GetValueStatistics(0) != nullptr &&
                        !model.GetMetadata().GetTarget()->IsDate();
    engine.Run(std::string("ALTER TABLE records ADD COLUMN nod_001 INTEGER; ") +
               "ALTER TABLE records ADD COLUMN pre_001 " + (number ? "DOUBLE PRECISION" : "TEXT") +
               "; ALTER TABLE records ADD COLUMN prb_001 DOUBLE PRECISION;");
    engine.Run(text);
    answers = engine.Read("records", "nod_001, pre_001, prb_001");
  } else {
    answers = engine.Query(testsupport::SplitStatements(text).at(0));
    std::sort(answers.begin(), answers.end(), [](auto const& a, auto const& b) {
      return std::get<double>(a.at(0)) < std::get<double>(b.at(0));
    });
    first = columns.size() + 1;
  }
  std::vector<Outcome> outcomes;
  for (auto const& row : answers) {
    auto const* node = std::get_if<double>(&row.at(first));
    Outcome outcome{node != nullptr ? static_cast<long>(*node) : -1L, ToVariant(row.at(first + 1))};
    if (row.size() > first + 2 && std::holds_alternative<double>(row[first + 2])) {
      outcome.probability = std::get<double>(row[first + 2]);
    }
    outcomes.push_back(outcome);
  }
  return outcomes;
}

namespace {

bool Close(double a, double b, double tolerance) {
  return a == b || std::fabs(a - b) <= tolerance * std::max(1.0, std::fabs(a));
}

// An engine's prediction against the host's: numbers by value (a date also
// from its ISO text), strings as they are; a blank string is no prediction.
bool SamePrediction(Variant const& want, Variant const& got, double tolerance) {
  bool const gotText = got.GetType() == Variant::TYPE_STRING;
  std::string const& text = got;
  if (want.GetType() == Variant::TYPE_NONE) {
    return got.GetType() == Variant::TYPE_NONE || (gotText && text.empty());
  }
  if (want.GetType() == Variant::TYPE_STRING)
    return gotText && text == static_cast<std::string const&>(want);
  if (!gotText) return got.GetType() != Variant::TYPE_NONE && Close(want, got, tolerance);
  std::optional<double> number = refhost::ParseDouble(text);
  if (!number && !text.empty() && text[0] != '-') {
    try {
      number = refhost::DateNumberFromIso(text);
    } catch (std::invalid_argument const&) {
    }
  }
  return number && Close(want, *number, tolerance);
}

std::string Describe(Variant const& value) {
  switch (value.GetType()) {
    case Variant::TYPE_STRING:
      return "'" + static_cast<std::string const&>(value) + "'";
    case Variant::TYPE_NONE:
      return "(none)";
    default:
      return refhost::ShortestText(value);
  }
}

}  // namespace

void ExpectSameOutcomes(std::vector<Outcome> const& expected, std::vector<Outcome> const& actual,
                        Records const& records, std::string const& what, double tolerance) {
  ASSERT_EQ(expected.size(), actual.size()) << what;
  for (std::size_t r = 0; r < expected.size(); ++r) {
    Outcome const& want = expected[r];
    Outcome const& got = actual[r];
    bool const sameProbability = std::isnan(want.probability)
                                     ? std::isnan(got.probability)
                                     : Close(want.probability, got.probability, tolerance);
    if (want.node == got.node && SamePrediction(want.prediction, got.prediction, tolerance) &&
        sameProbability) {
      continue;
    }
    std::string values;
    for (Variant const& value : records[r]) values += Describe(value) + " ";
    ADD_FAILURE() << what << "\nrecord " << r << ": " << values << "\nhost: node " << want.node
                  << ", " << Describe(want.prediction) << ", " << want.probability
                  << "\ntext: node " << got.node << ", " << Describe(got.prediction) << ", "
                  << got.probability;
    return;
  }
}

void RenameForVeld(refhost::Model& model) {
  auto const& variables = model.GetMetadata().GetVariables();
  for (std::size_t i = 0; i < variables.size(); ++i) {
    std::string name = variables[i].GetName();
    for (char& c : name) {
      if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_' && c != '.') c = '_';
    }
    if (!std::isalpha(static_cast<unsigned char>(name[0]))) name = "v" + name;
    model.MutableMetadata().MutableVariable(static_cast<int>(i)).SetName(name);
  }
}

}  // namespace onepasstest
