// A tree loaded from a PMML TreeModel document: the reference-host model plus
// what PMML says beyond it: how outputs number its nodes, which nodes the
// loader added, its fields' declared values, and what a record that stops
// at an inner node scores.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/variant.h"
#include "refhost/model.h"
#include "refhost/records.h"
#include "refhost/treenode.h"

namespace refhost {

// A document that cannot be mapped: the message, on one line, names the
// element, its line and what is wrong ("SimplePredicate at line 12: operator
// 'between' is not supported"). Line 0 when the fault has no element (a file
// that cannot be read, or is not UTF-8 text).
class PmmlError : public std::runtime_error {
 public:
  PmmlError(std::string const& message, long line) : std::runtime_error(message), fnLine(line) {}
  long Line() const { return fnLine; }

 private:
  long fnLine;
};

// PMML TreeModel@missingValueStrategy and @noTrueChildStrategy.
enum class MissingStrategy {
  kNone,
  kLastPrediction,
  kNullPrediction,
  kDefaultChild,
  kWeightedConfidence,
  kAggregateNodes
};
enum class NoTrueChildStrategy { kReturnNull, kReturnLast };

// One model variable as the document declares it, in metadata order.
struct PmmlField {
  enum Kind { kNumber, kString, kDate };
  std::string name;
  Kind kind = kNumber;
  bool isTarget = false;
  bool categorical = false;                 // its values reach the tree as category codes
  std::vector<std::string> declaredValues;  // every Value element's text, missing ones included
  std::vector<std::string> categories;      // when categorical: the texts of codes 1..n
  // Interval elements: the valid ranges (kept for display; routing ignores them).
  struct Interval {
    std::optional<double> left, right;
    bool leftClosed = true, rightClosed = true;
  };
  std::vector<Interval> intervals;
};

struct LoadOptions {
  // Keep the document's predicates, so that Evaluate answers for any record
  // by PMML's own rules. Always kept under weightedConfidence and
  // aggregateNodes, which need them to score.
  bool keepPredicates = false;
};

namespace pmml {
struct Document;  // the document's nodes and predicates, when kept
}

class PmmlModel {
 public:
  // One host node, in the order the loader made them.
  struct NodeInfo {
    enum Role : std::uint8_t { kDocument, kTest, kCopy };
    std::string documentId;    // the Node's id attribute, empty when it has none
    double recordCount = -1;   // negative when the document gives none
    unsigned int hostId = 0;   // its id in the host tree
    std::uint32_t origin = 0;  // index of the document node it stands for (itself if kDocument)
    Role role = kDocument;     // a document node, an added test, or a copy
  };

  PmmlModel(Model model, std::vector<PmmlField> fields, std::vector<NodeInfo> nodes,
            bool numberedInOrder, MissingStrategy missing, NoTrueChildStrategy noTrueChild,
            double missingValuePenalty, std::string modelName,
            std::unique_ptr<pmml::Document> document);
  PmmlModel(PmmlModel&&) noexcept;
  PmmlModel& operator=(PmmlModel&&) noexcept;
  ~PmmlModel();

  Model const& GetModel() const { return fnModel; }
  Model& MutableModel() { return fnModel; }
  std::vector<PmmlField> const& Fields() const { return fnFields; }
  // The target field (every loaded model has one).
  PmmlField const& Target() const { return fnFields[fnTarget]; }
  MissingStrategy GetMissingStrategy() const { return fnMissing; }
  NoTrueChildStrategy GetNoTrueChildStrategy() const { return fnNoTrueChild; }
  double MissingValuePenalty() const { return fnPenalty; }
  std::string const& ModelName() const { return fnModelName; }
  bool IsClassification() const;

  // --- node numbers ---
  // When every Node has an id and all are distinct non-negative integers,
  // those are the host ids and every output writes them; otherwise every
  // document node is numbered in document order from 0. Nodes the loader
  // adds get host ids beyond the document's and write their document node's
  // number.
  bool NumberedInOrder() const { return fnNumberedInOrder; }
  // The number every output writes for the host node `hostId`.
  unsigned int OutputId(unsigned int hostId) const;
  // The id the document writes on the node (its document node's, for an
  // added node); empty when it writes none.
  std::string const& DocumentId(unsigned int hostId) const;
  // Whether the loader added the node: an inner node that tests one field of
  // a compound predicate, or a copy of a document node that the compound
  // reaches by a second route.
  bool IsAdded(unsigned int hostId) const;
  // The host nodes that an output number stands for, given as text ("7"):
  // the document node, then its copies; empty when no document node has
  // that number (an added test node answers to none).
  std::vector<tree_800::Node const*> NodesFor(std::string const& outputId) const;
  // The node's record count, if the document gives one.
  std::optional<double> RecordCount(unsigned int hostId) const;

