// Live counts of the host objects that the library may obtain or create, kept
// by the test build of the reference host, so that a test can check that
// everything it was handed was released.
#pragma once

#include <string>

#include "refhost/hooks.h"

namespace refhost {

// Total of live counted objects, over every kind.
long LiveObjects();
// Live objects of one kind.
long LiveObjects(ObjectKind kind);
// One "Kind=count" entry per kind, for failure messages.
std::string LiveObjectsReport();

}  // namespace refhost
