// Runs command syntax in GNU PSPP, a command-syntax interpreter, over a set
// of records, and reads back the variables the syntax computes. Each run
// writes a data file and a syntax file to a fresh temporary folder (under
// TMPDIR), runs `pspp` in batch mode and removes the folder on every path.
#pragma once

#include <string>
#include <vector>

#include "host/metadata.h"
#include "host/variant.h"

namespace testsupport {

// Whether the `pspp` program can be run.
bool PsppAvailable();

// Runs `syntax` over `records` (one value per variable, in variable order; a
// value without content is missing; dates as date numbers) and returns, per
// record, the values of `outputs` as PSPP writes them: numbers in full
// precision, strings without their trailing blanks, "" for system-missing.
// Throws std::runtime_error with PSPP's messages when the run fails or warns.
std::vector<std::vector<std::string>> RunPspp(
    std::vector<mdt_800::Variable> const& variables,
    std::vector<std::vector<mdt_800::Variant>> const& records, std::string const& syntax,
    std::vector<std::string> const& outputs);

// The fields of one CSV line as RFC 4180 writes them.
std::vector<std::string> CsvFields(std::string const& line);

}  // namespace testsupport
