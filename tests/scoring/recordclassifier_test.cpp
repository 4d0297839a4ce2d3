// Record classifier: how values without content reach the encoder, and
// Classify's answer and order.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "host/systemmissing.h"
#include "refhost/builder.h"
#include "refhost/metadata.h"
#include "refhost/records.h"
#include "scoring/recordclassifierimp.h"
#include "scoring/rulefactory.h"
#include "tests/support/faults.h"

namespace {

using mdt_800::Variant;
using TreeOut_800::RecordClassifier;
using TreeOut_800::RecordClassifierImp;
using TreeOut_800::RuleFactory;
using TreeOut_800::RulesNodeSelection;

// age (scale), colour (nominal x/y/z, codes 1..3), income (numeric, 99 and
// 97..98 user-missing). Root 0 splits age at 30 into 1 and 2; node 1 splits
// colour {x} -> 3, {y, z} -> 4, with income as surrogate; node 2 is a leaf.
refhost::Model SampleModel() {
  refhost::ModelBuilder b;
  int const age = b.Scale("age");
  int const colour = b.Nominal("colour", {"x", "y", "z"});
  int const income = b.Scale("income").Missing({99.0}).MissingRange(97, 98);
  b.ClassTarget("risk", {"low", "high"});
  b.Node(0).SplitOrdinal(age, {30.0}).Children({1, 2});
  b.Node(1)
      .SplitNominal(colour, {{"x"}, {"y", "z"}})
      .Surrogate(refhost::Split::Cuts(income, {1000.0}))
      .Children({3, 4});
  for (unsigned int leaf : {2u, 3u, 4u}) b.Node(leaf).Predict(1, {0.6, 0.4});
  return b.Build();
}

// A classifier from the factory, restricted to `selection` when given.
std::unique_ptr<RecordClassifier> Make(refhost::Model const& m,
                                       RulesNodeSelection* selection = nullptr) {
  if (selection == nullptr) {
    return std::unique_ptr<RecordClassifier>(
        RuleFactory::CreateRecordClassifier(&m.GetTree(), &m.GetMetadata()));
  }
  return std::unique_ptr<RecordClassifier>(
      RuleFactory::CreateRecordClassifier(&m.GetTree(), &m.GetMetadata(), *selection));
}

// Encodes everything as 42 and counts its calls.
class SpyEncoder : public mdt_800::Encoder {
 public:
  double Encode(Variant const&) const override {
    ++fnCalls;
    return 42;
  }
  mdt_800::EncodingSets Decode(double) const override { return {}; }
  mdt_800::MissingValues const* GetMissingValues() const override { return nullptr; }
  mutable int fnCalls = 0;
};

TEST(RecordClassifierTest, ValueWithoutContentGoesToTheEncoder) {
  SpyEncoder spy;
  EXPECT_EQ(TreeOut_800::GetEncodedValue(Variant(), &spy), 42);
  EXPECT_EQ(spy.fnCalls, 1);
  EXPECT_EQ(TreeOut_800::GetEncodedValue(Variant(), nullptr), systemMissingValue());
  EXPECT_EQ(TreeOut_800::GetEncodedValue(Variant(7L), nullptr), 7.0);
}

TEST(RecordClassifierTest, NoVariablesReadsNoRecordValue) {
  refhost::Metadata metadata;
  refhost::Model m = SampleModel();
  auto const* root = static_cast<tree_800::NodeImp const*>(m.GetTree().GetRoot());
  RecordClassifierImp classifier(root, &metadata);
  MCTree_800::TRecord<Variant> empty;  // not even value 0
  EXPECT_NE(classifier.GetDoubleRecord(empty), nullptr);
}

TEST(RecordClassifierTest, ClassifyTellsWhetherASelectedNodeIsReached) {
  refhost::Model m = SampleModel();
  RulesNodeSelection selection;
  selection.AddNode(m.Find(4), 40);
  selection.AddNode(m.Find(2), 20);
  std::unique_ptr<RecordClassifier> classifier = Make(m, &selection);
  ASSERT_EQ(selection.EnumerateNodes().size(), 2u) << "the caller's selection is synchronised";
  EXPECT_EQ(selection.EnumerateNodes()[0].first, m.Find(4));

  // Nodes 4 and 2 are selected; node 3 is not, and no rule places a record
  // that stops at the root.
  for (auto const& [values, expected] : {std::pair{std::vector<Variant>{25.0, "y", 0.0, "low"}, 0},
                                         {{35.0, "x", 0.0, "low"}, 0},
                                         {{25.0, "x", 0.0, "low"}, 1},
                                         {{Variant(), "y", 0.0, "low"}, 1}}) {
    EXPECT_EQ(classifier->Classify(refhost::MakeRecord(values)), expected);
  }

  std::unique_ptr<RecordClassifier> unrestricted = Make(m);
  EXPECT_EQ(unrestricted->Classify(refhost::MakeRecord({25.0, "y", 0.0, "low"})), 1);
  // The record is encoded all the same.
  refhost::Record const record = refhost::MakeRecord({25.0, "y", 0.0, "low"});
  refhost::FaultGuard const guard("Encode", 1);
  EXPECT_THROW(unrestricted->Classify(record), std::runtime_error);
}

TEST(RecordClassifierTest, ClassifyStopsAtTheFirstSelectedNodeReached) {
  refhost::Model m = SampleModel();
  RulesNodeSelection selection;
  selection.AddNode(m.Find(2), 20);
  selection.AddNode(m.Find(4), 40);
  std::unique_ptr<RecordClassifier> classifier = Make(m, &selection);
  // Later changes to the selection do not reach a classifier made from it.
  selection.AddNode(m.Find(1), 10);
  selection.Synchronize(&m.GetTree());
  EXPECT_EQ(classifier->Classify(refhost::MakeRecord({25.0, "x", 0.0, "low"})), 1);
  // A second drop would throw: the record reaches node 2, the first entry.
  refhost::FaultGuard guard("DropObservationThroughTree", 2);
  EXPECT_EQ(classifier->Classify(refhost::MakeRecord({35.0, "x", 0.0, "low"})), 0);
  EXPECT_FALSE(refhost::FaultFired());

  // The same record with node 2 second in line needs the second drop.
  RulesNodeSelection reversed;
  reversed.AddNode(m.Find(4), 40);
  reversed.AddNode(m.Find(2), 20);
  std::unique_ptr<RecordClassifier> other = Make(m, &reversed);
  refhost::FaultGuard again("DropObservationThroughTree", 2);
  EXPECT_THROW(other->Classify(refhost::MakeRecord({35.0, "x", 0.0, "low"})), std::runtime_error);
}

// A classifier of another make that only has Score: the default ScoreBatch
// fills the buffer from Score, record by record, and nothing past it.
class CountingClassifier : public RecordClassifier {
 public:
  int Classify(MCTree_800::TRecord<Variant> const&) const override { return 1; }
  tree_800::NodeImp const* Score(MCTree_800::TRecord<Variant> const& record) const override {
    return static_cast<long>(record[0]) == 1 ? fnFirst : fnSecond;
  }
  tree_800::NodeImp const* fnFirst;
  tree_800::NodeImp const* fnSecond;
};

TEST(RecordClassifierTest, ScoreBatchScoresEachRecordInOrder) {
  refhost::Model m = SampleModel();
  CountingClassifier classifier;
  classifier.fnFirst = m.Find(3);
  classifier.fnSecond = m.Find(4);
  std::vector<MCTree_800::TRecord<Variant>> const records = {
      MCTree_800::TRecord<Variant>({Variant(2L)}), MCTree_800::TRecord<Variant>({Variant(1L)}),
      MCTree_800::TRecord<Variant>({Variant(2L)})};
  std::vector<tree_800::NodeImp const*> nodes(4, nullptr);
  classifier.ScoreBatch(records.data(), records.size(), nodes.data());
  EXPECT_EQ(nodes,
            (std::vector<tree_800::NodeImp const*>{m.Find(4), m.Find(3), m.Find(4), nullptr}));
}

}  // namespace
