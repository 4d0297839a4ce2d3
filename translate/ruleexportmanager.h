// The split-rule translator: writes the condition under which one split rule
// of the tree sends a record to a given child, in the dialect of the options.
// It keeps the tree and the metadata's variable sequence, not owned; both must
// outlive it. Everything it obtains from the host is released within the call
// that obtained it; host exceptions pass through. All operations are const;
// the values of category codes are kept once decoded, so one translator is
// used by one thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/encoding.h"
#include "host/metadata.h"
#include "host/node.h"
#include "host/splitrule.h"
#include "host/variant.h"
#include "ruletext/ruleexportoptions.h"
#include "translate/rulesinterval.h"

namespace TreeOut_800 {

class AttemptChain;

// The function put in front of a variable in the VELD dialect.
enum PrefixOperator {
  PREFIX_DEFAULT = 0,  // "VALUE", none for a string variable
  PREFIX_SYSMIS = 1,   // "SYSMIS"
  PREFIX_MISSING = 2,  // "MISSING"
  PREFIX_VALUE = 3     // as PREFIX_DEFAULT
};

// The role of a split rule in its attempt chain.
enum ExportTargetFlag : int {
  TARGET_OR_LINK = 0,    // the rule itself places the record
  TARGET_AND_LINK = 1,   // the rule leaves the record to the later rules
  TARGET_DUMB_RULE = 2,  // last rule, exported child is the default child
  TARGET_NODE = 3        // last rule, any other child
};

// A list with one DiscreteValues set holding the single value `value`,
// excluded: what a code of a variable without encoder stands for.
mdt_800::EncodingSets GetEncodingSetList(double value);

class RuleExportManager {
 public:
  // REQUIRES: `metadata` not null. Keeps `tree` and metadata->GetVariables().
  RuleExportManager(const tree_800::TreeAlgorithmBase* tree,
                    const mdt_800::ModelMetadata* metadata);

  // The double just above -DBL_MAX, which VELD text writes as -DBL_MAX / 10.
  double GetLowValue() const;

  // Variables and values as text.
  // The label when variable labels are on and the label is not empty, else
  // the name; never quoted.
  std::string Variable_Export(const mdt_800::Variable& variable,
                              const RuleExportOptions& options) const;
  // In VELD the variable text inside the function `op`; elsewhere the text.
  std::string ExportPrefixedName(const mdt_800::Variable& variable,
                                 const RuleExportOptions& options, PrefixOperator op) const;
  // A value, or its non-empty label when value labels are on; strings and
  // labels quoted by dialect (single quotes in SQL, double elsewhere) with
  // that quote doubled inside, dates in single quotes outside VELD.
  std::string ExportValue(const mdt_800::Variable& variable, const mdt_800::Variant& value,
                          const std::string& valueLabel, const RuleExportOptions& options) const;
  // Prefixed variable, `operatorText`, value text.
  std::string ExportVariableValuePair(const mdt_800::Variable& variable,
                                      const RuleExportOptions& options,
                                      const std::string& operatorText,
                                      const mdt_800::Variant& value, PrefixOperator op) const;
  // A condition that every record meets (`truth` true) or none does, in the
  // options' dialect: "1 = 1" or "1 = 0" with the dialect's equality. No
  // brackets.
  std::string ExportConstant(bool truth, const RuleExportOptions& options) const;
  // The bounded ends of `interval` as comparisons joined by AND; empty when
  // neither side is bounded. No brackets.
  std::string ExportInterval(const mdt_800::Variable& variable, const RuleExportOptions& options,
                             const Interval& interval, bool includeMissing) const;

  // Value sets and encoding sets as intervals of variable values.
  // The end of `codeInterval` that one side of an ordinal value set stands
  // for. `bound` is not read.
  mdt_800::EncodingItem DecodeOValueSetValue(const mdt_800::Interval& codeInterval, double bound,
                                             bool open, bool lowerEnd) const;
  // Sets both sides of `*interval` from `valueSet`, decoding its bounds
  // through `encoder` when there is one.
  void DecodeOValueSet(const tree_800::OValueSet& valueSet, const mdt_800::Encoder* encoder,
                       Interval* interval) const;
  // Sets `*interval` from a set whose items are a lower and an upper end.
  void EncodingSetToInterval(const mdt_800::EncodingSet& set, Interval* interval) const;
  // The values that `split` sends to `child`; (0, 0) when it sends none.
  void BuildInterval(Interval* interval, const tree_800::SplitRule& split, int child) const;

