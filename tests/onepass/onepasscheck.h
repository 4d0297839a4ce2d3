// What the one-pass checks share: random trees, the host's answer for each record (the
// oracle) and the comparison of an engine's answers with it.
#pragma once

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "engine.h"
#include "host/variant.h"
#include "output/onepasswriter.h"
#include "probes.h"
#include "refhost/model.h"
#include "refhost/pmml/pmmlmodel.h"
#include "refhost/records.h"

namespace onepasstest {

using Records = std::vector<std::vector<mdt_800::Variant>>;

// A random tree over numeric, nominal, ordered-category and date predictors
// with user-missing values: nominal and ordered splits, surrogates,
// missing-value children, default children, and inner nodes where records
// stop. Targets: 0 string classes, 1 numeric classes, 2 numbers, 3 dates.
refhost::Model RandomModel(unsigned seed, int target);

// One record's answer: node number, prediction (without content when there
// is none) and probability (NaN when there is none).
struct Outcome {
  long node;
  mdt_800::Variant prediction;
  double probability = std::nan("");
};

// Whether a record that stops at an inner node gets no prediction.
using NoPrediction = std::function<bool(tree_800::Node const&, refhost::Record const&)>;
// The rule of `settings`: by whether the node's primary predictor reaches the
// tree as system-missing.
NoPrediction BySettings(refhost::Model const& model, TreeOut_800::OnePassSettings const& settings);

// The host's answers: the node where the classifier puts each record, its
// number by `settings`, and its prediction unless `none` says otherwise.
std::vector<Outcome> HostOutcomes(refhost::Model const& model, Records const& records,
                                  TreeOut_800::OnePassSettings const& settings,
                                  NoPrediction const& none);

// Loads `records` as the table "records" of `engine`, runs `text` there (with
// "records" in place of "<TABLE>"; an UPDATE script when `update`, after the
// three columns are added) and reads every record's answer. The models'
// variable names are lower case, as PostgreSQL folds bare names.
std::vector<Outcome> EngineOutcomes(testsupport::Engine& engine, refhost::Model const& model,
                                    Records const& records, std::string text, bool update);

// Adds a failure naming the first record whose answers differ; a date
// prediction may come back as ISO text. Numbers may differ by `tolerance`
// relative to their size (texts written in a shorter format).
void ExpectSameOutcomes(std::vector<Outcome> const& expected, std::vector<Outcome> const& actual,
                        Records const& records, std::string const& what, double tolerance = 0);

// Renames the model's variables as the tool does to make them valid VELD
// names.
void RenameForVeld(refhost::Model& model);

}  // namespace onepasstest