  // Earlier names: OutputId as text, and the first of NodesFor.
  std::string PmmlId(unsigned int hostId) const { return std::to_string(OutputId(hostId)); }
  std::optional<unsigned int> HostId(std::string const& outputId) const;

  // --- what a record scores ---
  // What a record that stops at an inner node predicts, for the whole model:
  // when the node's primary predictor is missing (system- or user-missing)
  // and when it is not; true means the node's own prediction, false none.
  struct StopRule {
    bool predictsWhenMissing = true;
    bool predictsOtherwise = true;
  };
  StopRule GetStopRule() const { return fnStopRule; }
  // Whether the primary predictor of `node` is missing in `record` (it
  // encodes that one value).
  bool PrimaryMissing(tree_800::Node const& node, Record const& record) const;
  // Whether a record that stops at `node` gets no prediction: a leaf always
  // predicts; an inner node as the stop rule says.
  bool PredictsNothing(tree_800::Node const& node, Record const& record) const;

  // A record's score by the standard: the document node where it stops, its
  // prediction (none, a target code, or a value) and, for classification,
  // a confidence per target code (the node's probabilities, or a blend of
  // several nodes' under weightedConfidence and aggregateNodes, times the
  // missing value penalty where that applies).
  struct Answer {
    unsigned int node = 0;  // output number
    bool predicts = false;
    int category = 0;  // classification: 1..n
    double value = 0;  // regression
    std::vector<double> probabilities;
  };
  // The answer for `record`, which the host's routing dropped to `stop`.
  Answer Resolve(tree_800::Node const& stop, Record const& record) const;
  // Whether every record that stops at a leaf scores as the leaf says (so a
  // caller may keep one answer per leaf); false when a missing value
  // penalty lowers the confidence of some records that took a default child.
  bool LeafScoresFixed() const {
    return !(fnDocument && fnPenalty != 1 && fnMissing == MissingStrategy::kDefaultChild);
  }
  // One line for the tool to print once when the rule text cannot place
  // every record as scoring does (blends, penalties); empty when it can.
  std::string const& TextLimit() const { return fnTextLimit; }

  // The standard's answer by the document's own predicates, for a record
  // given as one encoded double per variable. REQUIRES: the predicates are
  // kept (KeepsPredicates()).
  Answer Evaluate(double const* values) const;
  bool KeepsPredicates() const { return fnDocument != nullptr; }

  // Set by the loader for the document nodes (by document position) whose
  // splits cannot tell a stop for a missing value from one with no true
  // child (every field they test is missing and no child's predicate
  // holds). Scores there follow the predicates, which the model keeps; the
  // rule text cannot tell them, and TextLimit says so.
  void NoteStopsAlike(std::vector<std::uint32_t> const& documentNodes);

 private:
  NodeInfo const* Info(unsigned int hostId) const;
  Answer NodeAnswer(tree_800::Node const& node, bool predicts) const;
  Answer Blend(std::uint32_t docNode, std::size_t firstChild, double const* values,
               int missingSteps) const;
  std::uint32_t DocIndexOf(unsigned int hostId) const;
  std::optional<std::uint32_t> IndexOf(unsigned int hostId) const;

  Model fnModel;
  std::vector<PmmlField> fnFields;
  std::size_t fnTarget = 0;
  std::vector<NodeInfo> fnNodes;  // in the order the host tree holds them
  // Host id -> fnNodes index: a vector when the ids are dense (numbered in
  // document order, or the document's own ids with few gaps), else a map.
  std::vector<std::uint32_t> fnDense;  // UINT32_MAX where no node has the id
  std::unordered_map<unsigned int, std::uint32_t> fnIndex;
  std::unordered_multimap<std::uint32_t, std::uint32_t> fnCopies;  // origin -> copies
  std::vector<std::uint32_t> fnDocIndex;  // fnNodes index -> document index (when kept)
  std::vector<bool> fnStopsAlike;         // by document index
  bool fnNumberedInOrder = false;
  MissingStrategy fnMissing;
  NoTrueChildStrategy fnNoTrueChild;
  double fnPenalty = 1;
  StopRule fnStopRule;
  std::string fnModelName;
  std::string fnTextLimit;
  std::unique_ptr<pmml::Document> fnDocument;
};

// Loads the document in `text`; throws PmmlError when it cannot be mapped.
PmmlModel LoadPmml(std::string const& text, LoadOptions const& options = LoadOptions());
// Loads the file at `path`, reading it in blocks; a file that cannot be
// read, a directory or a file that is not UTF-8 text is a PmmlError too.
PmmlModel LoadPmmlFile(std::string const& path, LoadOptions const& options = LoadOptions());

}  // namespace refhost
