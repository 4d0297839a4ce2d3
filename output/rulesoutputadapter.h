// The library's entry point for rule text. An adapter is bound to one tree and
// its metadata, which must outlive it and stay unchanged while it lives.
// ExportRules writes the condition under which a record reaches one of the
// selected nodes and frames it as a statement of the dialect and mode that the
// options choose. The adapter owns its split-rule translator, caches one
// attempt chain per node whose edges it has written and the text of each
// edge per set of text options; the const export operations fill these
// caches, so calls on one adapter must not overlap.
// Nothing is caught: host and allocation exceptions reach the caller.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>

#include "host/metadata.h"
#include "host/node.h"
#include "host/record.h"
#include "output/stringwrapper.h"
#include "ruletext/exportmacro.h"
#include "ruletext/ruleexportoptions.h"
#include "selection/rulesnodeselection.h"

namespace TreeOut_800 {

class AttemptChain;
class EdgeTextCache;
class RuleExportManager;

class TREEOUT_EXPORT RulesOutputAdapter {
 public:
  // Stores both pointers unchecked and creates the split-rule translator over
  // them. Exporting needs a tree with a root and non-null metadata.
  RulesOutputAdapter(tree_800::TreeAlgorithmBase const* tree,
                     mdt_800::ModelMetadata const* metadata);
  // Destroys every cached chain once, then the translator.
  virtual ~RulesOutputAdapter();
  RulesOutputAdapter(RulesOutputAdapter const&) = delete;
  RulesOutputAdapter& operator=(RulesOutputAdapter const&) = delete;

  // The statement for the nodes of `selection` in the options' dialect and
  // mode; VELD text is wrapped into lines at width 256. A
  // writer's error text is returned as the result; an unknown dialect gives "".
  // The caller's selection is not changed.
  virtual StringWrapper ExportRules(RuleExportOptions const& options,
                                    RulesNodeSelection const& selection) const;

  // The process-wide version record: 0, 9, 0, 3, "Sat Oct 21 22:55:58 2017".
  // Made on the first call (thread-safe), released when the library unloads.
  MCTree_800::MCVersionImp const& GetVersion() const;

  // Adds `node` and all its ancestors to `activeNodes`; null does nothing.
  void ActivatePath(tree_800::Node const* node, std::set<tree_800::Node const*>* activeNodes) const;
  // The condition for the active part of the subtree below `node` (not null):
  // one alternative per active child in branch order, each the edge into the
  // child "  AND  " the child's own text, " OR " between alternatives and one
  // pair of brackets around two or more. "" when no child is active. Walks
  // with an explicit stack and appends each edge's text once: the cost is
  // linear in the text's length, whatever the depth.
  std::string ExportActiveSubtree(RuleExportOptions const& options, tree_800::Node const* node,
                                  std::set<tree_800::Node const*> const& activeNodes) const;
  // The condition under which a record at `node` (not null) goes to child
  // `childIndex` (REQUIRES: below the node's child count). Builds the node's
  // attempt chain on first use and reuses it for every later edge and export;
  // the edge's text is made once per set of text options and then reused.
  std::string ExportEdge(RuleExportOptions const& options, tree_800::Node const* node,
                         int childIndex) const;

  // `name` " = " `number`; `node` is not read.
  std::string GenerateNodeId(tree_800::Node const* node, int number, std::string name) const;
  // `name` " = " the node's prediction literal (which may be empty).
  std::string GenerateNodePrediction(tree_800::Node const* node, int number, std::string name,
                                     bool quoted) const;
  // `name` " = " the probability of the predicted class ("%f"), or an error
  // text for a node without class statistics.
  std::string GenerateNodeConfidence(tree_800::Node const* node, int number,
                                     std::string name) const;
  // The node's prediction as a literal: the predicted value of a regression
  // node (a date quoted when `quoted`), else the predicted category's decoded
  // value (strings, an inner quote doubled, and dates always in single
  // quotes). "" when it cannot be
  // written as one literal. Tolerates null metadata.
  std::string GetPredictionAsString(tree_800::Node const* node, bool quoted) const;

  // Selection statements. An empty condition selects every record. The VELD
  // and SQL writers do not read the selection; the generic writer needs
  // exactly one node and otherwise returns its error text.
  std::string ExportVELDSelect(std::string condition, RulesNodeSelection const& selection) const;
  std::string ExportSQLSelect(std::string condition, RulesNodeSelection const& selection) const;
  std::string ExportGenericSelect(std::string condition, RulesNodeSelection const& selection) const;

  // Update statements that store node number, prediction and (for
  // classification trees) probability for the records of the one selected
  // node; any other number of nodes gives the writer's error text. The generic
  // one returns the condition unchanged.
  std::string ExportVELDUpdate(std::string condition, RulesNodeSelection const& selection) const;
  std::string ExportSQLUpdate(std::string condition, RulesNodeSelection const& selection) const;
  std::string ExportGenericUpdate(std::string condition, RulesNodeSelection const& selection) const;

 private:
  // The cached text of an edge, made through the node's chain when missing.
  // Internal: not exported from the shared library.
  __attribute__((visibility("hidden"))) std::string const& EdgeText(
      RuleExportOptions const& options, tree_800::Node const* node, int childIndex) const;

  tree_800::TreeAlgorithmBase const* fnTree;
  mdt_800::ModelMetadata const* fnMetadata;
  // One chain per node whose edges were exported; owned, never refreshed.
  mutable std::map<tree_800::Node const*, std::unique_ptr<AttemptChain>> fnAttemptChains;
  std::unique_ptr<RuleExportManager> fnExportManager;
  // Edge texts by edge and text options; owned.
  std::unique_ptr<EdgeTextCache> fnEdgeTexts;
};

}  // namespace TreeOut_800
