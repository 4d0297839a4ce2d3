#include "refhost/pmml/pmmlstatistics.h"

#include "refhost/pmml/pmmlreading.h"

namespace refhost::pmml {

void Distribution::Reset(std::size_t categories) {
  counts.assign(categories, 0);
  probabilities.assign(categories, 0);
  anyProbability = false;
  anyDistribution = false;
}

void ReadDistribution(XmlReader& xml, FieldDef const& target, Distribution& into) {
  // Where it stands is made only for a message (before the reader moves on).
  auto const at = [&xml] { return Here(xml); };
  std::string_view const value = ValueOr(xml, "value", "");
  int const code = target.CodeOf(value);
  if (code == 0) {
    at().Fail("value " + Quote(value) + " is not a category of the target " + Quote(target.name));
  }
  std::string_view const countText = ValueOr(xml, "recordCount", "0");
  std::optional<double> const count = ParseNumber(countText);
  if (!count) at().Fail("recordCount " + Quote(countText) + " is not a number");
  if (*count < 0) at().Fail("recordCount " + Quote(countText) + " is negative");
  std::size_t const c = static_cast<std::size_t>(code - 1);
  into.counts[c] += *count;
  if (std::optional<std::string_view> const p = xml.Value("probability")) {
    std::optional<double> const probability = ParseNumber(*p);
    if (!probability || *probability < 0 || *probability > 1) {
      at().Fail("probability " + Quote(*p) + " is not a number from 0 to 1");
    }
    into.probabilities[c] = *probability;
    into.anyProbability = true;
  }
  into.anyDistribution = true;
  SkipElement(xml);
}

void SetStatistics(TreeNode& node, Where const& at, FieldDef const& target, bool classification,
                   std::string const* score, Distribution& distribution) {
  if (!classification) {
    if (score == nullptr) return;
    std::optional<double> const value = target.NumberOf(*score);
    if (!value) {
      at.Fail("score " + Quote(*score) + " is not a " +
              (target.kind == PmmlField::kDate ? "date" : "number"));
    }
    node.SetValueStatistics(*value);
    return;
  }
  std::size_t const n = target.categories.size();
  std::vector<double>& probabilities = distribution.probabilities;
  if (!distribution.anyProbability) {
    double total = 0;
    for (double c : distribution.counts) total += c;
    if (total > 0) {
      for (std::size_t i = 0; i < n; ++i) probabilities[i] = distribution.counts[i] / total;
    }
  }
  int predicted = 0;
  if (score != nullptr) {
    predicted = target.CodeOf(*score);
    if (predicted == 0) {
      at.Fail("score " + Quote(*score) + " is not a category of the target " + Quote(target.name));
    }
  } else if (distribution.anyDistribution) {
    predicted = 1;
    for (std::size_t i = 1; i < n; ++i) {
      if (probabilities[i] > probabilities[static_cast<std::size_t>(predicted - 1)]) {
        predicted = static_cast<int>(i) + 1;
      }
    }
  }
  if (predicted > 0) node.SetClassStatistics(predicted, probabilities);
}

void CopyStatistics(TreeNode const& from, TreeNode& to, std::size_t categories) {
  if (tree_800::ClassStatistics const* stats = from.GetClassStatistics(0)) {
    std::vector<double> probabilities;
    for (std::size_t c = 1; c <= categories; ++c) {
      probabilities.push_back(stats->GetProbability(static_cast<int>(c)));
    }
    to.SetClassStatistics(stats->GetPredictedCategory(), std::move(probabilities));
  }
  if (tree_800::ValueStatistics const* value = from.GetValueStatistics(0)) {
    to.SetValueStatistics(value->GetPredictedValue());
  }
}

}  // namespace refhost::pmml
