// The engine check: a model's records loaded as a table, the tool's text for
// the model run by an engine, and the result compared with `treeout score`.
// The tool is driven as a program (its path is TREEOUT_PROGRAM).
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "engines.h"

namespace enginecheck {

// How the tool is asked for text, beyond `--dialect sql --table TABLE`.
struct Options {
  std::string table = "records";   // created with exactly this name
  std::vector<std::string> flags;  // more `treeout rules` options, e.g. --quote-names always
  bool addColumns = false;         // the update script adds its own columns (--add-columns)
};

// A model and its records, as paths under the test data folder, and the
// options its text is asked for with.
struct ModelFiles {
  std::string name, model, data;
  bool onePassOnly = false;  // a tree too large for statements per leaf
  Options options = {};
};
inline void PrintTo(ModelFiles const& files, std::ostream* out) { *out << files.name; }

struct Score {
  std::string node, prediction, probability;  // as `treeout score` writes them
};

// What the checks need of one model, all of it engine-independent.
struct Model {
  std::string name;
  Options options;
  std::vector<testsupport::Column> columns;  // one per variable of the model
  std::vector<testsupport::Row> rows;        // one per record of the data
  std::vector<Score> scores;                 // one per record
  bool classification = false;
  bool textPrediction = false;  // a category or a date
  // Scoring blends several nodes for some records, which the text leaves at
  // the node where they stop without a prediction (the program says so).
  bool blends = false;
  bool sixDecimals = false;             // the update script writes probabilities as "%f" does
  std::vector<std::string> leaves;      // node ids, in prefix order
  std::vector<std::string> selections;  // per leaf: `treeout rules --nodes LEAF`
  std::string update;                   // `treeout rules --update`, every leaf
  std::string onePass, onePassUpdate;   // `treeout rules --one-pass`, select and update
  std::string onePassUnstaged;          // the select with --stage-depth none
  // VELD: the model's and the records' files, the whole update script and
  // the one-pass script.
  std::string modelPath, dataPath;
  std::string veldUpdate, veldOnePass;
};

// The model of `files` with the tool's text for its options, made once per
// test program. A column is created under the variable's name, or under its
// lower-case form when the tool writes the name unquoted (as PostgreSQL folds
// an unquoted name, so that a table created by hand is found).
Model const& Prepared(ModelFiles const& files);

// Every leaf's SELECT returns exactly the records scored at that leaf; the
// whole update script, the one-pass SELECT and the one-pass UPDATE each give
// every record the node, prediction and probability that scoring gives; so
// does the unstaged SELECT, in the engines other than SQLite. (Statements per
// leaf are left out for a one-pass-only model.)
void CheckSql(testsupport::Engine& engine, Model const& model);

// So do the VELD whole update script and the VELD one-pass script, run by
// PSPP (skipped when PSPP is not installed).
void CheckVeldScripts(Model const& model);

}  // namespace enginecheck
