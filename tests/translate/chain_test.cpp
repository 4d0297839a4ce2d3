// Attempt chains: which conditions each link is asked for, how the texts of
// one, two and three links are joined and bracketed, edge modes, the default
// child, and that a chain fetches its rules from the host once.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <stdexcept>
#include <string>

#include "hosttestutil.h"
#include "refhost/faults.h"
#include "refhost/objectcounts.h"
#include "refhost/treenode.h"
#include "translate/attemptchain.h"
#include "translate/ruleexportmanager.h"

namespace {

using namespace TreeOut_800;
using translatetest::Host;
using translatetest::Options;

// A nominal split sending code 1 to child 0 and code 2 to child 1, missing
// values nowhere, that counts the exports asking for its missing-value child
// (one per export). Copies share the count.
class CountingSplit : public tree_800::NSplitRule {
 public:
  CountingSplit(int predictor, int* exports) : NSplitRule(predictor, 0), fnExports(exports) {
    SetCatMapping(1, 0);
    SetCatMapping(2, 1);
  }
  tree_800::SplitRuleImp* Clone() const override { return new CountingSplit(*this); }
  int GetMissingValueMapping() const override {
    ++*fnExports;
    return NSplitRule::GetMissingValueMapping();
  }

 private:
  int* fnExports;
};

// A node that counts the rules it hands out, and may hand out null in place
// of one surrogate.
class CountingNode : public refhost::TreeNode {
 public:
  CountingNode() : TreeNode(0) {}
  tree_800::SplitRule* GetSplitRule(int index) const override {
    ++fnFetched;
    return TreeNode::GetSplitRule(index);
  }
  tree_800::SplitRule* GetSurrogate(int index) const override {
    ++fnFetched;
    return index == fnNullSurrogate ? nullptr : TreeNode::GetSurrogate(index);
  }
  mutable int fnFetched = 0;
  int fnNullSurrogate = -1;
};

// Nominal predictors p, s and t; a node split on p with surrogates s and t.
struct ChainHost {
  Host host;
  int exports[3] = {0, 0, 0};
  CountingNode node;
  explicit ChainHost(int links = 3, bool primary = true, int defaultChild = 1) {
    const char* names[] = {"p", "s", "t"};
    for (int i = 0; i < 3; ++i) {
      host.Add(translatetest::Numeric(names[i], mdt_800::Variable::LEVEL_NOMINAL));
    }
    for (int i = primary ? 0 : 1; i < links; ++i) {
      auto split = std::make_unique<CountingSplit>(i, &exports[i]);
      if (i == 0) {
        node.SetPrimary(std::move(split));
      } else {
        node.AddSurrogate(std::move(split));
      }
    }
    node.SetDefaultChild(defaultChild);
  }
};

std::string Export(const AttemptChain& chain, const ChainHost& h, int target,
                   int edgeMode = EDGE_MODE_PATH) {
  chain.SetExportTarget(target);
  return chain.Export(Options(DIALECT_GENERIC, edgeMode), h.host.Metadata());
}

// Each link's text tells its flag: for target 0, "(x = 1)" under flags 0 and
// 3 (missing values out), "(x != 2)" under flags 1 and 2 (missing values in).
struct ShapeCase {
  const char* name;
  int links;
  int target;
  int edgeMode;
  const char* expected;
  int exports[3];
};

TEST(Chain, ShapesAndFlags) {
  const ShapeCase kCases[] = {
      {"one link", 1, 0, EDGE_MODE_PATH, "(p = 1)", {1, 0, 0}},
      {"one link, default child", 1, 1, EDGE_MODE_PATH, "(p != 1)", {1, 0, 0}},
      {"two links", 2, 0, EDGE_MODE_PATH, "(((p = 1) OR (p != 2)  AND  (s = 1)))", {2, 1, 0}},
      {"three links",
       3,
       0,
       EDGE_MODE_PATH,
       "(((p = 1) OR (p != 2)  AND  ((s = 1) OR (s != 2)  AND  (t = 1))))",
       {2, 2, 1}},
      {"three links, default child",
       3,
       1,
       EDGE_MODE_PATH,
       "(((p = 2) OR (p != 1)  AND  ((s = 2) OR (s != 1)  AND  (t != 1))))",
       {2, 2, 1}},
      {"split mode: primary only", 3, 0, EDGE_MODE_SPLIT, "(p = 1)", {1, 0, 0}},
      {"split mode, default child", 3, 1, EDGE_MODE_SPLIT, "(p != 1)", {1, 0, 0}},
      {"label mode: primary only", 3, 0, EDGE_MODE_LABEL, "(p = 1)", {1, 0, 0}},
      {"any nonzero mode: primary only", 2, 0, 9, "(p = 1)", {1, 0, 0}},
  };
  for (const ShapeCase& c : kCases) {
    ChainHost h(c.links);
    const RuleExportManager manager = h.host.Manager();
    const std::unique_ptr<AttemptChain> chain(manager.BuildAttemptChain(h.node));
    EXPECT_EQ(chain->GetDumbRule(), 1) << c.name;
    EXPECT_EQ(Export(*chain, h, c.target, c.edgeMode), c.expected) << c.name;
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(h.exports[i], c.exports[i]) << c.name << ", exports of link " << i;
    }
  }
}

