// Random documents whose nodes split by boolean compounds over several
// fields, under every missing value strategy: for every record of a grid
// that lies on and beside every cut and leaves each field missing, the
// host's routing (with the nodes the loader adds) gives the answer that the
// document's own predicates give, and each document node's SQL selects the
// records whose route passes through it.
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "pmmlcheck.h"

namespace {

class Generator {
 public:
  explicit Generator(unsigned seed) : fnRandom(seed) {}

  std::string Document() {
    static char const* const kStrategies[] = {
        "none",         "lastPrediction",     "nullPrediction",
        "defaultChild", "weightedConfidence", "aggregateNodes"};
    std::string const strategy = kStrategies[Pick(6)];
    std::ostringstream out;
    out << R"(<PMML version="4.4"><DataDictionary>)"
        << R"(<DataField name="x" optype="continuous" dataType="double"/>)"
        << R"(<DataField name="y" optype="continuous" dataType="double"><Value value="99" property="missing"/></DataField>)"
        << R"(<DataField name="c" optype="categorical" dataType="string"><Value value="a"/><Value value="b"/><Value value="c"/><Value value="d"/></DataField>)"
        << R"(<DataField name="t" optype="categorical" dataType="string"><Value value="p"/><Value value="q"/></DataField>)"
        << R"(</DataDictionary><TreeModel functionName="classification" missingValueStrategy=")"
        << strategy << R"(" noTrueChildStrategy=")"
        << (Pick(2) ? "returnLastPrediction" : "returnNullPrediction") << '"'
        << (Pick(2) ? R"( missingValuePenalty="0.5")" : "") << ">"
        << R"(<MiningSchema><MiningField name="x"/><MiningField name="y"/><MiningField name="c"/><MiningField name="t" usageType="predicted"/></MiningSchema>)";
    Node(out, "<True/>", 0);
    out << "</TreeModel></PMML>";
    return out.str();
  }

 private:
  int Pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(fnRandom); }

  void Node(std::ostringstream& out, std::string const& predicate, int depth) {
    int const id = ++fnIds;
    int const children = depth < 2 && (depth == 0 || Pick(3) > 0) ? 2 + Pick(2) : 0;
    out << "<Node id=\"" << id << "\" score=\"" << (Pick(2) ? "p" : "q") << "\" recordCount=\""
        << 1 + Pick(40) << '"';
    if (children > 0) out << " defaultChild=\"" << fnIds + 1 << '"';
    out << '>' << predicate << "<ScoreDistribution value=\"p\" recordCount=\"" << 1 + Pick(9)
        << "\"/><ScoreDistribution value=\"q\" recordCount=\"" << Pick(9) << "\"/>";
    for (int k = 0; k < children; ++k) {
      // The first child tests two fields at once, so the general
      // construction always has work.
      std::string const p = k == 0 ? Compound(2, true) : Predicate(2);
      if (k == 0 && children > 0) {
        // Make the default child the first one's id (written above).
      }
      Node(out, p, depth + 1);
    }
    out << "</Node>";
  }

  std::string Atom() {
    static char const* const kOps[] = {"lessThan",       "lessOrEqual", "greaterThan",
                                       "greaterOrEqual", "equal",       "notEqual"};
    switch (Pick(7)) {
      case 0:
      case 1:
        return std::string(R"(<SimplePredicate field="x" operator=")") + kOps[Pick(6)] +
               "\" value=\"" + std::to_string(1 + Pick(3)) + "\"/>";
      case 2:
        return std::string(R"(<SimplePredicate field="y" operator=")") + kOps[Pick(4)] +
               "\" value=\"" + std::to_string(10 * (1 + Pick(2))) + "\"/>";
      case 3:
        return std::string(R"(<SimpleSetPredicate field="c" booleanOperator=")") +
               (Pick(2) ? "isIn" : "isNotIn") + R"("><Array type="string">)" +
               (Pick(2) ? "a c" : "b") + "</Array></SimpleSetPredicate>";
      case 4:
        return std::string(R"(<SimplePredicate field="c" operator=")") +
               (Pick(2) ? "equal" : "notEqual") + R"(" value="d"/>)";
      case 5:
        return std::string(R"(<SimplePredicate field=")") + "xyc"[Pick(3)] + "\" operator=\"" +
               (Pick(2) ? "isMissing" : "isNotMissing") + "\"/>";
      default:
        return std::string(R"(<SimpleSetPredicate field="x" booleanOperator=")") +
               (Pick(2) ? "isIn" : "isNotIn") +
               R"("><Array type="real">1 3</Array></SimpleSetPredicate>)";
    }
  }

  std::string Predicate(int depth) {
    int const r = Pick(10);
    if (r == 0) return Pick(2) ? "<True/>" : "<False/>";
    if (r < 5 || depth == 0) return Atom();
    return Compound(depth, false);
  }

  std::string Compound(int depth, bool twoFields) {
    // Two fields under and/or/xor: never a simple split.
    static char const* const kOps[] = {"and", "or", "xor", "surrogate"};
    std::string text = std::string("<CompoundPredicate booleanOperator=\"") +
                       kOps[Pick(twoFields ? 3 : 4)] + "\">";
    int const parts = 2 + Pick(2);
    for (int i = 0; i < parts; ++i) {
      if (twoFields && i < 2) {
        text +=
            i == 0
                ? R"(<SimplePredicate field="x" operator="lessThan" value="2"/>)"
                : R"(<SimpleSetPredicate field="c" booleanOperator="isIn"><Array type="string">a b</Array></SimpleSetPredicate>)";
      } else {
        text += Predicate(depth - 1);
      }
    }
    return text + "</CompoundPredicate>";
  }

  std::mt19937 fnRandom;
  int fnIds = 0;
};

