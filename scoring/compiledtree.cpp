// Compiling: a first walk numbers the nodes as it meets them; a second pass
// asks each split node for its split rules and their value sets and flattens
// them, with targets in that numbering. A two-child ordered split whose
// ranges meet at one cut becomes the node's fast step; an excluded cut t
// becomes an included cut at the double just below t, which selects exactly
// the same numbers. Last, the nodes are laid out in prefix order with the
// child below a fast step's cut first, so that it lies right after its parent
// (a walk's loads stay close together and the node needs no field for it),
// and every target is renumbered.
#include "scoring/compiledtree.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "host/splitrule.h"
#include "host/systemmissing.h"

namespace TreeOut_800 {
namespace {

// Code sets spanning at most this many codes per code held use a dense table.
constexpr long kDenseSpanPerCode = 4;
constexpr long kDenseSpanExtra = 64;

}  // namespace

CompiledTree::CompiledTree(tree_800::NodeImp const* root, std::size_t numVariables)
    : fnNumVariables(numVariables), fnSysmis(systemMissingValue()) {
  if (root == nullptr) {
    fnUsable = false;
    return;
  }
  // Prefix order, with each node's children's indexes (kStop for a null child).
  struct Pending {
    tree_800::Node const* node;
    int parent;
    int child;
  };
  std::vector<tree_800::Node const*> order;
  std::vector<Pending> pending{{root, -1, 0}};
  while (!pending.empty()) {
    Pending const next = pending.back();
    pending.pop_back();
    int const index = static_cast<int>(order.size());
    order.push_back(next.node);
    if (next.parent >= 0) {
      fnChildIndexes[static_cast<std::size_t>(fnFirstChild[static_cast<std::size_t>(next.parent)] +
                                              next.child)] = index;
    }
    int const children = std::max(next.node->GetNumChildren(), 0);
    fnFirstChild.push_back(static_cast<int>(fnChildIndexes.size()));
    fnChildIndexes.resize(fnChildIndexes.size() + static_cast<std::size_t>(children), kStop);
    for (int i = children - 1; i >= 0; --i) {
      if (tree_800::Node const* child = next.node->GetChild(i)) {
        pending.push_back(Pending{child, index, i});
      }
    }
  }
  fnFirstChild.push_back(static_cast<int>(fnChildIndexes.size()));
  fnHostNodes.reserve(order.size());
  for (tree_800::Node const* node : order) {
    fnHostNodes.push_back(static_cast<tree_800::NodeImp const*>(node));
  }
  fnNodeRoutes.assign(order.size(), -1);
  for (std::size_t i = 0; i < order.size() && fnUsable; ++i) {
    fnUsable = CompileNode(*order[i], static_cast<int>(i));
  }
  if (fnUsable) LayOut();
  for (Rule const& rule : fnRules) fnPredictors.push_back(rule.predictor);
  std::sort(fnPredictors.begin(), fnPredictors.end());
  fnPredictors.erase(std::unique(fnPredictors.begin(), fnPredictors.end()), fnPredictors.end());
  // Only the walk's tables are kept.
  fnFirstChild = std::vector<int>();
  fnChildIndexes = std::vector<int>();
}

// The node index of child `child` of node `index`; kStop for a child that
// the node does not have (the host then keeps the record), kNone for a
// negative index.
int CompiledTree::ChildTarget(int index, int child) const {
  if (child < 0) return kNone;
  int const first = fnFirstChild[static_cast<std::size_t>(index)];
  if (child >= fnFirstChild[static_cast<std::size_t>(index) + 1] - first) return kStop;
  return fnChildIndexes[static_cast<std::size_t>(first + child)];
}

bool CompiledTree::CompileNode(tree_800::Node const& node, int index) {
  if (node.GetNumSplitRules() <= 0) return true;  // records stop here
  Route route{static_cast<int>(fnRules.size()), 0, kStop};
  int const dumb = node.GetDumbRuleIndex();
  route.defaultTarget = dumb < 0 ? kStop : ChildTarget(index, dumb);
  {
    std::unique_ptr<tree_800::SplitRule> const primary(node.GetSplitRule(0));
    if (primary == nullptr || !CompileRule(*primary, index)) return false;
  }
  int const surrogates = node.GetNumSurrogates();
  for (int s = 0; s < surrogates; ++s) {
    std::unique_ptr<tree_800::SplitRule> const surrogate(node.GetSurrogate(s));
    if (surrogate == nullptr || !CompileRule(*surrogate, index)) return false;
  }
  route.endRule = static_cast<int>(fnRules.size());
  fnNodeRoutes[static_cast<std::size_t>(index)] = static_cast<int>(fnRoutes.size());
  fnRoutes.push_back(route);
  return true;
}

void CompiledTree::LayOut() {
  std::size_t const count = fnHostNodes.size();
  // The primary split of a node with a fast step, else null.
  auto const fast = [this](std::size_t node) -> Rule const* {
    int const route = fnNodeRoutes[node];
    if (route < 0) return nullptr;
    Rule const& primary = fnRules[static_cast<std::size_t>(fnRoutes[route].firstRule)];
    bool const ok = primary.kind == Kind::kCut && primary.low >= 0 && primary.high >= 0 &&
                    primary.low != primary.high && !(fnSysmis > primary.cut);
    return ok ? &primary : nullptr;
  };
  std::vector<int> place(count, -1);
  std::vector<int> pending{0};
  int next = 0;
  while (!pending.empty()) {
    int const node = pending.back();
    pending.pop_back();
    place[static_cast<std::size_t>(node)] = next++;
    Rule const* const step = fast(static_cast<std::size_t>(node));
    int const low = step != nullptr ? step->low : -1;
    for (int c = fnFirstChild[static_cast<std::size_t>(node) + 1] - 1;
         c >= fnFirstChild[static_cast<std::size_t>(node)]; --c) {
      int const child = fnChildIndexes[static_cast<std::size_t>(c)];
      if (child >= 0 && child != low) pending.push_back(child);
    }
    if (low >= 0) pending.push_back(low);
  }

  double const nan = std::numeric_limits<double>::quiet_NaN();
  int const nanSlot = static_cast<int>(fnNumVariables);
  std::vector<Node> nodes(count, Node{nan, nanSlot, 0});
  std::vector<int> nodeRoutes(count);
  std::vector<tree_800::NodeImp const*> hostNodes(count);
  for (std::size_t i = 0; i < count; ++i) {
    std::size_t const at = static_cast<std::size_t>(place[i]);
    nodeRoutes[at] = fnNodeRoutes[i];
    hostNodes[at] = fnHostNodes[i];
    if (Rule const* step = fast(i)) {
      nodes[at] = Node{step->cut, step->predictor, place[static_cast<std::size_t>(step->high)]};
    }
  }
  fnNodes = std::move(nodes);
  fnNodeRoutes = std::move(nodeRoutes);
  fnHostNodes = std::move(hostNodes);

  auto const renumber = [&place](int& target) {
    if (target >= 0) target = place[static_cast<std::size_t>(target)];
  };
  for (Route& route : fnRoutes) renumber(route.defaultTarget);
  for (Rule& rule : fnRules) {
    renumber(rule.missingTarget);
    renumber(rule.low);
    renumber(rule.high);
  }
  for (int& target : fnTargets) renumber(target);
  for (CodeTarget& entry : fnCodes) renumber(entry.target);
  for (Range& range : fnRanges) renumber(range.target);
}

bool CompiledTree::CompileRule(tree_800::SplitRule const& rule, int index) {
  Rule compiled{};
  compiled.predictor = rule.GetPredictorIndex();
  if (compiled.predictor < 0 || static_cast<std::size_t>(compiled.predictor) >= fnNumVariables) {
    return false;
  }
  compiled.missingTarget = ChildTarget(index, rule.GetMissingValueMapping());
  std::vector<Range> ranges;
  std::vector<CodeTarget> codes;
  int const children = rule.GetNumChildren();
  for (int child = 0; child < children; ++child) {
    std::unique_ptr<tree_800::ValueSet> const set(rule.GetMappedValues(child));
    int const target = ChildTarget(index, child);
    if (auto const* range = dynamic_cast<tree_800::OValueSet const*>(set.get())) {
      ranges.push_back(Range{range->GetLowerBound(), range->GetUpperBound(), range->HasLowerBound(),
                             range->HasUpperBound(), range->IsLowerOpen(), range->IsUpperOpen(),
                             target});
    } else if (auto const* values = dynamic_cast<tree_800::NValueSet const*>(set.get())) {
      std::unique_ptr<tree_800::ValueIterator> const it(values->GetIterator());
      if (it == nullptr) return false;
      while (it->HasMore()) codes.push_back(CodeTarget{it->Next(), target});
    } else {
      return false;  // null, or a kind of set the compiled routing does not know
    }
  }
  if (!ranges.empty() && !codes.empty()) return false;

  if (!ranges.empty()) {
    // Two ranges that meet at one finite cut, one below and one above it.
    if (ranges.size() == 2) {
      Range const* below = &ranges[0];
      Range const* above = &ranges[1];
      if (below->hasLower) std::swap(below, above);
      bool const meet = !below->hasLower && below->hasUpper && above->hasLower &&
                        !above->hasUpper && below->upper == above->lower &&
                        below->upperOpen != above->lowerOpen && std::isfinite(below->upper);
      if (meet) {
        compiled.kind = Kind::kCut;
        compiled.cut = below->upperOpen ? std::nextafter(below->upper, -HUGE_VAL) : below->upper;
        compiled.low = below->target;
        compiled.high = above->target;
        fnRules.push_back(compiled);
        return true;
      }
    }
    compiled.kind = Kind::kRanges;
    compiled.first = static_cast<int>(fnRanges.size());
    compiled.count = static_cast<int>(ranges.size());
    fnRanges.insert(fnRanges.end(), ranges.begin(), ranges.end());
    fnRules.push_back(compiled);
    return true;
  }

  // Category codes: the first child that holds a code takes it.
  std::stable_sort(codes.begin(), codes.end(),
                   [](CodeTarget a, CodeTarget b) { return a.code < b.code; });
  codes.erase(std::unique(codes.begin(), codes.end(),
                          [](CodeTarget a, CodeTarget b) { return a.code == b.code; }),
              codes.end());
  long const span = codes.empty() ? 0 : long{codes.back().code} - codes.front().code + 1;
  if (span <= kDenseSpanPerCode * static_cast<long>(codes.size()) + kDenseSpanExtra) {
    compiled.kind = Kind::kDenseCodes;
    compiled.first = static_cast<int>(fnTargets.size());
    compiled.count = static_cast<int>(span);
    compiled.codeMin = codes.empty() ? 0 : codes.front().code;
    fnTargets.resize(fnTargets.size() + static_cast<std::size_t>(span), kNone);
    for (CodeTarget const& entry : codes) {
      fnTargets[static_cast<std::size_t>(compiled.first + (entry.code - compiled.codeMin))] =
          entry.target;
    }
  } else {
    compiled.kind = Kind::kSortedCodes;
    compiled.first = static_cast<int>(fnCodes.size());
    compiled.count = static_cast<int>(codes.size());
    fnCodes.insert(fnCodes.end(), codes.begin(), codes.end());
  }
  fnRules.push_back(compiled);
  return true;
}

// The target of a value that is not system-missing, or kNone.
int CompiledTree::Lookup(Rule const& rule, double x) const {
  switch (rule.kind) {
    case Kind::kCut:
      if (x <= rule.cut) return rule.low;
      if (x > rule.cut) return rule.high;
      return kNone;  // NaN
    case Kind::kDenseCodes:
    case Kind::kSortedCodes: {
      // A code matches only a number equal to it: whole and inside int.
      if (!(x >= std::numeric_limits<int>::min() && x <= std::numeric_limits<int>::max())) {
        return kNone;
      }
      long const code = static_cast<long>(x);
      if (static_cast<double>(code) != x) return kNone;
      if (rule.kind == Kind::kDenseCodes) {
        long const slot = code - rule.codeMin;
        if (slot < 0 || slot >= rule.count) return kNone;
        return fnTargets[static_cast<std::size_t>(rule.first + slot)];
      }
      auto const begin = fnCodes.begin() + rule.first;
      auto const end = begin + rule.count;
      auto const found = std::lower_bound(begin, end, code,
                                          [](CodeTarget entry, long c) { return entry.code < c; });
      return found != end && found->code == code ? found->target : kNone;
    }
    case Kind::kRanges:
      for (int i = rule.first; i < rule.first + rule.count; ++i) {
        Range const& r = fnRanges[static_cast<std::size_t>(i)];
        bool const aboveLower = !r.hasLower || (r.lowerOpen ? x > r.lower : x >= r.lower);
        bool const belowUpper = !r.hasUpper || (r.upperOpen ? x < r.upper : x <= r.upper);
        if (aboveLower && belowUpper) return r.target;
      }
      return kNone;
  }
  return kNone;
}

}  // namespace TreeOut_800
