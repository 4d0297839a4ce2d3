#include "enginecheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <set>

#include "../e2e/program.h"
#include "../support/psppscript.h"
#include "cli/recordreader.h"
#include "cli/sqlnames.h"
#include "host/format.h"
#include "refhost/dates.h"
#include "refhost/numbertext.h"

namespace enginecheck {
namespace {

using testsupport::Cell;
using testsupport::Column;
using testsupport::Engine;
using testsupport::Row;

// The standard output of `treeout ARGS`, which must exit 0.
std::string Tool(std::vector<std::string> const& args) {
  e2e::Run const run = e2e::Treeout(args);
  if (run.status != 0) throw std::runtime_error("treeout " + args.at(0) + ": " + run.err);
  return run.out;
}

Cell CellOf(mdt_800::Variant const& value, bool date) {
  switch (value.GetType()) {
    case mdt_800::Variant::TYPE_STRING:
      return static_cast<std::string const&>(value);
    case mdt_800::Variant::TYPE_DOUBLE:
    case mdt_800::Variant::TYPE_LONG:
      if (date) return atg_800::FormatRulesDate(static_cast<double>(value), true);
      return static_cast<double>(value);
    default:
      return Cell();
  }
}

// Whether the leaves' statements of a script write "prb_001 = NUMBER" with
// six decimals, as "%f" does; else probabilities are written exactly (as the
// statements for inner-node stops always write them).
bool SixDecimals(std::string const& script) {
  std::string const set = "prb_001 = ";
  for (std::size_t at = script.find(set); at != std::string::npos; at = script.find(set, at + 1)) {
    std::size_t const begin = at + set.size();
    std::size_t end = script.find_first_not_of("0123456789.", begin);
    if (end != std::string::npos && end > begin && script[end - 1] == '.') --end;  // VELD's period
    std::size_t const point = script.find('.', begin);
    if (point != std::string::npos && point < end && end - point == 7) return true;
  }
  return false;
}

Model Make(ModelFiles const& files) {
  Options const& options = files.options;
  Model model;
  model.name = files.name;
  model.options = options;
  std::string const modelPath = e2e::TestData(files.model), dataPath = e2e::TestData(files.data);
  std::vector<mdt_800::Variable> variables;
  {
    refhost::PmmlModel const pmml = refhost::LoadPmmlFile(modelPath);
    refhost::Model const& m = pmml.GetModel();
    variables = m.GetMetadata().GetVariables();
    model.textPrediction = pmml.Target().kind != refhost::PmmlField::kNumber;
    model.blends = !pmml.TextLimit().empty();
    model.modelPath = modelPath;
    model.dataPath = dataPath;
    for (tree_800::PrefixNodeIterator it(m.Root()); it.HasMore();) {
      tree_800::Node const* node = it.Next();
      if (node->GetNumChildren() == 0) model.leaves.push_back(pmml.PmmlId(node->GetId()));
    }
    std::vector<std::vector<std::string>> const csv = e2e::ParseCsv(e2e::ReadFile(dataPath));
    if (csv.empty()) throw std::runtime_error("no header in " + dataPath);
    treeout_cli::RecordReader const reader(pmml, csv[0]);
    for (std::size_t r = 1; r < csv.size(); ++r) {
      refhost::Record const record = reader.Make(csv[r], static_cast<int>(r));
      Row row;
      for (std::size_t i = 0; i < variables.size(); ++i)
        row.push_back(CellOf(record[i + 1], variables[i].IsDate()));
      model.rows.push_back(std::move(row));
    }
  }

  std::vector<std::vector<std::string>> const scored =
      e2e::ParseCsv(Tool({"score", modelPath, dataPath}));
  model.classification = !scored.empty() && scored[0].size() == 3;
  for (std::size_t r = 1; r < scored.size(); ++r) {
    std::vector<std::string> const& f = scored[r];
    model.scores.push_back({f.at(0), f.at(1), model.classification ? f.at(2) : ""});
  }
  if (model.scores.size() != model.rows.size()) throw std::runtime_error("a score per record");

  // `treeout rules --dialect sql` with the model's options and `more`.
  auto const sql = [&](std::vector<std::string> const& more) {
    std::vector<std::string> args{"rules", modelPath, "--dialect", "sql", "--table", options.table};
    for (auto const* list : {&options.flags, &more})
      args.insert(args.end(), list->begin(), list->end());
    if (options.addColumns && more.back() == "--update") args.push_back("--add-columns");
    return Tool(args);
  };
  std::string allText;
  for (std::size_t l = 0; l < model.leaves.size() && !files.onePassOnly; ++l) {
    model.selections.push_back(sql({"--nodes", model.leaves[l]}));
    allText += model.selections.back();
  }
  model.onePass = sql({"--one-pass"});
  model.onePassUnstaged = sql({"--one-pass", "--stage-depth", "none"});
  model.onePassUpdate = sql({"--one-pass", "--update"});
  if (!files.onePassOnly) {
    model.update = sql({"--update"});
    model.veldUpdate = Tool({"rules", modelPath, "--dialect", "veld", "--update"});
  }
  model.sixDecimals = SixDecimals(model.update);
  allText += model.update + model.onePass;
  model.veldOnePass = Tool({"rules", modelPath, "--dialect", "veld", "--one-pass"});

  for (mdt_800::Variable const& variable : variables) {
    std::string name = variable.GetName();
    if (allText.find(testsupport::QuotedName(name)) == std::string::npos) {
      for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    bool const text =
        variable.GetStorageType() == mdt_800::Variable::STORAGE_STRING || variable.IsDate();
    model.columns.push_back({name, text ? Column::kText : Column::kDouble});
  }
  return model;
}

// One record's answer as an engine or PSPP gives it; no value for NULL or
// system-missing.
struct Answer {
  std::optional<std::string> node, prediction;
  std::optional<double> probability;
};

std::optional<std::string> Text(Cell const& cell) {
  if (std::holds_alternative<std::monostate>(cell)) return std::nullopt;
  return testsupport::CellText(cell);
}

bool IsLeaf(Model const& model, std::string const& node) {
  return std::find(model.leaves.begin(), model.leaves.end(), node) != model.leaves.end();
}

// Whether `got` is what scoring gives: the probability exactly, or for a
// leaf rounded to six decimals where the text writes it so; a date
// prediction may come back as a date number; no prediction where scoring
// blends.
bool Matches(Answer const& got, Score const& score, Model const& model, bool sixDecimals) {
  if (!got.node || refhost::ParseDouble(*got.node) != refhost::ParseDouble(score.node))
    return false;
  if (model.blends && !got.prediction && !got.probability) return true;
  if (score.prediction.empty())
    return (!got.prediction || got.prediction->empty()) && !got.probability;
  if (!got.prediction) return false;
  if (*got.prediction != score.prediction) {
    std::optional<double> const number = refhost::ParseDouble(*got.prediction);
    std::optional<double> expected = refhost::ParseDouble(score.prediction);
    if (!expected && number && model.textPrediction && !model.classification)
      expected = refhost::DateNumberFromIso(score.prediction);
    if (!number || !expected || *number != *expected) return false;
  }
  if (!model.classification) return true;
  double p = refhost::ParseDouble(score.probability).value_or(-1);
  if (sixDecimals && IsLeaf(model, score.node))
    p = refhost::ParseDouble(refhost::PrintfText("%f", p)).value_or(-1);
  return got.probability && *got.probability == p;
}

// A failure naming the first records whose answers differ from the scores.
void ExpectScores(std::vector<Answer> const& answers, Model const& model, bool sixDecimals,
                  std::string const& what) {
  ASSERT_EQ(answers.size(), model.scores.size()) << what;
  std::vector<std::string> wrong;  // one line per record that differs
  for (std::size_t r = 0; r < answers.size(); ++r) {
    Score const& score = model.scores[r];
    Answer const& a = answers[r];
    if (Matches(a, score, model, sixDecimals)) continue;
    wrong.push_back("record " + std::to_string(r + 1) + ": " + a.node.value_or("NULL") + " " +
                    a.prediction.value_or("NULL") + " " +
                    (a.probability ? refhost::ShortestText(*a.probability) : "NULL") + ", scored " +
                    score.node + " " + score.prediction + " " + score.probability);
  }
  std::string shown;
  for (std::size_t i = 0; i < wrong.size() && i < 10; ++i) shown += "\n  " + wrong[i];
  EXPECT_TRUE(wrong.empty()) << what << ", " << model.name << ": " << wrong.size()
                             << " records differ from the scores:" << shown;
}

std::vector<Answer> Answers(std::vector<Row> const& rows) {
  std::vector<Answer> answers;
  for (Row const& row : rows) {
    Answer a{Text(row.at(0)), Text(row.at(1)), std::nullopt};
    if (row.size() > 2 && std::holds_alternative<double>(row[2]))
      a.probability = std::get<double>(row[2]);
    answers.push_back(a);
  }
  return answers;
}

std::string Outputs(Model const& model) {
  return model.classification ? "nod_001, pre_001, prb_001" : "nod_001, pre_001";
}

// Runs an update script over a fresh table (adding the three columns unless
// the script does) and checks what it stamps.
void CheckUpdate(Engine& engine, Model const& model, std::string const& script, bool sixDecimals,
                 std::string const& what) {
  std::string const table = testsupport::QuotedName(model.options.table);
  engine.Load(model.options.table, model.columns, model.rows);
  try {
    if (!model.options.addColumns) {
      engine.Run("ALTER TABLE " + table + " ADD COLUMN nod_001 INTEGER;" + "ALTER TABLE " + table +
                 " ADD COLUMN pre_001 " + (model.textPrediction ? "TEXT" : "DOUBLE PRECISION") +
                 (model.classification
                      ? ";ALTER TABLE " + table + " ADD COLUMN prb_001 DOUBLE PRECISION"
                      : ""));
    }
    engine.Run(script);
  } catch (testsupport::EngineError const& e) {
    ADD_FAILURE() << what << ", " << model.name << ": " << e.what();
    return;
  }
  ExpectScores(Answers(engine.Read(table, Outputs(model))), model, sixDecimals, what);
}

// The first records (numbered from 1) of the ascending `b` that `a` lacks.
std::string Missing(std::vector<long> const& a, std::vector<long> const& b) {
  std::vector<long> lacking;
  std::set_difference(b.begin(), b.end(), a.begin(), a.end(), std::back_inserter(lacking));
  std::string text;
  for (std::size_t i = 0; i < lacking.size() && i < 10; ++i) {
    text += " " + std::to_string(lacking[i] + 1);
  }
  return text + (lacking.size() > 10 ? " ..." : "");
}

void CheckLeafSelections(Engine& engine, Model const& model) {
  engine.Load(model.options.table, model.columns, model.rows);
  for (std::size_t l = 0; l < model.selections.size(); ++l) {
    std::vector<long> expected;
    for (std::size_t r = 0; r < model.scores.size(); ++r) {
      if (model.scores[r].node == model.leaves[l]) expected.push_back(static_cast<long>(r));
    }
    try {
      std::vector<long> const got = engine.SelectIds(model.selections[l]);
      EXPECT_TRUE(got == expected)
          << engine.Name() << ", " << model.name << ", leaf " << model.leaves[l]
          << ": selects records not scored there:" << Missing(expected, got)
          << "; leaves out records scored there:" << Missing(got, expected) << "\n"
          << model.selections[l];
    } catch (testsupport::EngineError const& e) {
      ADD_FAILURE() << model.name << ", leaf " << model.leaves[l] << ": " << e.what();
    }
  }
}

}  // namespace

Model const& Prepared(ModelFiles const& files) {
  static std::map<std::string, Model> made;
  auto found = made.find(files.name);
  if (found == made.end()) found = made.emplace(files.name, Make(files)).first;
  return found->second;
}

void CheckSql(Engine& engine, Model const& model) {
  CheckLeafSelections(engine, model);
  if (!model.update.empty())
    CheckUpdate(engine, model, model.update, model.sixDecimals, engine.Name() + " update script");
  CheckUpdate(engine, model, model.onePassUpdate, false, engine.Name() + " one-pass update");
  engine.Load(model.options.table, model.columns, model.rows);
  for (auto const& [text, what] :
       {std::pair{&model.onePass, engine.Name() + " one-pass select"},
        std::pair{&model.onePassUnstaged, engine.Name() + " unstaged one-pass select"}}) {
    // SQLite's parser takes no deep tree in one expression.
    if (text == &model.onePassUnstaged && engine.Name() == "SQLite") continue;
    std::vector<std::string> const statements = testsupport::SplitStatements(*text);
    ASSERT_EQ(statements.size(), 1u) << what << ", " << model.name;
    try {
      ExpectScores(Answers(engine.Query("SELECT " + Outputs(model) + " FROM (" + statements[0] +
                                        ") AS q ORDER BY \"_id\"")),
                   model, false, what);
    } catch (testsupport::EngineError const& e) {
      ADD_FAILURE() << what << ", " << model.name << ": " << e.what();
    }
  }
}

void CheckVeldScripts(Model const& model) {
  if (!testsupport::PsppAvailable()) {
    std::printf("pspp is not installed: the VELD scripts of %s are not run\n", model.name.c_str());
    return;
  }
  std::vector<std::string> outputs = {"nod_001", "pre_001"};
  if (model.classification) outputs.push_back("prb_001");
  // The variables as the text names them; the text never names the target,
  // which takes a plain name.
  refhost::PmmlModel pmml = refhost::LoadPmmlFile(model.modelPath);
  refhost::Metadata& metadata = pmml.MutableModel().MutableMetadata();
  treeout_cli::DialectNames const names(metadata, treeout_cli::DialectNames::kVeld);
  metadata.MutableVariable(metadata.GetTargetIndex()).SetName("target_001");
  std::vector<std::vector<std::string>> const csv = e2e::ParseCsv(e2e::ReadFile(model.dataPath));
  treeout_cli::RecordReader const reader(pmml, csv.at(0));
  std::vector<std::vector<mdt_800::Variant>> records;
  for (std::size_t r = 1; r < csv.size(); ++r) {
    refhost::Record const record = reader.Make(csv[r], static_cast<int>(r));
    records.emplace_back();
    for (std::size_t i = 1; i <= metadata.GetVariables().size(); ++i)
      records.back().push_back(record[i]);
  }
  struct Script {
    std::string const* text;
    char const* what;
    bool sixDecimals;
  };
  for (auto const& [script, what, sixDecimals] :
       {Script{&model.veldUpdate, "PSPP update script", SixDecimals(model.veldUpdate)},
        Script{&model.veldOnePass, "PSPP one-pass script", false}}) {
    if (script->empty()) continue;
    std::vector<Answer> answers;
    try {
      for (auto const& row :
           testsupport::RunPspp(metadata.GetVariables(), records, *script, outputs)) {
        auto const field = [&row](std::size_t i) {
          return row.at(i).empty() ? std::nullopt : std::optional<std::string>(row[i]);
        };
        answers.push_back({field(0), field(1),
                           model.classification ? refhost::ParseDouble(row.at(2)) : std::nullopt});
      }
    } catch (std::runtime_error const& e) {
      ADD_FAILURE() << what << ", " << model.name << ": " << e.what();
      continue;
    }
    ExpectScores(answers, model, sixDecimals, what);
  }
}

}  // namespace enginecheck
