#include "cli/conditiontext.h"

#include <memory>
#include <vector>

#include "cli/messages.h"
#include "host/splitrule.h"
#include "refhost/dates.h"
#include "refhost/numbertext.h"

namespace treeout_cli {
namespace {

std::string ValueText(refhost::PmmlField const& field, double value) {
  if (field.kind == refhost::PmmlField::kDate) return refhost::IsoFromDateNumber(value);
  return refhost::ShortestText(value);
}

}  // namespace

std::string SplitText(refhost::PmmlModel const& model, tree_800::SplitRuleImp const& split,
                      int child, bool withMissing) {
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
  if (withMissing && split.GetMissingValueMapping() == child) text += " or missing";
  return text;
}

std::string EdgeText(refhost::PmmlModel const& model, refhost::TreeNode const& node, int child) {
  tree_800::SplitRuleImp const* primary = node.GetPrimary();
  std::string text = primary ? SplitText(model, *primary, child) : std::string();
  for (int s = 0; s < node.GetNumSurrogates(); ++s) {
    text += "; else " + SplitText(model, node.GetSurrogateImp(s), child);
  }
  if (node.GetDumbRuleIndex() == child) text += "; else here [default]";
  return text;
}

std::string PredictionText(refhost::PmmlModel const& model, refhost::TreeNode const& node) {
  if (tree_800::ClassStatistics const* stats = node.GetClassStatistics(0)) {
    int const code = stats->GetPredictedCategory();
    for (auto const& field : model.Fields()) {
      if (field.isTarget && code >= 1 && code <= static_cast<int>(field.categories.size())) {
        return "predict " + field.categories[code - 1] + " (" +
               refhost::ShortestText(stats->GetProbability(code)) + ")";
      }
    }
  } else if (tree_800::ValueStatistics const* value = node.GetValueStatistics(0)) {
    return "predict " + refhost::ShortestText(value->GetPredictedValue());
  }
  return "";
}

}  // namespace treeout_cli
