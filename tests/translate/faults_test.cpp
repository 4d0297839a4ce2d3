// A host operation that throws part-way leaves nothing behind: the listener of
// every test program checks the host's live objects after each test.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include "hosttestutil.h"
#include "tests/support/faults.h"
#include "translate/attemptchain.h"
#include "translate/ruleexportmanager.h"

namespace {

using namespace TreeOut_800;
using mdt_800::Variant;
using refhost::Range;
using namespace translatetest;

// Each scenario builds its host objects, then runs `run` with the fault armed.
using Armed = std::function<void(const std::function<void()>& run)>;

void Decode(const Armed& arm) {
  Income income(nullptr);
  const tree_800::SplitRule rule =
      OrdinalRule(income.index, {Range::AtMost(1), Range::Between(1, true, 2, false)});
  Interval interval;
  arm([&] { income.host.Manager().BuildInterval(&interval, rule, 1); });
}

void OrderedStrings(const Armed& arm) {
  Size size;
  const tree_800::SplitRule rule = size.Rule();
  arm([&] { size.host.Manager().SplitRule_Export(rule, 0, TARGET_NODE, Options(DIALECT_SQL)); });
}

void Ordinal(const Armed& arm) {
  Income income(Missing({Variant(99.0)}, {{97, 98}}));
  const tree_800::SplitRule rule = income.Rule(0);
  arm([&] { income.host.Manager().SplitRule_Export(rule, 1, TARGET_NODE, Options(DIALECT_SQL)); });
}

void Nominal(const Armed& arm) {
  Region region;
  const tree_800::SplitRule rule = region.Rule();
  arm([&] {
    region.host.Manager().NominalSplitRule_Export(rule, 2, TARGET_NODE, Options(DIALECT_SQL), true);
  });
}

void Chain(const Armed& arm) {
  ChainHost h;
  const RuleExportManager manager = h.host.Manager();
  arm([&] { std::unique_ptr<AttemptChain>(manager.BuildAttemptChain(h.node)); });
}

// Each row: a scenario and the operations, each with the call that throws.
TEST(HostFault, ReleasesEverything) {
  const struct {
    void (*scenario)(const Armed&);
    const char* name;
    const char* faults;
  } kCases[] = {
      {Decode, "decode",
       "GetMappedValues 1 Decode 1 Decode 2 GetFirstInterval 2 GetFirstValue 1 GetItems 1 "
       "GetItems 2"},
      {OrderedStrings, "ordered strings",
       "EncodedValues 1 GetMappedValues 1 GetIterator 1 Next 1 Decode 1 GetItems 1"},
      {Ordinal, "ordinal",
       "GetMappedValues 1 Decode 1 GetFirstInterval 1 GetFirstValue 1 GetItems 1 "
       "GetValueLabel 1 Format 1"},
      {Nominal, "nominal",
       "GetMappedValues 1 GetMappedValues 3 GetIterator 1 GetIterator 3 Next 1 Next 3 Decode 1 "
       "Decode 3 GetItems 1 GetItems 3 GetValueLabel 1 GetValueLabel 3 Format 1 Format 3"},
      {Chain, "chain", "GetSplitRule 1 GetSurrogate 1 GetSurrogate 2"},
  };
  for (const auto& c : kCases) {
    std::istringstream faults(c.faults);
    std::string operation;
    long nth;
    while (faults >> operation >> nth) {
      c.scenario([&](const std::function<void()>& run) {
        refhost::FaultGuard guard(operation, nth);
        EXPECT_THROW(run(), std::runtime_error) << c.name << ": " << operation << " call " << nth;
        EXPECT_TRUE(refhost::FaultFired()) << c.name << ": " << operation << " call " << nth;
      });
    }
  }
}

}  // namespace
