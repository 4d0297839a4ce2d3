// Where the classifier stops records, against the host's own record dropping.
#pragma once

#include <vector>

#include "refhost/model.h"
#include "refhost/records.h"

namespace scoringtest {

// `count` probe records of `model` (tests/support/probes.h), for the host.
std::vector<refhost::Record> ProbeRecords(refhost::Model const& model, int count, unsigned seed);

// Checks that the classifier's Score and ScoreBatch stop every record where
// the host's own record dropping does; `what` names the model in failures.
void ExpectHostRouting(refhost::Model const& model, std::vector<refhost::Record> const& records,
                       char const* what);

}  // namespace scoringtest