  // Split exporters. Each writes the condition that `rule` sends a record
  // to `child`; `includeMissing` says whether records with a missing
  // predictor value must satisfy it. With `includeMissing` the records whose
  // value the rule maps to no child count as missing too. A child that no
  // record can take gets a condition that is always false; the text is
  // never empty.
  // The one entry: decides includeMissing from the rule's missing-value
  // child and `target`, and picks the exporter by measurement level and
  // storage type.
  std::string SplitRule_Export(const tree_800::SplitRule& rule, int child, ExportTargetFlag target,
                               const RuleExportOptions& options) const;
  // Category lists: the child's codes, or the other children's codes with
  // the missing values. `target` is not read.
  std::string NominalSplitRule_Export(const tree_800::SplitRule& rule, int child,
                                      ExportTargetFlag target, const RuleExportOptions& options,
                                      bool includeMissing) const;
  // Missing-value clauses and the child's range of values; with
  // `includeMissing`, also the values that no child's range holds.
  std::string OrdinalSplitRule_Export(const tree_800::SplitRule& rule, int child,
                                      ExportTargetFlag target, const RuleExportOptions& options,
                                      bool includeMissing) const;
  // The ordinal condition for a given child range: what
  // OrdinalSplitRule_Export writes once it has built the range.
  std::string ExportOrdinalClauses(const tree_800::SplitRule& rule, const Interval& childRange,
                                   ExportTargetFlag target, const RuleExportOptions& options,
                                   bool includeMissing) const;
  // An ordered split on a non-numeric predictor with a map encoder, written
  // as a nominal split over the encoder's codes; else as an ordinal split.
  std::string OrdinalToNominal_Export(const tree_800::SplitRule& rule, int child,
                                      ExportTargetFlag target, const RuleExportOptions& options,
                                      bool includeMissing) const;
  // Whether an attempt chain takes the rule: always.
  bool SplitRule_IsValid(const tree_800::SplitRule& rule) const;

  // Clause writers: each empties `out` (unless it says otherwise), writes its
  // clause and returns the number of conditions written; 0 adds nothing.
  // The child's range with the variable's user-missing range added or cut
  // out; in parentheses.
  int ExportIntervals(const tree_800::SplitRule& rule, std::string& out,
                      const RuleExportOptions& options, const Interval& childRange,
                      bool includeMissing, ExportTargetFlag target) const;
  // The test for the system-missing value, positive or negated.
  int ExportSystemMissing(const tree_800::SplitRule& rule, std::string& out,
                          const RuleExportOptions& options, bool includeMissing) const;
  // Comparisons with the discrete user-missing values: equal joined by OR,
  // or unequal joined by AND. In label edge mode `out` is left untouched.
  int ExportDiscreteMissing(const tree_800::SplitRule& rule, std::string& out,
                            const RuleExportOptions& options, const Interval& childRange,
                            bool includeMissing, ExportTargetFlag target,
                            bool writeAllValues) const;

  // A new chain over the node's primary split and surrogates, owned by the
  // caller.
  AttemptChain* BuildAttemptChain(const tree_800::Node& node) const;

 private:
  const mdt_800::Variable& Predictor(const tree_800::SplitRule& rule) const;
  // The variable's user-missing sets; null without encoder or missing values.
  static const mdt_800::EncodingSets* UserMissingSets(const mdt_800::Variable& variable);
  // The nominal text admitting missing values, written before the categories.
  std::string NominalMissingPrefix(const mdt_800::Variable& variable,
                                   const RuleExportOptions& options) const;
  // The values that no child's range of the ordered `rule` holds, as range
  // comparisons joined by OR; adds the number of ranges to `*count`. Empty
  // when the children's ranges leave no value out.
  std::string ExportUnplacedValues(const tree_800::SplitRule& rule,
                                   const RuleExportOptions& options, int* count) const;

  // The values that category `code` of the predictor at `predictor` stands
  // for, in stored order: decoded on first use, then kept.
  const std::vector<mdt_800::Variant>& CategoryValues(int predictor, int code) const;

  const tree_800::TreeAlgorithmBase* fnTree;
  const std::vector<mdt_800::Variable>* fnVariables;
  // Decoded category values by predictor index (high half) and code.
  mutable std::unordered_map<std::uint64_t, std::vector<mdt_800::Variant>> fnCategoryValues;
};

}  // namespace TreeOut_800
