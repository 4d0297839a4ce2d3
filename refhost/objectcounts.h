// Live counts of the host objects that the library may obtain or create, so
// that a test can check that everything it was handed was released.
#pragma once

#include <string>

namespace refhost {

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

// Total of live counted objects, over every kind.
long LiveObjects();
// Live objects of one kind.
long LiveObjects(ObjectKind kind);
// One "Kind=count" entry per kind, for failure messages.
std::string LiveObjectsReport();

// Called by the host classes' constructors and destructors.
void CountCreated(ObjectKind kind);
void CountDestroyed(ObjectKind kind);

}  // namespace refhost
