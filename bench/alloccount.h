// Counts the program's heap allocations, so a benchmark can report how many a
// measured operation makes and how much it holds at its peak. Linking
// alloccount.cpp replaces operator new.
#pragma once

// Number of calls of operator new so far.
long AllocationCount();
// While tracking (from TrackBytes(true), which starts at zero): bytes that
// operator new has handed out and that are not yet freed, and the most of
// them. Tracking costs time; it is off unless asked.
void TrackBytes(bool on);
long LiveBytes();
long PeakBytes();