std::vector<pmmltest::Values> Grid(refhost::PmmlModel const& model) {
  std::vector<pmmltest::Values> records;
  for (char const* x : {"", "0.5", "1", "1.5", "2", "2.5", "3", "3.5"}) {
    for (char const* y : {"", "5", "10", "15", "20", "25", "99"}) {
      for (char const* c : {"", "a", "b", "c", "d", "e"}) {
        records.push_back(pmmltest::Parse(model, {x, y, c}));
      }
    }
  }
  return records;
}

TEST(CompoundPredicates, RouteAsTheDocumentSays) {
  int compared = 0;
  int added = 0;
  int sqlChecked = 0;
  for (unsigned seed = 1; seed <= 150; ++seed) {
    std::string const text = Generator(seed).Document();
    SCOPED_TRACE("seed " + std::to_string(seed) + "\n" + text);
    refhost::LoadOptions options;
    options.keepPredicates = true;
    std::unique_ptr<refhost::PmmlModel> model;
    try {
      model = std::make_unique<refhost::PmmlModel>(refhost::LoadPmml(text, options));
    } catch (refhost::PmmlError const& e) {
      ADD_FAILURE() << e.what();
      continue;
    }
    tree_800::PrefixNodeIterator walk(model->GetModel().Root());
    while (walk.HasMore()) added += model->IsAdded(walk.Next()->GetId());
    std::vector<pmmltest::Values> const records = Grid(*model);
    int faults = 0;
    for (pmmltest::Values const& record : records) {
      std::string const scored = pmmltest::Scored(*model, record);
      std::string const expected = pmmltest::ByDocument(*model, record);
      if (scored != expected && ++faults <= 3) {
        ADD_FAILURE() << "record "
                      << (record[0].GetType() == 3 ? std::string("-")
                                                   : std::to_string(static_cast<double>(record[0])))
                      << ","
                      << (record[1].GetType() == 3 ? std::string("-")
                                                   : std::to_string(static_cast<double>(record[1])))
                      << ","
                      << (record[2].GetType() == 3 ? std::string("-")
                                                   : static_cast<std::string const&>(record[2]))
                      << ": scored " << scored << ", the document says " << expected;
      }
      ++compared;
    }
    for (std::string const& fault : pmmltest::SqlDisagreements(*model, records, &sqlChecked)) {
      ADD_FAILURE() << fault;
    }
  }
  EXPECT_GT(added, 100);  // the documents did need added nodes
  EXPECT_GT(sqlChecked, 500);
  std::printf("%d records compared; SQL of %d nodes checked\n", compared, sqlChecked);
}

}  // namespace
