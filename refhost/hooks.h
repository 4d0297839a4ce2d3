// Points where the test build of the reference host counts the objects it
// makes and can be made to throw. In the shipped host they compile to nothing;
// with TREEOUT_HOST_HOOKS defined they call the test support code
// (tests/support/objectcounts.h and faults.h), which defines them.
#pragma once

namespace refhost {

// The host objects that the library may obtain or create, counted while alive.
enum class ObjectKind {
  kSplitRule,
  kSplitRuleImp,
  kValueSet,
  kValueIterator,
  kEncodingSet,
  kEncodingSets,
  kEncodingItem,
  kVariant,
  kValue,
};

#ifdef TREEOUT_HOST_HOOKS
// Called by the constructors and destructors of the counted classes.
void CountCreated(ObjectKind kind);
void CountDestroyed(ObjectKind kind);
// Called at the start of each host operation a test may make throw.
void FaultPoint(char const* operation);
#else
// Inlined away at every optimisation level, so no hook symbol is left.
[[gnu::always_inline]] inline void CountCreated(ObjectKind) {}
[[gnu::always_inline]] inline void CountDestroyed(ObjectKind) {}
[[gnu::always_inline]] inline void FaultPoint(char const*) {}
#endif

}  // namespace refhost
