// Trees for the adapter's tests, described node by node with the reference
// host's builder. Each call builds a fresh model that the test releases.
#pragma once

#include "refhost/builder.h"
#include "ruletext/ruleexportoptions.h"

namespace outputtest {

// The root splits the numeric nominal `region` (categories 1 to 5, 9
// user-missing): child 0 (node 1) takes 1 and 2, child 1 (node 2) takes 3,
// child 2 (node 3) takes 4, 5 and the missing values. No surrogates. Target
// `risk` with classes "low" and "high".
refhost::Model RegionModel();

// Root 0 with children 1, 2, 5; node 1 with children 3, 4; node 5 with
// children 6, 7, 8; each split on its own nominal variable, one category per
// child, so that every edge has a text of its own.
refhost::Model CompositionModel();

// Nominal, ordinal and ordered-string splits, surrogates, user-missing values
// and missing-value and default children over six variables:
//   age (scale, 999 user-missing), region (1-5, 9 user-missing),
//   color (red, green, blue, other), size (ordered S, M, L, XL),
//   income (scale, -1e9 to -1 user-missing), risk (the target).
refhost::Model RichModel();

TreeOut_800::RuleExportOptions Options(int dialect, int updateMode, int edgeMode = 0,
                                       int numberFormat = 0);

}  // namespace outputtest
