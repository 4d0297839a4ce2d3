#include "tests/scoring/probes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include "host/systemmissing.h"
#include "scoring/compiledtree.h"
#include "scoring/rulefactory.h"

namespace scoringtest {
namespace {

using mdt_800::Variant;

// A number, and the doubles just below and above it.
void AddAround(double x, std::vector<Variant>* values) {
  values->emplace_back(x);
  values->emplace_back(std::nextafter(x, -HUGE_VAL));
  values->emplace_back(std::nextafter(x, HUGE_VAL));
}

// Single values and range ends of `sets`.
void AddSets(mdt_800::EncodingSets const& sets, std::vector<Variant>* values) {
  for (auto const& set : sets.GetEncodingSetList()) {
    for (mdt_800::EncodingItem const& item : set->GetItems()) {
      Variant const& v = item.GetValue();
      if (v.GetType() == Variant::TYPE_STRING) {
        values->push_back(v);
      } else if (v.GetType() != Variant::TYPE_NONE) {
        AddAround(static_cast<double>(v), values);
      }
    }
  }
}

// Bounds and codes of one split, in the values of its variable.
void AddSplit(tree_800::SplitRule const& rule, std::vector<std::vector<Variant>>* values) {
  auto& mine = (*values)[static_cast<std::size_t>(rule.GetPredictorIndex())];
  for (int child = 0; child < rule.GetNumChildren(); ++child) {
    std::unique_ptr<tree_800::ValueSet> const set(rule.GetMappedValues(child));
    if (auto const* range = dynamic_cast<tree_800::OValueSet const*>(set.get())) {
      if (range->HasLowerBound()) AddAround(range->GetLowerBound(), &mine);
      if (range->HasUpperBound()) AddAround(range->GetUpperBound(), &mine);
    } else if (auto const* codes = dynamic_cast<tree_800::NValueSet const*>(set.get())) {
      std::unique_ptr<tree_800::ValueIterator> const it(codes->GetIterator());
      while (it->HasMore()) {
        long const code = it->Next();
        mine.emplace_back(code);
        mine.emplace_back(static_cast<double>(code) + 0.5);
      }
    }
  }
}

}  // namespace

std::vector<std::vector<Variant>> ProbeValues(refhost::Model const& model) {
  auto const& variables = model.GetMetadata().GetVariables();
  double const inf = std::numeric_limits<double>::infinity();
  std::vector<std::vector<Variant>> values(variables.size());
  for (auto& mine : values) {
    mine = {Variant(),    Variant(std::nan("")), Variant(systemMissingValue()),
            Variant(inf), Variant(-inf),         Variant("unseen"),
            Variant(0.0), Variant(-0.0),         Variant(1e300)};
  }
  tree_800::PrefixNodeIterator walk(model.Root());
  while (walk.HasMore()) {
    tree_800::Node const* node = walk.Next();
    if (node->GetNumSplitRules() <= 0) continue;
    AddSplit(*std::unique_ptr<tree_800::SplitRule>(node->GetSplitRule(0)), &values);
    for (int s = 0; s < node->GetNumSurrogates(); ++s) {
      AddSplit(*std::unique_ptr<tree_800::SplitRule>(node->GetSurrogate(s)), &values);
    }
  }
  // Encoded variables: the splits' bounds are codes, so add what the codes
  // stand for, and the user-missing values.
  for (std::size_t v = 0; v < variables.size(); ++v) {
    mdt_800::Encoder const* encoder = variables[v].GetEncoding();
    if (encoder == nullptr) continue;
    if (auto const* map = dynamic_cast<mdt_800::MapEncoder const*>(encoder)) {
      for (int code : map->EncodedValues()) AddSets(encoder->Decode(code), &values[v]);
    }
    if (mdt_800::MissingValues const* missing = encoder->GetMissingValues()) {
      AddSets(*missing->GetEncodingSets(), &values[v]);
    }
  }
  return values;
}

std::vector<refhost::Record> ProbeRecords(refhost::Model const& model, int count,
                                          std::mt19937& rng) {
  std::vector<std::vector<Variant>> const values = ProbeValues(model);
  std::vector<refhost::Record> records;
  for (int r = 0; r < count; ++r) {
    std::vector<Variant> record;
    for (auto const& mine : values) record.push_back(mine[rng() % mine.size()]);
    records.push_back(refhost::MakeRecord(record));
  }
  return records;
}

void ExpectHostRouting(refhost::Model const& model, std::vector<refhost::Record> const& records,
                       char const* what) {
  // The comparison means something only when the compiled walk is used.
  TreeOut_800::CompiledTree const compiled(model.Root(), model.GetMetadata().GetVariables().size());
  ASSERT_TRUE(compiled.IsUsable()) << what;
  std::unique_ptr<TreeOut_800::RecordClassifier> const classifier(
      TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetTree(), &model.GetMetadata()));
  std::vector<tree_800::NodeImp const*> batch(records.size() + 1, nullptr);
  classifier->ScoreBatch(records.data(), records.size(), batch.data());
  EXPECT_EQ(batch.back(), nullptr) << what << ": ScoreBatch wrote past its records";
  for (std::size_t i = 0; i < records.size(); ++i) {
    std::vector<double> const encoded = refhost::EncodeRecord(model.GetMetadata(), records[i]);
    tree_800::NodeImp const* host =
        model.Root()->DropObservationThroughTree(encoded.data(), nullptr);
    ASSERT_EQ(classifier->Score(records[i]), host)
        << what << ", record " << i << ": the host stops at node " << host->GetId();
    ASSERT_EQ(batch[i], host) << what << ", record " << i << " in ScoreBatch";
  }
}

}  // namespace scoringtest
