#include "enginecheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>

#include "cli/csvreader.h"
#include "cli/recordreader.h"
#include "host/format.h"
#include "refhost/numbertext.h"

namespace enginecheck {
namespace {

using testsupport::Cell;
using testsupport::Column;
using testsupport::Engine;
using testsupport::Row;

// Records that stop at an inner node: the whole update script stamps them
// too (false: they must keep NULL, for a script of leaf statements only).
constexpr bool kInnerStopsStamped = true;

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

// Whether every "prb_001 = NUMBER" of a script has six decimals, as "%f"
// writes them; else probabilities are written exactly.
bool SixDecimals(std::string const& script) {
  std::string const set = "prb_001 = ";
  bool any = false;
  for (std::size_t at = script.find(set); at != std::string::npos; at = script.find(set, at + 1)) {
    std::size_t const begin = at + set.size();
    std::size_t const end = script.find_first_not_of("0123456789.", begin);
    std::size_t const point = script.find('.', begin);
    if (point == std::string::npos || point > end || end - point != 7) return false;
    any = true;
  }
  return any;
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
      for (std::size_t i = 0; i < variables.size(); ++i) {
        row.push_back(CellOf(record[i + 1], variables[i].IsDate()));
      }
      model.rows.push_back(std::move(row));
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
    std::vector<std::string> args = rules;
    args.insert(args.end(), {"--nodes", leaf});
    model.selections.push_back(Tool(args));
    allText += model.selections.back();
  }
  rules.push_back("--update");
  if (options.addColumns) rules.push_back("--add-columns");
  model.update = Tool(rules);
  model.sixDecimals = SixDecimals(model.update);
  allText += model.update;

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

bool IsLeaf(Model const& model, std::string const& node) {
  for (std::string const& leaf : model.leaves) {
    if (leaf == node) return true;
  }
  return false;
}

// Node, prediction and (for classification) probability as scoring gives
// them: the probability exactly, or rounded to six decimals where the script
// writes it so.
bool Stamped(Row const& row, Score const& score, Model const& model) {
  if (testsupport::CellText(row[0]) != score.node) return false;
  if (model.classification) {
    double p = refhost::ParseDouble(score.probability).value_or(-1);
    if (model.sixDecimals) p = refhost::ParseDouble(refhost::PrintfText("%f", p)).value_or(-1);
    auto const* written = std::get_if<double>(&row[2]);
    return testsupport::CellText(row[1]) == score.prediction && written && *written == p;
  }
  if (score.prediction.empty()) return std::holds_alternative<std::monostate>(row[1]);
  auto const* written = std::get_if<double>(&row[1]);
  return written && refhost::ParseDouble(score.prediction) == *written;
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
  for (std::size_t l = 0; l < model.leaves.size(); ++l) {
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
  std::string const table = testsupport::QuotedName(model.options.table);
  engine.Load(model.options.table, model.columns, model.rows);
  try {
    if (!model.options.addColumns) {
      engine.Run("ALTER TABLE " + table + " ADD COLUMN nod_001 INTEGER;" + "ALTER TABLE " + table +
                 " ADD COLUMN pre_001 " + (model.classification ? "TEXT" : "DOUBLE PRECISION") +
                 (model.classification
                      ? ";ALTER TABLE " + table + " ADD COLUMN prb_001 DOUBLE PRECISION"
                      : ""));
    }
    engine.Run(model.update);
  } catch (testsupport::EngineError const& e) {
    ADD_FAILURE() << model.name << ": " << e.what();
    return;
  }
  std::vector<Row> const stamped =
      engine.Read(table, model.classification ? "nod_001, pre_001, prb_001" : "nod_001, pre_001");
  ASSERT_EQ(stamped.size(), model.scores.size());
  std::vector<std::string> wrong;  // one line per record that differs
  int innerStops = 0;
  for (std::size_t r = 0; r < stamped.size(); ++r) {
    Score const& score = model.scores[r];
    std::string got;
    for (Cell const& cell : stamped[r]) got += " " + testsupport::CellText(cell);
    bool right;
    if (!kInnerStopsStamped && !IsLeaf(model, score.node)) {
      ++innerStops;
      right = got == std::string(stamped[r].size() == 3 ? " NULL NULL NULL" : " NULL NULL");
    } else {
      right = Stamped(stamped[r], score, model);
    }
    if (!right) {
      wrong.push_back("record " + std::to_string(r + 1) + ":" + got + ", scored " + score.node +
                      " " + score.prediction + " " + score.probability);
    }
  }
  std::string shown;
  for (std::size_t i = 0; i < wrong.size() && i < 10; ++i) shown += "\n  " + wrong[i];
  EXPECT_TRUE(wrong.empty()) << engine.Name() << ", " << model.name << ": " << wrong.size()
                             << " records stamped wrong (an inner-node stop must stay NULL):"
                             << shown;
  if (innerStops > 0) {
    std::printf("%s, %s: %d records stop at an inner node and are not stamped yet\n",
                engine.Name().c_str(), model.name.c_str(), innerStops);
  }
}

}  // namespace enginecheck
