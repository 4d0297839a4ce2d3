// A tree loaded from a PMML TreeModel document: the reference-host model plus
// what PMML says beyond it (its node ids, its fields' declared values, and
// what a record that stops at an inner node predicts).
#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/variant.h"
#include "refhost/model.h"
#include "refhost/records.h"
#include "refhost/treenode.h"

namespace refhost {

// A document that cannot be mapped: the message names the element, its line
// and what is wrong ("SimplePredicate at line 12: operator 'between' is not
// supported"). Line 0 when the fault has no element (an unreadable file).
class PmmlError : public std::runtime_error {
 public:
  PmmlError(std::string const& message, int line) : std::runtime_error(message), fnLine(line) {}
  int Line() const { return fnLine; }

 private:
  int fnLine;
};

// PMML TreeModel@missingValueStrategy and @noTrueChildStrategy.
enum class MissingStrategy { kNone, kLastPrediction, kNullPrediction, kDefaultChild };
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

// A node as the document writes it.
struct PmmlNode {
  std::string id;
  std::optional<double> recordCount;
};

class PmmlModel {
 public:
  PmmlModel(Model model, std::vector<PmmlField> fields, std::map<unsigned int, PmmlNode> nodes,
            MissingStrategy missing, NoTrueChildStrategy noTrueChild, std::string modelName);

  Model const& GetModel() const { return fnModel; }
  Model& MutableModel() { return fnModel; }
  std::vector<PmmlField> const& Fields() const { return fnFields; }
  MissingStrategy GetMissingStrategy() const { return fnMissing; }
  NoTrueChildStrategy GetNoTrueChildStrategy() const { return fnNoTrueChild; }
  std::string const& ModelName() const { return fnModelName; }
  bool IsClassification() const;

  // The node's id as the document writes it.
  std::string PmmlId(unsigned int hostId) const;
  // The node's record count, if the document gives one.
  std::optional<double> RecordCount(unsigned int hostId) const;
  // The host id of the node that the document calls `pmmlId`, if any.
  std::optional<unsigned int> HostId(std::string const& pmmlId) const;

  // Whether a record that stops at `node` gets no prediction: a leaf always
  // predicts; an inner node predicts nothing when the strategy that stopped
  // the record (missing value or no true child) says so. `record` as scored.
  bool PredictsNothing(tree_800::Node const& node, Record const& record) const;

 private:
  Model fnModel;
  std::vector<PmmlField> fnFields;
  std::map<unsigned int, PmmlNode> fnNodes;
  std::map<std::string, unsigned int> fnByPmmlId;
  MissingStrategy fnMissing;
  NoTrueChildStrategy fnNoTrueChild;
  std::string fnModelName;
};

// Loads the document in `text`; throws PmmlError when it cannot be mapped.
PmmlModel LoadPmml(std::string const& text);
// Loads the file at `path`; a file that cannot be read is a PmmlError too.
PmmlModel LoadPmmlFile(std::string const& path);

}  // namespace refhost
