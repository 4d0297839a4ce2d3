// Counts the program's heap allocations, so a benchmark can report how many a
// measured operation makes and how much it holds at its peak. Linking
// alloccount.cpp replaces operator new.
#pragma once

// Number of calls of operator new so far.
long AllocationCount();
// Bytes that operator new has handed out and that are not yet freed; the
// most of them since ResetPeakBytes.
long LiveBytes();
long PeakBytes();
void ResetPeakBytes();
