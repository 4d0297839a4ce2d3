// The attempt chain of one node: its primary split rule, then its surrogates
// in the host's order of preference, and the default (dumb-rule) child. It
// writes the condition under which a record at the node reaches the export
// target, trying each rule only when the rules before it cannot place the
// record. The chain owns its rules; the manager must outlive it. One thread
// at a time: SetExportTarget and Export belong together.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/metadata.h"
#include "host/splitrule.h"
#include "ruletext/ruleexportoptions.h"

namespace TreeOut_800 {

class RuleExportManager;

class AttemptChain {
 public:
  explicit AttemptChain(const RuleExportManager* manager);
  AttemptChain(const AttemptChain&) = delete;
  AttemptChain& operator=(const AttemptChain&) = delete;
  ~AttemptChain();

  void SetDumbRule(int childIndex);
  int GetDumbRule() const;  // -1 when the node has no primary split
  void SetExportTarget(int childIndex) const;
  // Takes `rule` when it is not null and the manager accepts it; a rule the
  // manager rejects is destroyed.
  void AddLink(tree_800::SplitRule* rule);
  // The condition that a record at the node goes to the export target.
  // `metadata` is not read. Always false for a chain without rules.
  std::string Export(const RuleExportOptions& options,
                     const mdt_800::ModelMetadata& metadata) const;

 private:
  std::vector<std::unique_ptr<tree_800::SplitRule>> fnLinks;
  int fnDumbRule;
  mutable int fnExportTarget;
  const RuleExportManager* fnManager;
  // The links a record can reach: up to the first with a missing-value child.
  std::size_t fnAskedLinks;
};

}  // namespace TreeOut_800
