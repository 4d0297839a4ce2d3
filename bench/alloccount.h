// Counts the program's heap allocations, so a benchmark can report how many a
// measured operation makes. Linking alloccount.cpp replaces operator new.
#pragma once

// Number of calls of operator new so far.
long AllocationCount();
