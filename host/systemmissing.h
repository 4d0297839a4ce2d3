// The host's system-missing number.
#pragma once

// The number that stands for a missing value in encoded records and value
// sets; the same number on every call. Does not throw; safe to call from any
// thread.
double systemMissingValue();
