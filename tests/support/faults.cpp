// The fault switch behind the host's FaultPoint hook. One switch per process:
// tests run one at a time.
#include "tests/support/faults.h"

#include <stdexcept>

namespace refhost {
namespace {

bool gArmed = false;
std::string gOperation;
long gNth = 0;
long gCalls = 0;
bool gFired = false;

}  // namespace

void FailOn(std::string const& operation, long nth) {
  gOperation = operation;
  gNth = nth;
  gCalls = 0;
  gFired = false;
  gArmed = true;
}

void ClearFaults() {
  gArmed = false;
  gOperation.clear();
  gCalls = 0;
  gFired = false;
}

bool FaultFired() { return gFired; }

void FaultPoint(char const* operation) {
  if (!gArmed || gOperation != operation) return;
  if (++gCalls != gNth) return;
  gArmed = false;
  gFired = true;
  throw std::runtime_error("refhost fault: " + gOperation + " call " + std::to_string(gNth));
}

}  // namespace refhost
