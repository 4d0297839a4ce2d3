// The builder's node descriptions and the tree made from them: every check
// runs before the tree is put together, so a malformed description gives one
// message that names the node and what is wrong.
#include <cstdio>
#include <limits>
#include <set>
#include <stdexcept>

#include "host/systemmissing.h"
#include "refhost/builder.h"
#include "refhost/categoryencoder.h"
#include "refhost/numbertext.h"
#include "refhost/ordinalsplit.h"

namespace refhost {
namespace {

double const kInf = std::numeric_limits<double>::infinity();

[[noreturn]] void Fail(std::string const& where, std::string const& what) {
  throw std::invalid_argument(where + ": " + what);
}

std::string Text(mdt_800::Variant const& value) {
  switch (value.GetType()) {
    case mdt_800::Variant::TYPE_STRING:
      return "'" + static_cast<std::string const&>(value) + "'";
    case mdt_800::Variant::TYPE_LONG:
      return std::to_string(static_cast<long>(value));
    case mdt_800::Variant::TYPE_DOUBLE:
      return ShortestText(static_cast<double>(value));
  }
  return "(no value)";
}

// "1 child", "2 children".
std::string Count(int n, char const* one, char const* many) {
  return std::to_string(n) + " " + (n == 1 ? one : many);
}

// Turns one described split into the host's rule for it, checking it against
// the model and the node.
class SplitResolver {
 public:
  SplitResolver(Metadata const& metadata, std::string where)
      : fnMetadata(metadata), fnWhere(std::move(where)) {}

  std::unique_ptr<tree_800::SplitRuleImp> Resolve(Split const& split, int missingChild) const {
    int const nvars = static_cast<int>(fnMetadata.GetVariables().size());
    int const var = split.GetVariable();
    if (var < 0 || var >= nvars) {
      Fail(fnWhere, "predictor " + std::to_string(var) + " out of range (model has " +
                        Count(nvars, "variable", "variables") + ")");
    }
    mdt_800::Variable const& variable = fnMetadata.GetVariables()[var];
    int const children = split.NumChildren();
    if (children < 1) Fail(fnWhere, "split has no children");
    if (missingChild >= children || missingChild < -1) {
      Fail(fnWhere, "missing-value child " + std::to_string(missingChild) +
                        " out of range (split has " + Count(children, "child", "children") + ")");
    }
    if (split.IsNominal()) return Nominal(split, variable, missingChild);
    return Ordered(split, variable, missingChild);
  }

 private:
  std::string Name(mdt_800::Variable const& v) const { return "variable '" + v.GetName() + "'"; }

  // The code of a category value: its map-encoder code, or the number itself
  // for a variable without categories.
  int CodeOf(mdt_800::Variant const& value, mdt_800::Variable const& variable) const {
    auto const* categories = dynamic_cast<CategoryEncoder const*>(variable.GetEncoding());
    double code = systemMissingValue();
    if (categories != nullptr) {
      code = categories->Encode(value);
    } else if (value.GetType() == mdt_800::Variant::TYPE_DOUBLE ||
               value.GetType() == mdt_800::Variant::TYPE_LONG) {
      double const number = static_cast<double>(value);
      if (number == static_cast<double>(static_cast<int>(number))) code = number;
    }
    if (code == systemMissingValue()) {
      Fail(fnWhere, "category " + Text(value) + " not declared for " + Name(variable));
    }
    return static_cast<int>(code);
  }

  std::unique_ptr<tree_800::SplitRuleImp> Nominal(Split const& split,
                                                  mdt_800::Variable const& variable,
                                                  int missingChild) const {
    auto rule = std::make_unique<tree_800::NSplitRule>(split.GetVariable(), 0);
    auto const* categories = dynamic_cast<CategoryEncoder const*>(variable.GetEncoding());
    std::vector<std::pair<int, int>> seen;  // (code, child)
    int const children = split.NumChildren();
    for (int child = 0; child < children; ++child) {
      std::vector<std::pair<int, std::string>> codes;
      if (split.GetKind() == Split::kNominalValues) {
        for (auto const& value : split.GetValues()[child]) {
          codes.emplace_back(CodeOf(value, variable), "category " + Text(value));
        }
      } else {
        for (int code : split.GetCodes()[child]) {
          if (categories != nullptr && (code < 1 || code > categories->NumCodes())) {
            Fail(fnWhere, "code " + std::to_string(code) + " not declared for " + Name(variable));
          }
          codes.emplace_back(code, "code " + std::to_string(code));
        }
      }
      for (auto const& code : codes) {
        for (auto const& earlier : seen) {
          if (earlier.first == code.first) {
            Fail(fnWhere, code.second + " sent to children " + std::to_string(earlier.second) +
                              " and " + std::to_string(child));
          }
        }
        seen.emplace_back(code.first, child);
        rule->SetCatMapping(code.first, child);
      }
    }
    rule->SetNumChildren(children);
    rule->SetMissingValueMapping(missingChild);
    return rule;
  }

