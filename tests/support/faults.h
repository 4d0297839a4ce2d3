// Fault injection for the test build of the reference host: a test arms one
// named host operation to throw on its Nth call, to check that callers release
// what they hold when the host throws.
#pragma once

#include <string>

#include "refhost/hooks.h"

namespace refhost {

// Arms `operation` (e.g. "Decode") to throw std::runtime_error("refhost fault:
// <operation> call <nth>") on its `nth` call (1-based) from now on. Replaces
// any earlier arming. The fault fires once; the operation works again after.
void FailOn(std::string const& operation, long nth);
// Disarms, and forgets whether the fault fired.
void ClearFaults();
// True when the armed fault has thrown since FailOn.
bool FaultFired();

// Arms on construction, clears on destruction.
class FaultGuard {
 public:
  FaultGuard(std::string const& operation, long nth) { FailOn(operation, nth); }
  ~FaultGuard() { ClearFaults(); }
  FaultGuard(FaultGuard const&) = delete;
  FaultGuard& operator=(FaultGuard const&) = delete;
};

}  // namespace refhost
