// Node annotations: the node number, prediction and probability texts that the
// statement writers assign. A prediction is written from the node's value
// statistics when it has them (regression), else from its class statistics:
// the predicted category code is decoded by the target's encoder, and the one
// value it stands for becomes a literal of its type (a string in single
// quotes, an inner quote doubled).
#include "host/format.h"
#include "output/rulesoutputadapter.h"
#include "ruletext/exportutil.h"

namespace TreeOut_800 {

namespace {

char const kSingleQuote[] = "'";

// The literal of a decoded category value; "" for a type without one.
std::string CategoryLiteral(mdt_800::Variant const& value, bool isDate, bool quoted) {
  switch (value.GetType()) {
    case mdt_800::Variant::TYPE_STRING: {
      std::string text = static_cast<std::string const&>(value);
      ExportUtil::QuoteLiteral(text, ExportUtil::CH_SINGLE_QUOTE);  // inner quotes doubled
      return text;
    }
    case mdt_800::Variant::TYPE_DOUBLE:
      if (isDate) {
        return kSingleQuote + atg_800::FormatRulesDate(static_cast<double>(value), quoted) +
               kSingleQuote;
      }
      return atg_800::Format(static_cast<double>(value), true, nullptr);
    case mdt_800::Variant::TYPE_LONG:
      return atg_800::Format(static_cast<long>(value));
    default:
      return std::string();
  }
}

}  // namespace

std::string RulesOutputAdapter::GenerateNodeId(tree_800::Node const* /*node*/, int number,
                                               std::string name) const {
  return name + " = " + atg_800::Format(static_cast<long>(number));
}

std::string RulesOutputAdapter::GenerateNodePrediction(tree_800::Node const* node, int /*number*/,
                                                       std::string name, bool quoted) const {
  return name + " = " + GetPredictionAsString(node, quoted);
}

std::string RulesOutputAdapter::GenerateNodeConfidence(tree_800::Node const* node, int /*number*/,
                                                       std::string name) const {
  tree_800::ClassStatistics const* stats = node->GetClassStatistics(0);
  if (stats == nullptr) return "\nGenerateNodeConfidence ERROR: not a classification tree.\n";
  double const probability = stats->GetProbability(stats->GetPredictedCategory());
  return name + " = " + atg_800::Format(probability, false, "%f");
}

std::string RulesOutputAdapter::GetPredictionAsString(tree_800::Node const* node,
                                                      bool quoted) const {
  // Both are asked, in this order, whatever the node is.
  tree_800::ClassStatistics const* classStats = node->GetClassStatistics(0);
  tree_800::ValueStatistics const* valueStats = node->GetValueStatistics(0);

  if (valueStats != nullptr) {
    double const value = valueStats->GetPredictedValue();
    if (fnMetadata != nullptr && fnMetadata->GetTarget()->IsDate()) {
      std::string const quote = quoted ? kSingleQuote : "";
      return quote + atg_800::FormatRulesDate(value, quoted) + quote;
    }
    return atg_800::Format(value, false, nullptr);
  }
  if (classStats == nullptr || fnMetadata == nullptr) return std::string();

  int const code = classStats->GetPredictedCategory();
  mdt_800::Variable const* target = fnMetadata->GetTarget();
  mdt_800::Encoder const* encoder = target->GetEncoding();
  if (encoder == nullptr) return atg_800::Format(static_cast<long>(code));

  mdt_800::EncodingSets const sets = encoder->Decode(static_cast<double>(code));
  auto const& list = sets.GetEncodingSetList();
  if (list.size() != 1) return std::string();
  std::vector<mdt_800::EncodingItem> const items = list.front()->GetItems();
  if (items.size() != 1) return std::string();
  return CategoryLiteral(items.front().GetValue(), target->IsDate(), quoted);
}

}  // namespace TreeOut_800