  std::unique_ptr<tree_800::SplitRuleImp> Ordered(Split const& split,
                                                  mdt_800::Variable const& variable,
                                                  int missingChild) const {
    std::vector<double> cuts = split.GetCuts();
    if (split.GetKind() == Split::kCategoryCuts) {
      if (dynamic_cast<CategoryEncoder const*>(variable.GetEncoding()) == nullptr) {
        Fail(fnWhere, Name(variable) + " has no categories to cut at");
      }
      for (auto const& value : split.GetCategoryCuts()) cuts.push_back(CodeOf(value, variable));
    }
    std::vector<Range> ranges;
    if (split.GetKind() == Split::kRanges) {
      ranges = split.GetRanges();
      for (std::size_t i = 0; i < ranges.size(); ++i) {
        Range const& r = ranges[i];
        bool const codeSpaceShape = (!r.hasLower || r.lowerOpen) && (!r.hasUpper || !r.upperOpen);
        if (variable.GetEncoding() != nullptr && !codeSpaceShape) {
          Fail(fnWhere,
               "range " + std::to_string(i) + " on encoded " + Name(variable) + " must be (a, b]");
        }
      }
    } else {
      double lower = -kInf;
      for (std::size_t i = 0; i <= cuts.size(); ++i) {
        if (i < cuts.size() && i > 0 && !(cuts[i - 1] < cuts[i])) {
          Fail(fnWhere, "cut points not ascending");
        }
        if (i == 0) {
          ranges.push_back(cuts.empty() ? Range::All() : Range::AtMost(cuts[0]));
        } else if (i == cuts.size()) {
          ranges.push_back(Range::Above(lower));
        } else {
          ranges.push_back(Range::Between(lower, true, cuts[i], false));
        }
        if (i < cuts.size()) lower = cuts[i];
      }
    }
    return std::make_unique<OrdinalSplit>(split.GetVariable(), std::move(ranges), missingChild);
  }

