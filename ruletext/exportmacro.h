// Marks the classes that form the shared library's public surface. The library
// is built with hidden visibility, so everything else stays internal.
#pragma once

#define TREEOUT_EXPORT __attribute__((visibility("default")))
