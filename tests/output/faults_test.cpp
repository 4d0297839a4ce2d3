// Exports in which a host operation throws part-way: the exception reaches
// the caller, every host object is released, and the adapter stays usable.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "output/rulesoutputadapter.h"
#include "outputmodels.h"
#include "refhost/faults.h"
#include "refhost/objectcounts.h"

namespace {

using outputtest::Options;
using TreeOut_800::RuleExportOptions;
using TreeOut_800::RulesNodeSelection;
using TreeOut_800::RulesOutputAdapter;

struct Export {
  RuleExportOptions options;
  RulesNodeSelection selection;
};

std::vector<Export> Exports(refhost::Model const& model) {
  auto select = [&](std::vector<unsigned int> ids) {
    RulesNodeSelection selection;
    for (unsigned int id : ids) selection.AddNode(model.Find(id), static_cast<int>(id));
    return selection;
  };
  RuleExportOptions labels = Options(1, 0, 0, 1);
  labels.fnUseValueLabels = 1;
  labels.fnUseVariableLabels = 1;
  return {
      {Options(0, 0), select({4, 12, 7, 14, 9, 10})},
      {labels, select({4, 6, 11, 13, 15})},
      {Options(1, 1), select({14})},
      {Options(0, 1, 0, 1), select({11})},
      {Options(2, 0, 2), select({7})},
  };
}

TEST(ExportRules, ReleasesEverythingWhenTheHostThrows) {
  refhost::Model const model = outputtest::RichModel();
  std::vector<Export> const exports = Exports(model);
  std::vector<std::string> expected;
  {
    RulesOutputAdapter const reference(&model.GetTree(), &model.GetMetadata());
    for (Export const& e : exports)
      expected.push_back(reference.ExportRules(e.options, e.selection).Str());
  }
  char const* const kOperations[] = {
      "GetSplitRule",     "GetSurrogate",  "GetMappedValues", "GetIterator",     "Next",
      "Decode",           "GetItems",      "Format",          "FormatRulesDate", "GetValueLabel",
      "GetFirstInterval", "GetFirstValue", "EncodedValues",   "Encode"};
  int faults = 0;
  for (char const* operation : kOperations) {
    for (long nth = 1; nth < 2000; ++nth) {
      long const before = refhost::LiveObjects();
      bool fired = false;
      {
        RulesOutputAdapter const adapter(&model.GetTree(), &model.GetMetadata());
        refhost::FaultGuard const guard(operation, nth);
        std::size_t done = 0;
        try {
          for (; done < exports.size(); ++done) {
            adapter.ExportRules(exports[done].options, exports[done].selection);
          }
        } catch (std::runtime_error const&) {
        }
        fired = refhost::FaultFired();
        refhost::ClearFaults();
        ASSERT_EQ(done < exports.size(), fired) << operation << " call " << nth;
        // The same adapter now writes what a fresh one does.
        for (std::size_t i = 0; i < exports.size(); ++i) {
          EXPECT_EQ(adapter.ExportRules(exports[i].options, exports[i].selection).Str(),
                    expected[i])
              << operation << " call " << nth << ", export " << i;
        }
      }
      EXPECT_EQ(refhost::LiveObjects(), before)
          << operation << " call " << nth << ": " << refhost::LiveObjectsReport();
      if (!fired) break;
      ++faults;
    }
  }
  // The exports reach the host often enough for the faults to mean something.
  EXPECT_GT(faults, 100);
}

}  // namespace