  Metadata const& fnMetadata;
  std::string fnWhere;
};

}  // namespace

NodeSpec& NodeSpec::Child(int index, unsigned int id) {
  fnChildren.emplace_back(index, id);
  return *this;
}

NodeSpec& NodeSpec::Children(std::vector<unsigned int> ids) {
  for (std::size_t i = 0; i < ids.size(); ++i) Child(static_cast<int>(i), ids[i]);
  return *this;
}

NodeSpec& NodeSpec::SplitBy(Split const& split) {
  fnSplit = split;
  return *this;
}

NodeSpec& NodeSpec::SplitOrdinal(int variable, std::vector<double> cuts) {
  return SplitBy(Split::Cuts(variable, std::move(cuts)));
}

NodeSpec& NodeSpec::SplitNominal(int variable,
                                 std::vector<std::vector<mdt_800::Variant>> valuesPerChild) {
  return SplitBy(Split::Nominal(variable, std::move(valuesPerChild)));
}

NodeSpec& NodeSpec::SplitCodes(int variable, std::vector<std::vector<int>> codesPerChild) {
  return SplitBy(Split::Codes(variable, std::move(codesPerChild)));
}

NodeSpec& NodeSpec::SplitRanges(int variable, std::vector<Range> ranges) {
  return SplitBy(Split::Ranges(variable, std::move(ranges)));
}

NodeSpec& NodeSpec::MissingChild(int child) {
  fnMissingChild = child;
  return *this;
}

NodeSpec& NodeSpec::Surrogate(Split const& split) {
  fnSurrogates.push_back(split);
  return *this;
}

NodeSpec& NodeSpec::DefaultChild(int child) {
  fnDefaultChild = child;
  return *this;
}

NodeSpec& NodeSpec::Predict(int category, std::vector<double> probabilities) {
  fnClassStats.emplace(category, std::move(probabilities));
  return *this;
}

NodeSpec& NodeSpec::PredictValue(double value) {
  fnValue = value;
  return *this;
}

std::unique_ptr<Tree> ModelBuilder::BuildTree(Metadata const& metadata) const {
  std::map<unsigned int, NodeSpec> descs = fnNodes;  // with implicit leaves added
  std::map<unsigned int, unsigned int> parentOf;
  for (auto const& [id, desc] : fnNodes) {
    for (auto const& [index, child] : desc.fnChildren) {
      descs.emplace(child, NodeSpec());
      auto const [at, added] = parentOf.emplace(child, id);
      if (!added) {
        std::string const where = "node " + std::to_string(child);
        if (at->second == id) Fail(where, "child of node " + std::to_string(id) + " twice");
        Fail(where, "child of both node " + std::to_string(at->second) + " and node " +
                        std::to_string(id));
      }
    }
  }
  if (descs.empty()) throw std::invalid_argument("no nodes");
  std::vector<unsigned int> roots;
  for (auto const& entry : descs) {
    if (parentOf.count(entry.first) == 0) roots.push_back(entry.first);
  }
  if (roots.empty()) throw std::invalid_argument("no root: every node is some node's child");
  if (roots.size() > 1) {
    throw std::invalid_argument("two roots: node " + std::to_string(roots[0]) + " and node " +
                                std::to_string(roots[1]));
  }

  mdt_800::Variable const* target = metadata.GetTarget();
  auto const* targetCodes =
      target ? dynamic_cast<CategoryEncoder const*>(target->GetEncoding()) : nullptr;

  // Check each node and make its rules, before any node is linked.
  std::map<unsigned int, std::unique_ptr<tree_800::SplitRuleImp>> primaries;
  std::map<unsigned int, std::vector<std::unique_ptr<tree_800::SplitRuleImp>>> surrogates;
  std::map<unsigned int, std::vector<unsigned int>> childIds;
  for (auto const& [id, desc] : descs) {
    std::string const where = "node " + std::to_string(id);
    int numChildren = 0;
    for (auto const& entry : desc.fnChildren) numChildren = std::max(numChildren, entry.first + 1);
    int const splitChildren = desc.fnSplit ? desc.fnSplit->NumChildren() : numChildren;
    std::vector<unsigned int>& ids = childIds[id];
    ids.assign(static_cast<std::size_t>(std::max(numChildren, splitChildren)), 0);
    std::vector<bool> given(ids.size(), false);
    for (auto const& [index, child] : desc.fnChildren) {
      if (index < 0 || index >= splitChildren) {
        Fail(where, "child index " + std::to_string(index) + " out of range (split has " +
                        Count(splitChildren, "child", "children") + ")");
      }
      if (given[index]) Fail(where, "child index " + std::to_string(index) + " given twice");
      given[index] = true;
      ids[index] = child;
    }
    for (std::size_t i = 0; i < given.size(); ++i) {
      if (!given[i]) Fail(where, "child " + std::to_string(i) + " not given");
    }
    if (desc.fnSplit) {
      int missing =
          desc.fnMissingChild >= 0 ? desc.fnMissingChild : desc.fnSplit->GetMissingChild();
      primaries[id] = SplitResolver(metadata, where).Resolve(*desc.fnSplit, missing);
    } else if (desc.fnMissingChild >= 0) {
      Fail(where, "missing-value child without a split");
    }
    for (std::size_t i = 0; i < desc.fnSurrogates.size(); ++i) {
      std::string const at = where + " surrogate " + std::to_string(i);
      if (!desc.fnSplit) Fail(at, "no primary split");
      Split const& s = desc.fnSurrogates[i];
      if (s.NumChildren() != splitChildren) {
        Fail(at, "has " + Count(s.NumChildren(), "child", "children") + ", primary split " +
                     std::to_string(splitChildren));
      }
      surrogates[id].push_back(SplitResolver(metadata, at).Resolve(s, s.GetMissingChild()));
    }
    if (desc.fnDefaultChild < -1 || desc.fnDefaultChild >= static_cast<int>(ids.size())) {
      Fail(where, "default child " + std::to_string(desc.fnDefaultChild) +
                      " out of range (node has " +
                      Count(static_cast<int>(ids.size()), "child", "children") + ")");
    }
    if (desc.fnClassStats) {
      if (targetCodes == nullptr) Fail(where, "class statistics need a categorical target");
      int const n = targetCodes->NumCodes();
      int const predicted = desc.fnClassStats->first;
      if (predicted < 1 || predicted > n) {
        Fail(where, "predicted category " + std::to_string(predicted) +
                        " out of range (target has " + Count(n, "category", "categories") + ")");
      }
      if (static_cast<int>(desc.fnClassStats->second.size()) != n) {
        Fail(where, Count(static_cast<int>(desc.fnClassStats->second.size()), "probability",
                          "probabilities") +
                        " for " + Count(n, "category", "categories"));
      }
    }
    if (desc.fnValue && (target == nullptr || targetCodes != nullptr)) {
      Fail(where, "a predicted value needs a continuous target");
    }
  }

  // Link the nodes in prefix order from the root; a cycle leaves some out.
  auto tree = std::make_unique<Tree>();
  std::vector<std::pair<unsigned int, TreeNode*>> pending;  // (id, parent)
  pending.emplace_back(roots[0], nullptr);
  while (!pending.empty()) {
    auto const [id, parent] = pending.back();
    pending.pop_back();
    TreeNode* node = tree->AddNode(id);
    if (parent != nullptr) parent->AddChild(node);
    NodeSpec const& desc = descs.at(id);
    if (primaries.count(id) != 0) node->SetPrimary(std::move(primaries[id]));
    for (auto& surrogate : surrogates[id]) node->AddSurrogate(std::move(surrogate));
    node->SetDefaultChild(desc.fnDefaultChild);
    if (desc.fnClassStats) {
      node->SetClassStatistics(desc.fnClassStats->first, desc.fnClassStats->second);
    }
    if (desc.fnValue) node->SetValueStatistics(*desc.fnValue);
    std::vector<unsigned int> const& ids = childIds[id];
    for (auto it = ids.rbegin(); it != ids.rend(); ++it) pending.emplace_back(*it, node);
  }
  for (auto const& entry : descs) {
    if (tree->Find(entry.first) == nullptr) {
      Fail("node " + std::to_string(entry.first), "not reachable from the root (cycle)");
    }
  }
  return tree;
}

}  // namespace refhost