// Exporting another child asks the same rules again, not the host.
TEST(Chain, RulesFetchedOnce) {
  ChainHost h;
  const RuleExportManager manager = h.host.Manager();
  const std::unique_ptr<AttemptChain> chain(manager.BuildAttemptChain(h.node));
  EXPECT_EQ(h.node.fnFetched, 3);
  EXPECT_EQ(refhost::LiveObjects(refhost::ObjectKind::kSplitRule), 3);
  const std::string first = Export(*chain, h, 0);
  EXPECT_EQ(Export(*chain, h, 1),
            "(((p = 2) OR (p != 1)  AND  ((s = 2) OR (s != 1)  AND  (t != 1))))");
  EXPECT_EQ(Export(*chain, h, 0), first);
  EXPECT_EQ(h.node.fnFetched, 3);
  EXPECT_EQ(refhost::LiveObjects(refhost::ObjectKind::kSplitRule), 3);
}

TEST(Chain, NodesWithoutSomeRules) {
  {  // A leaf: no rules, empty text, no default child.
    ChainHost h(0, false);
    const RuleExportManager manager = h.host.Manager();
    const std::unique_ptr<AttemptChain> chain(manager.BuildAttemptChain(h.node));
    EXPECT_EQ(chain->GetDumbRule(), -1);
    EXPECT_EQ(Export(*chain, h, 0), "");
  }
  {  // Surrogates without a primary split: the default child is not read, so
     // the last link is written for an ordinary child even for child 1.
    ChainHost h(3, false);
    const RuleExportManager manager = h.host.Manager();
    const std::unique_ptr<AttemptChain> chain(manager.BuildAttemptChain(h.node));
    EXPECT_EQ(chain->GetDumbRule(), -1);
    EXPECT_EQ(Export(*chain, h, 1), "(((s = 2) OR (s != 1)  AND  (t = 2)))");
  }
  {  // A null surrogate is left out.
    ChainHost h;
    h.node.fnNullSurrogate = 0;
    const RuleExportManager manager = h.host.Manager();
    const std::unique_ptr<AttemptChain> chain(manager.BuildAttemptChain(h.node));
    EXPECT_EQ(Export(*chain, h, 0), "(((p = 1) OR (p != 2)  AND  (t = 1)))");
  }
}

TEST(Chain, HostFaultReleasesEverything) {
  const struct {
    const char* operation;
    long nth;
  } kFaults[] = {{"GetSplitRule", 1}, {"GetSurrogate", 1}, {"GetSurrogate", 2}};
  for (const auto& fault : kFaults) {
    ChainHost h;
    const RuleExportManager manager = h.host.Manager();
    refhost::FaultGuard guard(fault.operation, fault.nth);
    EXPECT_THROW(std::unique_ptr<AttemptChain>(manager.BuildAttemptChain(h.node)),
                 std::runtime_error)
        << fault.operation << " call " << fault.nth;
  }
  // A fault during an export leaves the chain as it was.
  ChainHost h;
  const RuleExportManager manager = h.host.Manager();
  const std::unique_ptr<AttemptChain> chain(manager.BuildAttemptChain(h.node));
  const std::string before = Export(*chain, h, 0);
  {
    refhost::FaultGuard guard("GetIterator", 4);
    EXPECT_THROW(Export(*chain, h, 0), std::runtime_error);
  }
  EXPECT_EQ(Export(*chain, h, 0), before);
}

}  // namespace
