#include "host/systemmissing.h"

#include <limits>

double systemMissingValue() { return std::numeric_limits<double>::lowest(); }
