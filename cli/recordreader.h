// Turns CSV rows into records of a PMML model: the columns of the fields that
// the tree's splits use are matched by name, values typed by the field
// (numbers, strings, ISO dates as date numbers), empty fields and undeclared
// NA as missing values. Other columns, and other fields, are not read.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/messages.h"
#include "refhost/pmml/pmmlmodel.h"
#include "refhost/records.h"

namespace treeout_cli {

class RecordReader {
 public:
  // Throws InputError naming a field that the tree uses and no column of
  // `header` carries (listing the columns read), or that two columns carry.
  RecordReader(refhost::PmmlModel const& model, std::vector<std::string> const& header);

  // The record of one row (`row` counts data rows from 1, `line` is the
  // file's line, 0 when not known). Throws InputError naming row (and line)
  // and column for a value that is not of its field's kind, and for a row
  // with fewer fields than the header.
  refhost::Record Make(std::vector<std::string> const& fields, std::uint64_t row,
                       std::uint64_t line = 0) const;
  // The same into `record`, which keeps its storage from row to row.
  void Fill(std::vector<std::string> const& fields, std::uint64_t row, std::uint64_t line,
            refhost::Record* record) const;

 private:
  refhost::PmmlModel const& fnModel;
  std::size_t fnWidth;
  std::vector<int> fnColumn;  // per model variable: its column, -1 when not read
  std::vector<bool> fnDeclaresNA;
};

// The model variables that some split of the tree (primary or surrogate) tests.
std::vector<bool> UsedVariables(refhost::PmmlModel const& model);

}  // namespace treeout_cli
