#include "tests/scoring/probes.h"

#include <gtest/gtest.h>

#include <memory>

#include "scoring/compiledtree.h"
#include "scoring/rulefactory.h"
#include "tests/support/probes.h"

namespace scoringtest {

std::vector<refhost::Record> ProbeRecords(refhost::Model const& model, int count, unsigned seed) {
  std::vector<refhost::Record> records;
  for (auto const& row :
       testsupport::ProbeRows(model, static_cast<std::size_t>(count), seed, false))
    records.push_back(refhost::MakeRecord(row));
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
