// The live-object counters behind the host's CountCreated and CountDestroyed
// hooks.
#include "tests/support/objectcounts.h"

namespace refhost {
namespace {

constexpr int kKinds = static_cast<int>(ObjectKind::kValue) + 1;
char const* const kKindNames[kKinds] = {"SplitRule",     "SplitRuleImp", "ValueSet",
                                        "ValueIterator", "EncodingSet",  "EncodingSets",
                                        "EncodingItem",  "Variant",      "Value"};
long gLive[kKinds] = {};

}  // namespace

long LiveObjects() {
  long total = 0;
  for (long count : gLive) total += count;
  return total;
}

long LiveObjects(ObjectKind kind) { return gLive[static_cast<int>(kind)]; }

std::string LiveObjectsReport() {
  std::string report;
  for (int i = 0; i < kKinds; ++i) {
    if (!report.empty()) report += ' ';
    report += kKindNames[i];
    report += '=';
    report += std::to_string(gLive[i]);
  }
  return report;
}

void CountCreated(ObjectKind kind) { ++gLive[static_cast<int>(kind)]; }
void CountDestroyed(ObjectKind kind) { --gLive[static_cast<int>(kind)]; }

}  // namespace refhost
