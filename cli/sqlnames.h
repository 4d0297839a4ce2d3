// Variable names for SQL text: the library writes names and labels as they
// are, so a name such as Solar.R or od280/od315 would not parse as a column.
#pragma once

#include <string>

#include "refhost/metadata.h"

namespace treeout_cli {

// `name` as an SQL column: unchanged when it is a plain identifier (letters,
// digits, underscores, not starting with a digit) or already quoted, else in
// double quotes with inner double quotes doubled.
std::string SqlIdentifier(std::string const& name);

// Applies SqlIdentifier to every variable's name and non-empty label.
void QuoteSqlNames(refhost::Metadata& metadata);

}  // namespace treeout_cli
