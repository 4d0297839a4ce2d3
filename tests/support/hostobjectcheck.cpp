// Fails any test after which the reference host holds more or fewer live
// objects than before it: whatever a test makes, it must also release.
#include <gtest/gtest.h>

#include "tests/support/objectcounts.h"

namespace {

class HostObjectCheck : public ::testing::EmptyTestEventListener {
  void OnTestStart(::testing::TestInfo const&) override {
    fnBefore = refhost::LiveObjects();
    fnReportBefore = refhost::LiveObjectsReport();
  }
  void OnTestEnd(::testing::TestInfo const&) override {
    long const after = refhost::LiveObjects();
    if (after != fnBefore) {
      ADD_FAILURE() << "host objects live before the test: " << fnBefore << " (" << fnReportBefore
                    << "), after: " << after << " (" << refhost::LiveObjectsReport() << ")";
    }
  }
  long fnBefore = 0;
  std::string fnReportBefore;
};

// Registered when the test program starts, before any test runs.
bool const registered = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new HostObjectCheck);
  return true;
}();

}  // namespace
