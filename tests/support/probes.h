// Records that probe a tree's routing: each variable takes values on and
// beside every bound of its splits, every category and code, its
// user-missing values, unseen categories and no content.
#pragma once

#include <cstddef>
#include <vector>

#include "host/variant.h"
#include "refhost/model.h"

namespace testsupport {

using ProbeRow = std::vector<mdt_800::Variant>;

// Per variable of `model`, the values worth trying. For the host alone they
// also hold NaN, infinities, the system-missing number, values of the wrong
// type and doubles next to each bound. For engines every value survives a
// database column: a date steps one second beside a bound, numbers beside
// zero stay normal, and text goes only to text variables.
std::vector<std::vector<mdt_800::Variant>> ProbeValues(refhost::Model const& model,
                                                       bool forEngines);

// `count` rows, each variable's value drawn from its probe values.
std::vector<ProbeRow> ProbeRows(refhost::Model const& model, std::size_t count, unsigned seed,
                                bool forEngines);

}  // namespace testsupport
