// Object counts see every host object the library may obtain; armed faults
// make the named operation throw on its Nth call and only then.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>

#include "host/format.h"
#include "refhost/builder.h"
#include "tests/support/faults.h"
#include "tests/support/objectcounts.h"

namespace {

using refhost::LiveObjects;
using refhost::ObjectKind;

refhost::Model CountsModel() {
  refhost::ModelBuilder b;
  int region = b.Nominal("region", {"north", "south", "east"}).ValueLabel("north", "North");
  int band = b.Binned("band", {0.0, 10.0});
  b.Node(0)
      .SplitNominal(region, {{"north"}, {"south", "east"}})
      .Surrogate(refhost::Split::Cuts(band, {1.0}))
      .Children({1, 2});
  return b.Build();
}

TEST(ObjectCounts, EveryObtainedObjectIsCountedUntilDeleted) {
  refhost::Model const m = CountsModel();
  long const before = LiveObjects();
  {
    std::unique_ptr<tree_800::SplitRule> primary(m.Root()->GetSplitRule(0));
    std::unique_ptr<tree_800::SplitRule> surrogate(m.Root()->GetSurrogate(0));
    EXPECT_EQ(LiveObjects(ObjectKind::kSplitRule), 2);
    std::unique_ptr<tree_800::ValueSet> codes(primary->GetMappedValues(1));
    std::unique_ptr<tree_800::ValueSet> range(surrogate->GetMappedValues(0));
    EXPECT_EQ(LiveObjects(ObjectKind::kValueSet), 2);
    std::unique_ptr<tree_800::ValueIterator> it(
        dynamic_cast<tree_800::NValueSet&>(*codes).GetIterator());
    EXPECT_EQ(LiveObjects(ObjectKind::kValueIterator), 1);
    mdt_800::Encoder const* encoder = m.GetMetadata().GetVariables()[1].GetEncoding();
    long const setsBefore = LiveObjects(ObjectKind::kEncodingSets);
    mdt_800::EncodingSets decoded = encoder->Decode(2);
    mdt_800::EncodingSets copy = decoded;
    EXPECT_EQ(LiveObjects(ObjectKind::kEncodingSets), setsBefore + 2);
    std::unique_ptr<mdt_800::Interval> interval(copy.GetFirstInterval());
    std::unique_ptr<mdt_800::Variant> value(
        m.GetMetadata().GetVariables()[0].GetEncoding()->Decode(1).GetFirstValue());
    std::vector<mdt_800::EncodingItem> const items = interval->GetItems();
    mdt_800::Value const ordered(items[0].GetValue());
    EXPECT_GT(LiveObjects(), before);
    EXPECT_EQ(LiveObjects(ObjectKind::kValue), 1);
  }
  EXPECT_EQ(LiveObjects(), before) << refhost::LiveObjectsReport();
}

// Each checked operation, called once per invocation.
struct Operation {
  char const* name;
  std::function<void(refhost::Model const&)> call;
};

std::vector<Operation> Operations() {
  using M = refhost::Model const&;
  auto regionEncoder = [](M m) { return m.GetMetadata().GetVariables()[0].GetEncoding(); };
  return {
      {"GetSplitRule", [](M m) { delete m.Root()->GetSplitRule(0); }},
      {"GetSurrogate", [](M m) { delete m.Root()->GetSurrogate(0); }},
      {"GetMappedValues",
       [](M m) {
         std::unique_ptr<tree_800::SplitRule> rule(m.Root()->GetSplitRule(0));
         delete rule->GetMappedValues(0);
       }},
      {"GetIterator",
       [](M m) {
         std::unique_ptr<tree_800::SplitRule> rule(m.Root()->GetSplitRule(0));
         std::unique_ptr<tree_800::ValueSet> set(rule->GetMappedValues(0));
         delete static_cast<tree_800::NValueSet&>(*set).GetIterator();
       }},
      {"Next",
       [](M m) {
         std::unique_ptr<tree_800::SplitRule> rule(m.Root()->GetSplitRule(0));
         std::unique_ptr<tree_800::ValueSet> set(rule->GetMappedValues(0));
         std::unique_ptr<tree_800::ValueIterator> it(
             static_cast<tree_800::NValueSet&>(*set).GetIterator());
         it->Next();
       }},
      {"Decode", [=](M m) { regionEncoder(m)->Decode(1); }},
      {"Encode", [=](M m) { regionEncoder(m)->Encode("south"); }},
      {"EncodedValues",
       [=](M m) { dynamic_cast<mdt_800::MapEncoder const*>(regionEncoder(m))->EncodedValues(); }},
      {"GetItems", [=](M m) { regionEncoder(m)->Decode(1).GetEncodingSetList()[0]->GetItems(); }},
      {"GetFirstInterval",
       [](M m) {
         delete m.GetMetadata().GetVariables()[1].GetEncoding()->Decode(1).GetFirstInterval();
       }},
      {"GetFirstValue", [=](M m) { delete regionEncoder(m)->Decode(1).GetFirstValue(); }},
      {"GetValueLabel",
       [](M m) { m.GetMetadata().GetVariables()[0].GetValueLabel(mdt_800::Variant("north")); }},
      {"Format", [](M) { atg_800::Format(1.5, true, nullptr); }},
      {"FormatRulesDate", [](M) { atg_800::FormatRulesDate(0.0, true); }},
  };
}

TEST(Faults, FireOnTheNthCallOfTheNamedOperationOnly) {
  refhost::Model const m = CountsModel();
  std::vector<Operation> const ops = Operations();
  for (Operation const& op : ops) {
    SCOPED_TRACE(op.name);
    refhost::FaultGuard const guard(op.name, 3);
    op.call(m);
    op.call(m);
    EXPECT_FALSE(refhost::FaultFired());
    try {
      op.call(m);
      ADD_FAILURE() << "no fault on call 3";
    } catch (std::runtime_error const& e) {
      EXPECT_EQ(e.what(), std::string("refhost fault: ") + op.name + " call 3");
    }
    EXPECT_TRUE(refhost::FaultFired());
    EXPECT_NO_THROW(op.call(m));  // fires once
  }
  // A guard disarms when it goes.
  { refhost::FaultGuard const guard("GetSplitRule", 1); }
  EXPECT_NO_THROW(ops[0].call(m));
}

}  // namespace
