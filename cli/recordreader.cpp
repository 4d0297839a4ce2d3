#include "cli/recordreader.h"

#include <cmath>

#include "cli/csvreader.h"
#include "refhost/dates.h"
#include "refhost/numbertext.h"

namespace treeout_cli {

std::vector<bool> UsedVariables(refhost::PmmlModel const& model) {
  std::vector<bool> used(model.Fields().size(), false);
  auto const mark = [&](tree_800::SplitRuleImp const* split) {
    if (split == nullptr) return;
    std::size_t const index = static_cast<std::size_t>(split->GetPredictorIndex());
    if (index < used.size()) used[index] = true;
  };
  std::vector<refhost::TreeNode const*> stack{model.GetModel().Root()};
  while (!stack.empty()) {
    refhost::TreeNode const* node = stack.back();
    stack.pop_back();
    mark(node->GetPrimary());
    for (int s = 0; s < node->GetNumSurrogates(); ++s) mark(&node->GetSurrogateImp(s));
    for (int i = 0; i < node->GetNumChildren(); ++i) {
      stack.push_back(static_cast<refhost::TreeNode const*>(node->GetChild(i)));
    }
  }
  return used;
}

RecordReader::RecordReader(refhost::PmmlModel const& model, std::vector<std::string> const& header)
    : fnModel(model), fnWidth(header.size()) {
  std::vector<bool> const used = UsedVariables(model);
  for (std::size_t v = 0; v < model.Fields().size(); ++v) {
    refhost::PmmlField const& field = model.Fields()[v];
    bool declaresNA = false;
    for (auto const& value : field.declaredValues) declaresNA = declaresNA || value == "NA";
    fnDeclaresNA.push_back(declaresNA);
    int column = -1;
    for (std::size_t i = 0; used[v] && i < header.size(); ++i) {
      if (header[i] != field.name) continue;
      if (column >= 0) throw InputError("the CSV has two columns named '" + field.name + "'");
      column = static_cast<int>(i);
    }
    if (used[v] && column < 0) {
      std::string columns;
      for (std::string const& name : header)
        columns += (columns.empty() ? "'" : ", '") + name + "'";
      throw InputError("the CSV has no column '" + field.name +
                       "', a field the tree uses; its columns are " + OneLine(columns));
    }
    fnColumn.push_back(column);
  }
}

refhost::Record RecordReader::Make(std::vector<std::string> const& fields, std::uint64_t row,
                                   std::uint64_t line) const {
  refhost::Record record = refhost::MakeRecord(std::vector<mdt_800::Variant>(fnColumn.size()));
  Fill(fields, row, line, &record);
  return record;
}

void RecordReader::Fill(std::vector<std::string> const& fields, std::uint64_t row,
                        std::uint64_t line, refhost::Record* record) const {
  auto const where = [&] {
    return "row " + std::to_string(row) + (line > 0 ? " (line " + std::to_string(line) + ")" : "");
  };
  if (fields.size() < fnWidth) {
    throw InputError(where() + " has " + std::to_string(fields.size()) + " fields, the header " +
                     std::to_string(fnWidth));
  }
  std::vector<refhost::PmmlField> const& modelFields = fnModel.Fields();
  for (std::size_t v = 0; v < modelFields.size(); ++v) {
    mdt_800::Variant& value = (*record)[v + 1];
    if (fnColumn[v] < 0) {
      value = mdt_800::Variant();
      continue;
    }
    refhost::PmmlField const& field = modelFields[v];
    std::string const& text = fields[static_cast<std::size_t>(fnColumn[v])];
    if (text.empty() || (text == "NA" && !fnDeclaresNA[v])) {
      value = mdt_800::Variant();
      continue;
    }
    auto const bad = [&](char const* what) {
      return InputError(where() + ", column '" + field.name + "': '" + OneLine(text) + "' is not " +
                        what);
    };
    switch (field.kind) {
      case refhost::PmmlField::kString:
        if (!IsUtf8(text)) {
          throw InputError(where() + ", column '" + field.name +
                           "': the value is not UTF-8 text (Latin-1?); treeout reads UTF-8");
        }
        value = mdt_800::Variant(text);
        break;
      case refhost::PmmlField::kNumber: {
        std::optional<double> const number = refhost::ParseDouble(text);
        if (!number || !std::isfinite(*number)) throw bad("a number");
        value = mdt_800::Variant(*number);
        break;
      }
      case refhost::PmmlField::kDate:
        try {
          value = mdt_800::Variant(refhost::DateNumberFromIso(text));
        } catch (std::invalid_argument const&) {
          throw bad("a date (YYYY-MM-DD)");
        }
        break;
    }
  }
}

}  // namespace treeout_cli
