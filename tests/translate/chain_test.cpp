// Attempt chains: the flag each link is asked with, joining and bracketing of
// one to three links, edge modes, the default child, rules fetched once.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>

#include "hosttestutil.h"
#include "tests/support/faults.h"
#include "tests/support/objectcounts.h"
#include "translate/attemptchain.h"
#include "translate/ruleexportmanager.h"

namespace {

using namespace TreeOut_800;
using translatetest::ChainHost;

std::string Export(const AttemptChain& chain, const ChainHost& h, int target,
                   int edgeMode = EDGE_MODE_PATH) {
  chain.SetExportTarget(target);
  return chain.Export(translatetest::Options(DIALECT_GENERIC, edgeMode), h.host.Metadata());
}

// A link's text tells its flag: for target 0, "(x = 1)" under flags 0 and 3
// (missing values out), "(x != 2)" under flags 1 and 2 (missing values in).
// Any nonzero edge mode (split, label, 9) writes the primary only. A link
// with a missing-value child (here to child 0) ends the chain.
TEST(Chain, ShapesAndFlags) {
  const struct {
    int links, target, edgeMode;
    int exports[3];
    const char* expected;
    int missingLink = -1;
  } kCases[] = {
      {1, 0, EDGE_MODE_PATH, {1, 0, 0}, "(p = 1)"},
      {1, 1, EDGE_MODE_PATH, {1, 0, 0}, "(p != 1)"},
      {2, 0, EDGE_MODE_PATH, {2, 1, 0}, "(((p = 1) OR (p != 2)  AND  (s = 1)))"},
      {3,
       0,
       EDGE_MODE_PATH,
       {2, 2, 1},
       "(((p = 1) OR (p != 2)  AND  ((s = 1) OR (s != 2)  AND  (t = 1))))"},
      {3,
       1,
       EDGE_MODE_PATH,
       {2, 2, 1},
       "(((p = 2) OR (p != 1)  AND  ((s = 2) OR (s != 1)  AND  (t != 1))))"},
      {3, 0, EDGE_MODE_SPLIT, {1, 0, 0}, "(p = 1)"},
      {3, 1, EDGE_MODE_SPLIT, {1, 0, 0}, "(p != 1)"},
      {3, 0, EDGE_MODE_LABEL, {1, 0, 0}, "(p = 1)"},
      {2, 0, 9, {1, 0, 0}, "(p = 1)"},
      {3, 0, EDGE_MODE_PATH, {2, 1, 0}, "(((p = 1) OR (p != 2)  AND  (s != 2)))", 1},
      {3, 1, EDGE_MODE_PATH, {2, 1, 0}, "(((p = 2) OR (p != 1)  AND  (s = 2)))", 1},
      {3, 1, EDGE_MODE_PATH, {1, 0, 0}, "(p = 2)", 0},
  };
  for (const auto& c : kCases) {
    ChainHost h(c.links, true, 1, c.missingLink);
    const RuleExportManager manager = h.host.Manager();
    const std::unique_ptr<AttemptChain> chain(manager.BuildAttemptChain(h.node));
    std::fill(std::begin(h.exports), std::end(h.exports), 0);  // count the export's calls only
    EXPECT_EQ(chain->GetDumbRule(), 1) << "row " << (&c - kCases);
    EXPECT_EQ(Export(*chain, h, c.target, c.edgeMode), c.expected) << "row " << (&c - kCases);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(h.exports[i], c.exports[i]) << "row " << (&c - kCases) << ", exports of link " << i;
    }
  }
}

// Exporting another child asks the same rules again, not the host.
TEST(Chain, RulesFetchedOnce) {
  ChainHost h;
  const RuleExportManager manager = h.host.Manager();
  const std::unique_ptr<AttemptChain> chain(manager.BuildAttemptChain(h.node));
  const std::string first = Export(*chain, h, 0);
  EXPECT_EQ(Export(*chain, h, 1),
            "(((p = 2) OR (p != 1)  AND  ((s = 2) OR (s != 1)  AND  (t != 1))))");
  EXPECT_EQ(Export(*chain, h, 0), first);
  EXPECT_EQ(h.node.fnFetched, 3);
  EXPECT_EQ(refhost::LiveObjects(refhost::ObjectKind::kSplitRule), 3);
}

// A leaf: no rules, no default child, no record goes on. Surrogates without a primary: the
// default child is not read, so the last link is written as for an ordinary
// child. A null surrogate is left out.
TEST(Chain, NodesWithoutSomeRules) {
  const struct {
    const char* name;
    int links;
    bool primary;
    int nullSurrogate, target, dumbRule;
    const char* expected;
  } kCases[] = {
      {"leaf", 0, false, -1, 0, -1, "(1 = 0)"},
      {"no primary", 3, false, -1, 1, -1, "(((s = 2) OR (s != 1)  AND  (t = 2)))"},
      {"null surrogate", 3, true, 0, 0, 1, "(((p = 1) OR (p != 2)  AND  (t = 1)))"},
  };
  for (const auto& c : kCases) {
    ChainHost h(c.links, c.primary);
    h.node.fnNullSurrogate = c.nullSurrogate;
    const RuleExportManager manager = h.host.Manager();
    const std::unique_ptr<AttemptChain> chain(manager.BuildAttemptChain(h.node));
    EXPECT_EQ(chain->GetDumbRule(), c.dumbRule) << c.name;
    EXPECT_EQ(Export(*chain, h, c.target), c.expected) << c.name;
  }
}

TEST(Chain, FaultDuringExportLeavesTheChainAsItWas) {
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
