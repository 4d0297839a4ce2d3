// Checks shared by the loader tests: a loaded model scores records as the
// document's own rules say, and every document node's SQL selects exactly
// the records whose scored route passes through it.
#pragma once

#include <string>
#include <vector>

#include "host/variant.h"
#include "refhost/pmml/pmmlmodel.h"

namespace pmmltest {

// One record: a value per model variable (the target's is ignored).
using Values = std::vector<mdt_800::Variant>;

// The record's answer through the host's routing and the model's Resolve,
// as "node", "node:prediction" or "node:prediction:probability" (the
// probability of the prediction, shortest round-trip text).
std::string Scored(refhost::PmmlModel const& model, Values const& values);

// The same record by the document's predicates (the model keeps them).
std::string ByDocument(refhost::PmmlModel const& model, Values const& values);

// For every document node but the root, the library's text of the paths to
// it and its copies, run in SQLite over `records`, against the records whose
// route passes through it. Returns a description of each disagreement
// (empty when none); counts the nodes checked.
std::vector<std::string> SqlDisagreements(refhost::PmmlModel& model,
                                          std::vector<Values> const& records, int* checked);

// Values from text: "" is missing; numbers for numeric and date fields
// (dates as ISO text), the text itself for string fields.
Values Parse(refhost::PmmlModel const& model, std::vector<std::string> const& texts);

// A CSV file: its header and rows.
struct Table {
  std::vector<std::string> header;
  std::vector<std::vector<std::string>> rows;
  int Column(std::string const& name) const;  // -1 when absent
};
Table ReadTable(std::string const& path);

// A path in the test temporary folder that no other test process uses.
std::string TempPath(std::string const& name);

}  // namespace pmmltest
