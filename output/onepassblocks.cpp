// The VELD and generic one-pass text: nested conditional blocks mirroring the
// tree, one branch per child and a last ELSE for the records that stop. In
// VELD every branch condition is made definite, since a DO IF or ELSE IF whose
// condition is missing runs none of its block's branches, not even ELSE.
// Generic blocks are indented by their nesting, up to a bound, so that the
// text stays linear in the number of nodes.
#include <algorithm>
#include <utility>
#include <vector>

#include "host/format.h"
#include "output/linewrap.h"
#include "output/onepasstext.h"

namespace TreeOut_800 {
namespace {

constexpr unsigned long kVeldLineWidth = 256;
constexpr std::size_t kMaxIndent = 16;

// The text of a quoted literal without its quotes and with doubled quotes
// undoubled; its length is the width a string variable needs to hold it.
std::size_t LiteralWidth(std::string const& literal) {
  if (literal.size() < 2 || literal[0] != '\'') return literal.size();
  std::size_t width = 0;
  for (std::size_t i = 1; i + 1 < literal.size(); ++i) {
    if (literal[i] == '\'' && literal[i + 1] == '\'') ++i;
    ++width;
  }
  return width;
}

class BlockWriter {
 public:
  explicit BlockWriter(OnePassPlan const& plan)
      : fnPlan(plan), fnVeld(plan.Options().fnDialect == DIALECT_VELD) {}

  std::string Write() {
    auto const& entries = fnPlan.Entries();
    if (fnVeld) Declarations();
    if (entries[0].children.empty()) {
      Assign(0, false, 0);
    } else {
      Nest();
    }
    if (fnVeld) fnText += "EXECUTE.\n";
    return std::move(fnText);
  }

 private:
  void Declarations() {
    std::size_t width = 0;
    bool string = false;
    for (auto const& entry : fnPlan.Entries()) {
      if (entry.prediction.empty() || entry.prediction[0] != '\'') continue;
      string = true;
      width = std::max(width, LiteralWidth(entry.prediction));
    }
    if (string) {
      Line("STRING pre_001 (A" +
               atg_800::Format(static_cast<long>(std::max<std::size_t>(width, 1))) + ").",
           0);
    }
  }

  void Line(std::string const& text, std::size_t depth) {
    if (fnVeld) {
      fnText += VeldLine(text);
      return;
    }
    fnText.append(std::min(depth, kMaxIndent), '\t');
    fnText += text + "\n";
  }

  void Open(std::string const& condition, bool first, std::size_t depth) {
    if (fnVeld) {
      Line((first ? "DO IF " : "ELSE IF ") + VeldDefinite(condition) + ".", depth);
      return;
    }
    Line((first ? "IF " : "ELSE IF ") + condition, depth);
    Line("THEN", depth);
  }

  void Else(std::size_t depth) { Line(fnVeld ? "ELSE." : "ELSE", depth); }
  void End(std::size_t depth) { Line(fnVeld ? "END IF." : "END IF", depth); }

  // The assignments of node `index`'s outcome, with or without prediction.
  void Assign(std::size_t index, bool none, std::size_t depth) {
    OnePassPlan::Entry const& entry = fnPlan.Entries()[index];
    std::string const command = fnVeld ? "COMPUTE " : "";
    std::string const end = fnVeld ? "." : "";
    std::string prediction =
        none || entry.prediction.empty() ? fnPlan.NoPrediction() : entry.prediction;
    Line(command + (fnVeld ? "nod_001" : "Node") + " = " +
             atg_800::Format(static_cast<long>(entry.number)) + end,
         depth);
    Line(command + (fnVeld ? "pre_001" : "Prediction") + " = " + prediction + end, depth);
    if (fnPlan.IsClassification()) {
      std::string const probability = none ? fnPlan.NoProbability() : entry.probability;
      Line(command + (fnVeld ? "prb_001" : "Probability") + " = " + probability + end, depth);
    }
  }

  // What a record that stops at `index` gets.
  void Stop(std::size_t index, std::size_t depth) {
    OnePassPlan::Entry const& entry = fnPlan.Entries()[index];
    if (entry.missing.empty()) {
      Assign(index, fnPlan.StopsWithoutPrediction(false), depth);
      return;
    }
    Open(entry.missing, true, depth);
    Assign(index, fnPlan.StopsWithoutPrediction(true), depth + 1);
    Else(depth);
    Assign(index, fnPlan.StopsWithoutPrediction(false), depth + 1);
    End(depth);
  }

  // The blocks from the root down, through an explicit stack of (node, next
  // child); the stack's height is the nesting depth.
  void Nest() {
    auto const& entries = fnPlan.Entries();
    std::vector<std::pair<std::size_t, std::size_t>> open = {{0, 0}};
    while (!open.empty()) {
      std::size_t const depth = open.size() - 1;
      std::size_t const index = open.back().first;
      std::size_t const branch = open.back().second++;
      OnePassPlan::Entry const& entry = entries[index];
      if (branch == entry.children.size()) {
        Else(depth);
        Stop(index, depth + 1);
        End(depth);
        open.pop_back();
        continue;
      }
      Open(entry.edges[branch], branch == 0, depth);
      std::size_t const child = static_cast<std::size_t>(entry.children[branch]);
      if (entries[child].children.empty()) {
        Assign(child, false, depth + 1);
      } else {
        open.emplace_back(child, 0);
      }
    }
  }

  OnePassPlan const& fnPlan;
  bool const fnVeld;
  std::string fnText;
};

}  // namespace

std::string VeldLine(std::string const& command) { return WrapString(command, kVeldLineWidth); }

std::string VeldDefinite(std::string const& condition) { return "MAX(" + condition + ", 0)"; }

std::string JoinedBy(std::vector<std::string> const& parts, std::string const& connector) {
  std::string text;
  for (std::string const& part : parts) {
    if (!text.empty()) text += connector;
    text += part;
  }
  return text;
}

std::string OnePassBlocks(OnePassPlan const& plan) { return BlockWriter(plan).Write(); }

}  // namespace TreeOut_800
