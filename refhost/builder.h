// Builds a tree and its metadata in a few lines of test code:
//
//   refhost::ModelBuilder b;
//   int age = b.Scale("age");
//   int region = b.Nominal("region", {"north", "south", "east"});
//   b.ClassTarget("risk", {"low", "high"});
//   b.Node(0).SplitOrdinal(age, {30.0}).Surrogate(refhost::Split::Nominal(
//       region, {{"north"}, {"south", "east"}})).DefaultChild(1).Children({1, 2});
//   b.Node(1).Predict(1, {0.8, 0.2});
//   b.Node(2).Predict(2, {0.3, 0.7});
//   refhost::Model m = b.Build();
//
// Categories get map-encoder codes 1..n in declared order. Build() checks the
// whole description and throws std::invalid_argument saying what is wrong and
// where (e.g. "node 3: child index 2 out of range (split has 2 children)").
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/variant.h"
#include "refhost/model.h"
#include "refhost/split.h"

namespace refhost {

class ModelBuilder;

// A declared variable: sets its details, and converts to its index.
class VarRef {
 public:
  VarRef& Label(std::string label);
  VarRef& ValueLabel(mdt_800::Variant const& value, std::string label);
  VarRef& Date();  // its numbers are date numbers
  // User-missing single values.
  VarRef& Missing(std::vector<mdt_800::Variant> values);
  // A user-missing range [lower, upper]; an infinity leaves that side open.
  VarRef& MissingRange(double lower, double upper);

  int Index() const { return fnIndex; }
  operator int() const { return fnIndex; }

 private:
  friend class ModelBuilder;
  VarRef(ModelBuilder* builder, int index) : fnBuilder(builder), fnIndex(index) {}
  ModelBuilder* fnBuilder;
  int fnIndex;
};

// One node as described; every setter returns the node for chaining.
class NodeSpec {
 public:
  // Child `index` of this node is the node `id` (made a leaf if not described).
  NodeSpec& Child(int index, unsigned int id);
  NodeSpec& Children(std::vector<unsigned int> ids);  // children 0, 1, ... in order
  NodeSpec& SplitBy(Split const& split);              // the primary split
  NodeSpec& SplitOrdinal(int variable, std::vector<double> cuts);
  NodeSpec& SplitNominal(int variable, std::vector<std::vector<mdt_800::Variant>> valuesPerChild);
  NodeSpec& SplitCodes(int variable, std::vector<std::vector<int>> codesPerChild);
  NodeSpec& SplitRanges(int variable, std::vector<Range> ranges);
  NodeSpec& MissingChild(int child);        // of the primary split
  NodeSpec& Surrogate(Split const& split);  // appended, in order of preference
  NodeSpec& DefaultChild(int child);
  // Class statistics: predicted code, probabilities of codes 1..n.
  NodeSpec& Predict(int category, std::vector<double> probabilities);
  // Value statistics of a regression tree.
  NodeSpec& PredictValue(double value);

 private:
  friend class ModelBuilder;
  std::vector<std::pair<int, unsigned int>> fnChildren;  // (index, id) as given
  std::optional<Split> fnSplit;
  int fnMissingChild = -1;  // set through MissingChild
  std::vector<Split> fnSurrogates;
  int fnDefaultChild = -1;
  std::optional<std::pair<int, std::vector<double>>> fnClassStats;
  std::optional<double> fnValue;
};

class ModelBuilder {
 public:
  ModelBuilder();
  ~ModelBuilder();

  // Numeric variables without categories: values reach the tree as they are.
  VarRef Scale(std::string name);
  VarRef Ordinal(std::string name);
  VarRef Nominal(std::string name);  // numeric nominal: values are the codes
  // Categorical: codes 1..n in the order given; string storage when the
  // categories are strings.
  VarRef Nominal(std::string name, std::vector<mdt_800::Variant> categories);
  VarRef OrderedCategories(std::string name, std::vector<mdt_800::Variant> categories);
  // Ordinal numeric in bins: code 1 is [-inf, c1), code i [ci-1, ci), the
  // last [ck, +inf).
  VarRef Binned(std::string name, std::vector<double> cuts);
  // The target, also a variable of the model.
  VarRef ClassTarget(std::string name, std::vector<mdt_800::Variant> categories);
  VarRef ContinuousTarget(std::string name);
  // A variable declared before.
  VarRef Var(int index);

  // The node with this id, described on first use.
  NodeSpec& Node(unsigned int id);

  // The model. The root is the one node that is no node's child. Throws
  // std::invalid_argument for a malformed description.
  Model Build() const;
  // The metadata alone, for a caller that makes the tree itself.
  std::unique_ptr<Metadata> BuildMetadata() const;

 private:
  friend class VarRef;
  struct VariableSpec {
    std::string name;
    int storage = 0;
    int level = 2;
    enum Coding { kNone, kCategories, kBins } coding = kNone;
    std::vector<mdt_800::Variant> categories;
    std::vector<double> bins;
    std::string label;
    std::vector<std::pair<mdt_800::Variant, std::string>> valueLabels;
    bool date = false;
    std::vector<mdt_800::Variant> missingValues;
    std::vector<std::pair<double, double>> missingRanges;
  };

  VarRef Add(VariableSpec desc);
  std::unique_ptr<Tree> BuildTree(Metadata const& metadata) const;

  std::vector<VariableSpec> fnVariables;
  int fnTarget = -1;
  std::map<unsigned int, NodeSpec> fnNodes;
};

}  // namespace refhost
