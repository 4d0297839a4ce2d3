#include "cli/outline.h"

#include <memory>
#include <string>
#include <vector>

#include "cli/recordreader.h"
#include "host/splitrule.h"
#include "refhost/dates.h"

namespace treeout_cli {
namespace {

std::string ValueText(refhost::PmmlField const& field, double value) {
  if (field.kind == refhost::PmmlField::kDate) return refhost::IsoFromDateNumber(value);
  return NumberText(value);
}

// What `split` sends to `child`, in words.
std::string Condition(refhost::PmmlModel const& model, tree_800::SplitRuleImp const& split,
                      int child) {
  refhost::PmmlField const& field = model.Fields()[split.GetPredictorIndex()];
  std::string text;
  std::unique_ptr<tree_800::ValueSet> values(split.GetMappedValues(child));
  if (auto const* codes = dynamic_cast<tree_800::NValueSet const*>(values.get())) {
    std::vector<std::string> names;
    std::unique_ptr<tree_800::ValueIterator> it(codes->GetIterator());
    while (it->HasMore()) {
      int const code = it->Next();
      names.push_back(code >= 1 && code <= static_cast<int>(field.categories.size())
                          ? field.categories[code - 1]
                          : std::to_string(code));
    }
    if (names.size() == 1) {
      text = field.name + " = " + names[0];
    } else {
      text = field.name + " in {";
      for (std::size_t i = 0; i < names.size(); ++i) text += (i ? ", " : "") + names[i];
      text += "}";
    }
  } else if (auto const* range = dynamic_cast<tree_800::OValueSet const*>(values.get())) {
    if (range->IsEmpty()) {
      text = "no " + field.name;
    } else if (range->HasLowerBound() && range->HasUpperBound()) {
      text = ValueText(field, range->GetLowerBound()) + (range->IsLowerOpen() ? " < " : " <= ") +
             field.name + (range->IsUpperOpen() ? " < " : " <= ") +
             ValueText(field, range->GetUpperBound());
    } else if (range->HasLowerBound()) {
      text = field.name + (range->IsLowerOpen() ? " > " : " >= ") +
             ValueText(field, range->GetLowerBound());
    } else if (range->HasUpperBound()) {
      text = field.name + (range->IsUpperOpen() ? " < " : " <= ") +
             ValueText(field, range->GetUpperBound());
    } else {
      text = "any " + field.name;
    }
  }
  if (split.GetMissingValueMapping() == child) text += " or missing";
  return text;
}

void PrintNode(refhost::PmmlModel const& model, refhost::TreeNode const& node, int depth,
               std::string const& condition, std::ostream& out) {
  out << std::string(2 * static_cast<std::size_t>(depth), ' ') << model.OutputId(node.GetId());
  if (model.IsAdded(node.GetId())) out << " (added)";
  if (model.NumberedInOrder() && !model.DocumentId(node.GetId()).empty()) {
    out << " [id " << model.DocumentId(node.GetId()) << "]";
  }
  if (!condition.empty()) out << "  " << condition;
  if (std::optional<double> n = model.RecordCount(node.GetId())) out << "  n=" << NumberText(*n);
  if (tree_800::ClassStatistics const* stats = node.GetClassStatistics(0)) {
    int const code = stats->GetPredictedCategory();
    for (auto const& field : model.Fields()) {
      if (field.isTarget && code >= 1 && code <= static_cast<int>(field.categories.size())) {
        out << "  predict " << field.categories[code - 1] << " ("
            << NumberText(stats->GetProbability(code)) << ")";
      }
    }
  } else if (tree_800::ValueStatistics const* value = node.GetValueStatistics(0)) {
    out << "  predict " << NumberText(value->GetPredictedValue());
  }
  out << '\n';
  tree_800::SplitRuleImp const* primary = node.GetPrimary();
  for (int i = 0; i < node.GetNumChildren(); ++i) {
    std::string text = primary ? Condition(model, *primary, i) : std::string();
    for (int s = 0; s < node.GetNumSurrogates(); ++s) {
      text += "; else " + Condition(model, node.GetSurrogateImp(s), i);
    }
    if (node.GetDumbRuleIndex() == i) text += "; else here [default]";
    PrintNode(model, static_cast<refhost::TreeNode const&>(*node.GetChild(i)), depth + 1, text,
              out);
  }
}

}  // namespace

void PrintOutline(refhost::PmmlModel const& model, std::ostream& out) {
  out << "model " << (model.ModelName().empty() ? "(unnamed)" : model.ModelName()) << ", "
      << model.GetModel().GetTree().Size() << " nodes\n";
  if (model.NumberedInOrder()) {
    out << "nodes numbered in document order from 0 (the document's ids in brackets)\n";
  }
  PrintNode(model, *model.GetModel().Root(), 0, "", out);
}

}  // namespace treeout_cli
