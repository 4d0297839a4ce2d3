// Turns CSV rows into records of a PMML model: columns matched to the model's
// fields by name, values typed by the field (numbers, strings, ISO dates as
// date numbers), empty fields and undeclared NA as missing values.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "refhost/pmml/pmmlmodel.h"
#include "refhost/records.h"

namespace treeout_cli {

class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class RecordReader {
 public:
  // Throws InputError naming a field of the model (other than the target)
  // that no column of `header` carries, or that two columns carry.
  RecordReader(refhost::PmmlModel const& model, std::vector<std::string> const& header);

  // The record of one row (`row` counts data rows from 1). Throws InputError
  // naming row and column for a value that is not of its field's kind, and
  // for a row with fewer fields than the header.
  refhost::Record Make(std::vector<std::string> const& fields, int row) const;

 private:
  refhost::PmmlModel const& fnModel;
  std::size_t fnWidth;
  std::vector<int> fnColumn;  // per model variable: its column, -1 for the target
};

// The shortest of "%.15g", "%.16g", "%.17g" that reads back as `value`.
std::string NumberText(double value);

}  // namespace treeout_cli
