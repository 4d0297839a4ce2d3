// The host's system-missing number.
#pragma once

double systemMissingValue();
