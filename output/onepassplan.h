// The tree as the one-pass writers read it: every node in prefix order with
// its children, the text of each edge into a child (the adapter's edge text),
// the number, prediction and probability texts written for it, and what a
// record that stops there predicts. Built by an explicit walk, never by
// recursion, so that chains of any depth can be written. Internal.
#pragma once

#include <string>
#include <vector>

#include "host/metadata.h"
#include "host/node.h"
#include "ruletext/ruleexportoptions.h"

namespace TreeOut_800 {

class OnePassSettings;
class RuleExportManager;
class RulesOutputAdapter;

class OnePassPlan {
 public:
  struct Entry {
    tree_800::Node const* node;
    int parent;                      // index of the parent; -1 for the root
    int branch;                      // the child index under the parent
    std::vector<int> children;       // indexes of the children, in child order
    std::vector<std::string> edges;  // the condition of the edge into each child
    int number;                      // the node number written
    bool canStop;                    // inner node without default child
    std::string prediction;          // the prediction literal in the dialect
    std::string probability;         // classification trees: the probability text
    // When the settings tell the two kinds of stop apart: the condition that
    // the node's primary predictor is missing; else empty.
    std::string missing;
  };

  // Reads the whole tree under the options' dialect and number format.
  // `adapter` and `manager` are over the same tree and metadata.
  OnePassPlan(RulesOutputAdapter const& adapter, RuleExportManager const& manager,
              tree_800::TreeAlgorithmBase const& tree, mdt_800::ModelMetadata const& metadata,
              RuleExportOptions const& options, OnePassSettings const& settings);

  std::vector<Entry> const& Entries() const { return fnEntries; }
  RuleExportOptions const& Options() const { return fnOptions; }
  bool IsClassification() const { return fnClassification; }
  // Whether a stop because of a missing primary predictor predicts
  // differently from any other stop.
  bool TellsStopsApart() const { return fnStopMissing != fnStopOther; }
  // Whether a record stopping at an inner node for that reason gets no
  // prediction.
  bool StopsWithoutPrediction(bool missing) const;
  // The texts that stand for "no prediction" and "no probability" in the
  // dialect.
  std::string NoPrediction() const;
  std::string NoProbability() const;

 private:
  std::vector<Entry> fnEntries;
  RuleExportOptions fnOptions;
  bool fnClassification;
  int fnStopMissing;
  int fnStopOther;
  bool fnStringPrediction;
};

// The condition, in the options' dialect, that a record's value of
// `variable` reaches the tree as system-missing: no value, a user-missing
// value, or a value the variable's category encoder does not know. Definite
// (never missing or NULL itself) in every dialect. Internal.
std::string MissingValueCondition(RuleExportManager const& manager,
                                  mdt_800::Variable const& variable,
                                  RuleExportOptions const& options);

}  // namespace TreeOut_800
