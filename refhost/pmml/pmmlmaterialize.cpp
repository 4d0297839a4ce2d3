// The host nodes of a planned construction: each planned rule becomes a
// category split or an ordinal split on its field (a numeric rule gives each
// slot the one run of pieces it takes, pieces no record reaches joining the
// run before), added nodes come from the loader, and a document child
// reached from a second place is copied with its subtree.
#include <algorithm>
#include <memory>

#include "host/splitrule.h"
#include "refhost/ordinalsplit.h"
#include "refhost/pmml/pmmlcompound.h"

namespace refhost::pmml::compound {

// The host rule for one planned rule.
void Construction::AddRules(TreeNode& node, Rule const& rule, int slots, bool primary) {
  auto add = [&](std::unique_ptr<tree_800::SplitRuleImp> split) {
    if (primary) {
      node.SetPrimary(std::move(split));
      primary = false;
    } else {
      node.AddSurrogate(std::move(split));
    }
  };
  if (rule.fieldPos < 0) {
    // On the fallback field: everything to one slot, or nothing.
    if (fnRules.fallbackField < 0) {
      fnAt.Fail("its children's predicates name no field and the model has no field to split on");
    }
    FieldDef const& def = fnFields.defs[static_cast<std::size_t>(fnRules.fallbackField)];
    int const all = rule.slotOfClass.empty() ? -1 : rule.slotOfClass[0];
    if (def.categorical) {
      auto split = std::make_unique<tree_800::NSplitRule>(def.index, 0);
      for (std::size_t c = 1; all >= 0 && c <= def.categories.size(); ++c) {
        split->SetCatMapping(static_cast<int>(c), all);
      }
      split->SetNumChildren(slots);
      split->SetMissingValueMapping(all);
      add(std::move(split));
    } else {
      std::vector<Range> ranges(static_cast<std::size_t>(slots), Range::Between(0, true, 0, false));
      if (all >= 0) ranges[static_cast<std::size_t>(all)] = Writable(Range::All());
      add(std::make_unique<OrdinalSplit>(def.index, std::move(ranges), all));
    }
    return;
  }
  FieldClasses const& fc = fnClasses[static_cast<std::size_t>(rule.fieldPos)];
  FieldDef const& def = fnFields.defs[static_cast<std::size_t>(fc.field)];
  int const missing = rule.slotOfClass[0];
  if (fc.categorical) {
    auto split = std::make_unique<tree_800::NSplitRule>(def.index, 0);
    for (std::size_t c = 1; c < fc.codeClass.size(); ++c) {
      int const slot = rule.slotOfClass[static_cast<std::size_t>(fc.codeClass[c])];
      if (slot >= 0) split->SetCatMapping(static_cast<int>(c), slot);
    }
    split->SetNumChildren(slots);
    split->SetMissingValueMapping(missing);
    add(std::move(split));
    return;
  }
  // Per piece: a slot, -1 (the rule leaves it), or -2 (no record reaches).
  std::vector<int> slotOf;
  for (int cls : fc.pieceClass) {
    bool const reaches =
        rule.domain[static_cast<std::size_t>(rule.fieldPos)][static_cast<std::size_t>(cls)] != 0;
    slotOf.push_back(reaches ? rule.slotOfClass[static_cast<std::size_t>(cls)] : -2);
  }
  // Runs of pieces per slot; pieces no record reaches join the run before.
  std::vector<std::vector<std::pair<std::size_t, std::size_t>>> runs(
      static_cast<std::size_t>(slots));
  int current = -1;
  for (std::size_t p = 0; p < slotOf.size(); ++p) {
    int const s = slotOf[p];
    if (s == -2 && current >= 0) {
      runs[static_cast<std::size_t>(current)].back().second = p;
      continue;
    }
    if (s < 0) {
      current = -1;
      continue;
    }
    auto& mine = runs[static_cast<std::size_t>(s)];
    if (current == s) {
      mine.back().second = p;
    } else {
      mine.emplace_back(p, p);
    }
    current = s;
  }
  // Each slot has one run by construction (Slots).
  std::vector<Range> ranges(static_cast<std::size_t>(slots), Range::Between(0, true, 0, false));
  for (std::size_t s = 0; s < runs.size(); ++s) {
    if (runs[s].empty()) continue;
    Range const& lo = fc.pieces[runs[s].front().first];
    Range const& hi = fc.pieces[runs[s].back().second];
    Range const r = Range::Spanning(lo, hi);
    ranges[s] = def.hasUserMissing ? CodeSpace(Writable(r)) : Writable(r);
  }
  add(std::make_unique<OrdinalSplit>(def.index, std::move(ranges), missing));
}

void Construction::Materialize(TreeNode& parent, NodeMaker& maker) {
  std::vector<bool> used(fnChildren.size(), false);
  std::vector<TreeNode*> hosts(fnPlan.size(), nullptr);
  hosts[0] = &parent;
  // Children are reached in plan order; the first route to a document
  // child takes the child itself, later ones a copy.
  for (std::size_t i = 0; i < fnPlan.size(); ++i) {
    for (int target : fnPlan[i].slots) {
      if (target < 0) hosts[static_cast<std::size_t>(-1 - target)] = maker.Added(parent);
    }
  }
  for (std::size_t i = 0; i < fnPlan.size(); ++i) {
    PlanNode& plan = fnPlan[i];
    TreeNode& node = *hosts[i];
    if (plan.stopField >= 0) {
      // One child that no value reaches, so that the node is no leaf.
      FieldDef const& def = fnFields.defs[static_cast<std::size_t>(plan.stopField)];
      if (def.categorical) {
        auto split = std::make_unique<tree_800::NSplitRule>(def.index, 0);
        split->SetNumChildren(1);
        node.SetPrimary(std::move(split));
      } else {
        node.SetPrimary(std::make_unique<OrdinalSplit>(
            def.index, std::vector<Range>{Range::Between(0, true, 0, false)}, -1));
      }
      node.AddChild(maker.Added(parent));
      continue;
    }
    if (i == 0) {
      // Children that no rule reaches stay below the node, unreachable.
      for (std::size_t k = 0; k < fnChildren.size(); ++k) {
        if (std::find(plan.slots.begin(), plan.slots.end(), static_cast<int>(k)) ==
            plan.slots.end()) {
          bool referenced = false;
          for (PlanNode const& other : fnPlan) {
            referenced = referenced || std::find(other.slots.begin(), other.slots.end(),
                                                 static_cast<int>(k)) != other.slots.end();
          }
          if (!referenced) plan.slots.push_back(static_cast<int>(k));
        }
      }
    }
    int const slots = static_cast<int>(plan.slots.size());
    bool primary = true;
    for (Rule const& rule : plan.rules) {
      AddRules(node, rule, slots, primary);
      primary = false;
    }
    node.SetDefaultChild(plan.defaultSlot);
    for (int target : plan.slots) {
      if (target < 0) {
        node.AddChild(hosts[static_cast<std::size_t>(-1 - target)]);
      } else if (!used[static_cast<std::size_t>(target)]) {
        used[static_cast<std::size_t>(target)] = true;
        node.AddChild(fnChildren[static_cast<std::size_t>(target)].host);
      } else {
        node.AddChild(maker.Copy(*fnChildren[static_cast<std::size_t>(target)].host));
      }
    }
  }
}

}  // namespace refhost::pmml::compound
