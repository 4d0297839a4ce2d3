// Number texts in the C library's fixed forms: a double as "%f" (six
// decimals), an int as "%d". The text is always complete, whatever the value.
#pragma once

#include <string>

std::string ToString(double value);
std::string ToString(int value);
