#include "refhost/faults.h"

#include <stdexcept>

namespace refhost {
namespace detail {
bool gFaultArmed = false;
}  // namespace detail

namespace {

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
  detail::gFaultArmed = true;
}

void ClearFaults() {
  detail::gFaultArmed = false;
  gOperation.clear();
  gCalls = 0;
  gFired = false;
}

bool FaultFired() { return gFired; }

void detail::CountCall(char const* operation) {
  if (gOperation != operation) return;
  if (++gCalls != gNth) return;
  gFaultArmed = false;
  gFired = true;
  throw std::runtime_error("refhost fault: " + gOperation + " call " + std::to_string(gNth));
}

}  // namespace refhost
