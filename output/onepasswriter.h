// One-pass scoring text: one statement (one script in VELD) that gives every
// record of a table its node number, prediction and, for classification trees,
// the probability of the prediction, in a single scan, as the host's record
// scoring does, records that stop at an inner node included.
//
// The text mirrors the tree: at each inner node one branch per child, in child
// order, whose condition is the adapter's edge text for that child, then a
// last branch for the records no child takes (they stop at that node). Its
// size grows with the number of nodes. The writer also makes the statements
// that stamp the records stopping at inner nodes, for scripts made of one
// update statement per leaf.
//
// A writer is bound to one tree and its metadata, which must outlive it and
// stay unchanged while it lives; calls on one writer must not overlap. Nothing
// is caught: host and allocation exceptions reach the caller.
#pragma once

#include <map>
#include <memory>

#include "host/metadata.h"
#include "host/node.h"
#include "output/stringwrapper.h"
#include "ruletext/exportmacro.h"
#include "ruletext/ruleexportoptions.h"

namespace TreeOut_800 {

class RulesOutputAdapter;
class RuleExportManager;

// What a record that stops at an inner node predicts.
enum OnePassStop {
  STOP_PREDICT = 0,       // the node's own prediction (and probability)
  STOP_NO_PREDICTION = 1  // none: NULL in SQL, system-missing or blank in VELD
};

// The settings of a one-pass export beside the export options.
class TREEOUT_EXPORT OnePassSettings {
 public:
  OnePassSettings();
  ~OnePassSettings();

  // A OnePassStop for a record that stops because the primary predictor of
  // the node is missing (no value, a user-missing value, or a category its
  // encoder does not know), and for every other record that stops.
  int fnStopMissing;
  int fnStopOther;
  // At most this many tree levels in one nested expression of the SQL text;
  // 0 (the default) chooses them so that SQLite's parser takes the text.
  // Deeper trees are scored in stages.
  int fnMaxNesting;
  // The number written for a node; a node not in the map is written by its
  // identifier.
  std::map<tree_800::Node const*, int> fnNodeNumbers;
};

class TREEOUT_EXPORT OnePassWriter {
 public:
  // Stores both pointers; exporting needs a tree with a root and metadata
  // with a target.
  OnePassWriter(tree_800::TreeAlgorithmBase const* tree, mdt_800::ModelMetadata const* metadata);
  virtual ~OnePassWriter();
  OnePassWriter(OnePassWriter const&) = delete;
  OnePassWriter& operator=(OnePassWriter const&) = delete;

  // The one-pass text in the options' dialect. SQL: with fnUpdateMode 0 a
  // query returning every column of <TABLE> and nod_001, pre_001 and (for
  // classification) prb_001; otherwise one UPDATE of <TABLE> that sets them.
  // VELD: a script of nested DO IF blocks that computes the three variables
  // for every case, then EXECUTE. Generic: nested IF blocks assigning Node,
  // Prediction and Probability. "" for an unknown dialect.
  StringWrapper ExportOnePass(RuleExportOptions const& options,
                              OnePassSettings const& settings) const;

  // For each inner node without default child, in prefix order, the update
  // statements that stamp the records stopping there with the node's number
  // and the prediction the settings give them: SQL UPDATE statements, VELD
  // DO IF blocks or generic IF blocks, each ended by a line feed. "" when no
  // record can stop at an inner node or the dialect is unknown.
  StringWrapper ExportStopStatements(RuleExportOptions const& options,
                                     OnePassSettings const& settings) const;

 private:
  tree_800::TreeAlgorithmBase const* fnTree;
  mdt_800::ModelMetadata const* fnMetadata;
  std::unique_ptr<RulesOutputAdapter> fnAdapter;
  std::unique_ptr<RuleExportManager> fnManager;
};

}  // namespace TreeOut_800
