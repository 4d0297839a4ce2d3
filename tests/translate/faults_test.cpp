// A host operation that throws part-way leaves nothing behind: the listener of
// every test program checks the host's live objects after each test.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>

#include "hosttestutil.h"
#include "refhost/faults.h"
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

struct FaultCase {
  void (*scenario)(const Armed&);
  const char* name;
  const char* operation;
  long nth;
};

TEST(HostFault, ReleasesEverything) {
  const FaultCase kCases[] = {
      {Decode, "decode", "GetMappedValues", 1},
      {Decode, "decode", "Decode", 1},
      {Decode, "decode", "Decode", 2},
      {Decode, "decode", "GetFirstInterval", 2},
      {Decode, "decode", "GetFirstValue", 1},
      {Decode, "decode", "GetItems", 1},
      {Decode, "decode", "GetItems", 2},
      {OrderedStrings, "ordered", "EncodedValues", 1},
      {OrderedStrings, "ordered", "GetMappedValues", 1},
      {OrderedStrings, "ordered", "GetIterator", 1},
      {OrderedStrings, "ordered", "Next", 1},
      {OrderedStrings, "ordered", "Decode", 1},
      {OrderedStrings, "ordered", "GetItems", 1},
      {Ordinal, "ordinal", "GetMappedValues", 1},
      {Ordinal, "ordinal", "Decode", 1},
      {Ordinal, "ordinal", "GetFirstInterval", 1},
      {Ordinal, "ordinal", "GetFirstValue", 1},
      {Ordinal, "ordinal", "GetItems", 1},
      {Ordinal, "ordinal", "GetValueLabel", 1},
      {Ordinal, "ordinal", "Format", 1},
      {Nominal, "nominal", "GetMappedValues", 1},
      {Nominal, "nominal", "GetMappedValues", 3},
      {Nominal, "nominal", "GetIterator", 1},
      {Nominal, "nominal", "GetIterator", 3},
      {Nominal, "nominal", "Next", 1},
      {Nominal, "nominal", "Next", 3},
      {Nominal, "nominal", "Decode", 1},
      {Nominal, "nominal", "Decode", 3},
      {Nominal, "nominal", "GetItems", 1},
      {Nominal, "nominal", "GetItems", 3},
      {Nominal, "nominal", "GetValueLabel", 1},
      {Nominal, "nominal", "GetValueLabel", 3},
      {Nominal, "nominal", "Format", 1},
      {Nominal, "nominal", "Format", 3},
      {Chain, "chain", "GetSplitRule", 1},
      {Chain, "chain", "GetSurrogate", 1},
      {Chain, "chain", "GetSurrogate", 2},
  };
  for (const FaultCase& c : kCases) {
    c.scenario([&](const std::function<void()>& run) {
      refhost::FaultGuard guard(c.operation, c.nth);
      EXPECT_THROW(run(), std::runtime_error) << c.name << ": " << c.operation << " call " << c.nth;
      EXPECT_TRUE(refhost::FaultFired()) << c.name << ": " << c.operation << " call " << c.nth;
    });
  }
}

}  // namespace
