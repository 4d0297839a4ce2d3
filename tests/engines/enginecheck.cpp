#include "enginecheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>

#include "../support/psppscript.h"
#include "cli/csvreader.h"
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

std::string Data(char const* path) { return std::string(TREEOUT_TEST_DATA) + "/" + path; }

std::string ShellQuoted(std::string const& text) {
  std::string quoted = "'";
  for (char const c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

// The standard output of `treeout ARGS`, which must exit 0.
std::string Tool(std::vector<std::string> const& args) {
  std::string command = ShellQuoted(TREEOUT_PROGRAM);
  for (std::string const& arg : args) command += " " + ShellQuoted(arg);
  struct Close {
    void operator()(FILE* f) const { pclose(f); }
  };
  FILE* raw = popen(command.c_str(), "r");
  if (raw == nullptr) throw std::runtime_error("cannot run " + command);
  std::unique_ptr<FILE, Close> pipe(raw);
  std::string out;
  char chunk[65536];
  for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, raw)) > 0;) out.append(chunk, n);
  int const status = pclose(pipe.release());
  if (status != 0)
    throw std::runtime_error("exit status " + std::to_string(status) + ": " + command);
  return out;
}

std::vector<std::vector<std::string>> CsvRows(std::istream& in) {
  treeout_cli::CsvReader csv(in);
  std::vector<std::vector<std::string>> rows;
  for (std::vector<std::string> fields; csv.Next(&fields);) rows.push_back(fields);
  return rows;
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

Model Make(ModelFiles const& files, Options const& options) {
  Model model;
  model.name = files.name;
  model.options = options;
  std::string const modelPath = Data(files.model), dataPath = Data(files.data);
  std::vector<mdt_800::Variable> variables;
  {
    refhost::PmmlModel const pmml = refhost::LoadPmmlFile(modelPath);
    refhost::Model const& m = pmml.GetModel();
    variables = m.GetMetadata().GetVariables();
    model.textPrediction = pmml.Target().kind != refhost::PmmlField::kNumber;
    model.blends = !pmml.TextLimit().empty();
    model.modelPath = modelPath;
    std::vector<tree_800::Node const*> stack{m.Root()};
    while (!stack.empty()) {
      tree_800::Node const* node = stack.back();
      stack.pop_back();
      if (node->GetNumChildren() == 0) model.leaves.push_back(pmml.PmmlId(node->GetId()));
      for (int i = node->GetNumChildren() - 1; i >= 0; --i) stack.push_back(node->GetChild(i));
    }
    std::ifstream in(dataPath, std::ios::binary);
    std::vector<std::vector<std::string>> const csv = CsvRows(in);
    if (csv.empty()) throw std::runtime_error("no header in " + dataPath);
    treeout_cli::RecordReader const reader(pmml, csv[0]);
    for (std::size_t r = 1; r < csv.size(); ++r) {
      refhost::Record const record = reader.Make(csv[r], static_cast<int>(r));
      Row row;
      Row values;
      for (std::size_t i = 0; i < variables.size(); ++i) {
        row.push_back(CellOf(record[i + 1], variables[i].IsDate()));
        values.push_back(CellOf(record[i + 1], false));
      }
      model.rows.push_back(std::move(row));
      model.records.push_back(std::move(values));
    }
  }

  std::istringstream scores(Tool({"score", modelPath, dataPath}));
  std::vector<std::vector<std::string>> const scored = CsvRows(scores);
  model.classification = !scored.empty() && scored[0].size() == 3;
  for (std::size_t r = 1; r < scored.size(); ++r) {
    std::vector<std::string> const& f = scored[r];
    model.scores.push_back({f.at(0), f.at(1), model.classification ? f.at(2) : ""});
  }
  if (model.scores.size() != model.rows.size()) throw std::runtime_error("a score per record");

  std::vector<std::string> rules{"rules", modelPath, "--dialect", "sql", "--table", options.table};
  rules.insert(rules.end(), options.flags.begin(), options.flags.end());
  std::string allText;
  for (std::string const& leaf : model.leaves) {
    if (files.onePassOnly) break;
    std::vector<std::string> args = rules;
    args.insert(args.end(), {"--nodes", leaf});
    model.selections.push_back(Tool(args));
    allText += model.selections.back();
  }
  std::vector<std::string> onePass = rules;
  onePass.push_back("--one-pass");
  model.onePass = Tool(onePass);
  std::vector<std::string> unstaged = onePass;
  unstaged.insert(unstaged.end(), {"--stage-depth", "none"});
  model.onePassUnstaged = Tool(unstaged);
  rules.push_back("--update");
  onePass.push_back("--update");
  if (options.addColumns) {
    rules.push_back("--add-columns");
    onePass.push_back("--add-columns");
  }
  if (!files.onePassOnly) {
    model.update = Tool(rules);
    model.veldUpdate = Tool({"rules", modelPath, "--dialect", "veld", "--update"});
  }
  model.onePassUpdate = Tool(onePass);
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

}  // namespace

Model const& Prepared(ModelFiles const& files, Options const& options) {
  static std::map<std::string, Model> made;
  std::string key =
      std::string(files.name) + "|" + options.table + "|" + (options.addColumns ? "add" : "");
  for (std::string const& flag : options.flags) key += "|" + flag;
  auto found = made.find(key);
  if (found == made.end()) found = made.emplace(key, Make(files, options)).first;
  return found->second;
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

void CheckUpdateScript(Engine& engine, Model const& model) {
  if (model.update.empty()) return;
  CheckUpdate(engine, model, model.update, model.sixDecimals, engine.Name() + " update script");
}

void CheckOnePass(Engine& engine, Model const& model) {
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
  std::vector<std::vector<mdt_800::Variant>> records;
  for (Row const& row : model.records) {
    std::vector<mdt_800::Variant> values;
    for (Cell const& cell : row) {
      if (auto const* number = std::get_if<double>(&cell))
        values.emplace_back(*number);
      else if (auto const* text = std::get_if<std::string>(&cell))
        values.emplace_back(*text);
      else
        values.emplace_back();
    }
    records.push_back(std::move(values));
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
