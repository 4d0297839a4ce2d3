#include "cli/recordreader.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "refhost/dates.h"
#include "refhost/numbertext.h"

namespace treeout_cli {
namespace {

bool IsNumber(std::string const& text, double* value) {
  std::optional<double> const number = refhost::ParseDouble(text);
  if (!number || !std::isfinite(*number)) return false;
  *value = *number;
  return true;
}

bool DeclaresNA(refhost::PmmlField const& field) {
  for (auto const& v : field.declaredValues) {
    if (v == "NA") return true;
  }
  return false;
}

}  // namespace

std::string NumberText(double value) { return refhost::ShortestText(value); }

RecordReader::RecordReader(refhost::PmmlModel const& model, std::vector<std::string> const& header)
    : fnModel(model), fnWidth(header.size()) {
  for (refhost::PmmlField const& field : model.Fields()) {
    int column = -1;
    for (std::size_t i = 0; i < header.size(); ++i) {
      if (header[i] != field.name) continue;
      if (column >= 0 && !field.isTarget) {
        throw InputError("the CSV has two columns named '" + field.name + "'");
      }
      column = static_cast<int>(i);
    }
    if (field.isTarget)
      column = -1;  // a target column is read by nobody
    else if (column < 0)
      throw InputError("the CSV has no column '" + field.name + "', a field of the model");
    fnColumn.push_back(column);
  }
}

refhost::Record RecordReader::Make(std::vector<std::string> const& fields, int row) const {
  if (fields.size() < fnWidth) {
    throw InputError("row " + std::to_string(row) + " has " + std::to_string(fields.size()) +
                     " fields, the header " + std::to_string(fnWidth));
  }
  std::vector<mdt_800::Variant> values;
  std::vector<refhost::PmmlField> const& modelFields = fnModel.Fields();
  for (std::size_t v = 0; v < modelFields.size(); ++v) {
    refhost::PmmlField const& field = modelFields[v];
    if (fnColumn[v] < 0) {
      values.emplace_back();
      continue;
    }
    std::string const& text = fields[static_cast<std::size_t>(fnColumn[v])];
    if (text.empty() || (text == "NA" && !DeclaresNA(field))) {
      values.emplace_back();
      continue;
    }
    auto const bad = [&](char const* what) {
      return InputError("row " + std::to_string(row) + ", column '" + field.name + "': '" + text +
                        "' is not " + what);
    };
    switch (field.kind) {
      case refhost::PmmlField::kString:
        values.emplace_back(text);
        break;
      case refhost::PmmlField::kNumber: {
        double number = 0;
        if (!IsNumber(text, &number)) throw bad("a number");
        values.emplace_back(number);
        break;
      }
      case refhost::PmmlField::kDate:
        try {
          values.emplace_back(refhost::DateNumberFromIso(text));
        } catch (std::invalid_argument const&) {
          throw bad("a date (YYYY-MM-DD)");
        }
        break;
    }
  }
  return refhost::MakeRecord(std::move(values));
}

}  // namespace treeout_cli
