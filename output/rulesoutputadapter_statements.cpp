// The statement writers: each frames a condition as a selection or update
// statement of one dialect. Writers that describe a single node answer any
// other number of selected nodes with their error text in place of the
// statement; an empty condition stands for "every record".
#include <initializer_list>
#include <string_view>

#include "output/rulesoutputadapter.h"

namespace TreeOut_800 {

namespace {

// The single entry of a synchronised selection, or null when it holds more
// or fewer than one node.
RulesNodeSelection::NodeList::value_type const* SingleEntry(RulesNodeSelection const& selection) {
  RulesNodeSelection::NodeList const& nodes = selection.EnumerateNodes();
  return nodes.size() == 1 ? &nodes.front() : nullptr;
}

// The pieces one after the other, in one allocation: a condition can be long.
std::string Joined(std::initializer_list<std::string_view> pieces) {
  std::size_t size = 0;
  for (std::string_view piece : pieces) size += piece.size();
  std::string text;
  text.reserve(size);
  for (std::string_view piece : pieces) text += piece;
  return text;
}

}  // namespace

std::string RulesOutputAdapter::ExportVELDSelect(std::string condition,
                                                 RulesNodeSelection const& /*selection*/) const {
  if (condition.empty()) condition = "1";
  return Joined({"COMPUTE filter_$ = (", condition, ").\n", "FILTER BY filter_$.\n", "EXECUTE.\n"});
}

std::string RulesOutputAdapter::ExportSQLSelect(std::string condition,
                                                RulesNodeSelection const& /*selection*/) const {
  if (condition.empty()) return "SELECT * FROM <TABLE>;";
  return Joined({"SELECT * FROM <TABLE>", "\nWHERE ", condition, ";"});
}

std::string RulesOutputAdapter::ExportGenericSelect(std::string condition,
                                                    RulesNodeSelection const& selection) const {
  auto const* entry = SingleEntry(selection);
  if (entry == nullptr) return "\nExportGenericUpdate ERROR: >1 nodes to update\n";
  tree_800::Node const* node = entry->first;
  int const number = entry->second;

  std::string body = "\t" + GenerateNodeId(node, number, "Node") + "\n";
  body += "\t" + GenerateNodePrediction(node, number, "Prediction", true) + "\n";
  if (node->GetClassStatistics(0) != nullptr) {
    body += "\t" + GenerateNodeConfidence(node, number, "Probability") + "\n";
  }
  if (condition.empty()) condition = "(1)";
  return Joined({"IF ", condition, "\n", "THEN", "\n", body});
}

std::string RulesOutputAdapter::ExportVELDUpdate(std::string condition,
                                                 RulesNodeSelection const& selection) const {
  auto const* entry = SingleEntry(selection);
  if (entry == nullptr) return "\nExportVELDUpdate ERROR: >1 nodes to update\n";
  tree_800::Node const* node = entry->first;
  int const number = entry->second;

  std::string body = "COMPUTE " + GenerateNodeId(node, number, "nod_001") + ".\n";
  body += "COMPUTE " + GenerateNodePrediction(node, number, "pre_001", false) + ".\n";
  if (node->GetClassStatistics(0) != nullptr) {
    body += "COMPUTE " + GenerateNodeConfidence(node, number, "prb_001") + ".\n";
  }
  if (condition.empty()) condition = "(1)";
  return Joined({"DO IF ", condition, ".\n", body, "END IF.\nEXECUTE.\n"});
}

std::string RulesOutputAdapter::ExportSQLUpdate(std::string condition,
                                                RulesNodeSelection const& selection) const {
  auto const* entry = SingleEntry(selection);
  // The misspelt operation name is the system's own error text.
  if (entry == nullptr) return "\nExportSQLlUpdate ERROR: >1 nodes to update\n";
  tree_800::Node const* node = entry->first;
  int const number = entry->second;

  std::string clause = "\n\tSET " + GenerateNodeId(node, number, "nod_001");
  clause += ",\t" + GenerateNodePrediction(node, number, "pre_001", true);
  if (node->GetClassStatistics(0) != nullptr) {
    clause += ",\t" + GenerateNodeConfidence(node, number, "prb_001");
  }
  if (condition.empty()) return Joined({"UPDATE <TABLE>", clause, ";"});
  return Joined({"UPDATE <TABLE>", clause, "\nWHERE ", condition, ";"});
}

std::string RulesOutputAdapter::ExportGenericUpdate(std::string condition,
                                                    RulesNodeSelection const& /*selection*/) const {
  return condition;
}

}  // namespace TreeOut_800
