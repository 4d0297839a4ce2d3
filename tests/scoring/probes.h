// Records that probe a tree's routing: each variable takes values on and
// beside every bound its splits and user-missing ranges have, every category,
// unseen values, no content, NaN, infinities and the system-missing number.
#pragma once

#include <random>
#include <vector>

#include "refhost/model.h"
#include "refhost/records.h"

namespace scoringtest {

// Per variable of `model`, the values worth trying.
std::vector<std::vector<mdt_800::Variant>> ProbeValues(refhost::Model const& model);

// `count` records, each variable's value drawn from its probe values.
std::vector<refhost::Record> ProbeRecords(refhost::Model const& model, int count,
                                          std::mt19937& rng);

// Checks that the classifier's Score and ScoreBatch stop every record where
// the host's own record dropping does; `what` names the model in failures.
void ExpectHostRouting(refhost::Model const& model, std::vector<refhost::Record> const& records,
                       char const* what);

}  // namespace scoringtest
