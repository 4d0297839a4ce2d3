// Random documents under every missing value strategy, whose nodes split
// either by chains on one field (the loader's simple splits: ranges, category
// sets, surrogates, isMissing children, True and False) or by compounds over
// several fields (the general construction). For every record of a grid that
// lies on and beside every cut and leaves each field missing, the host's
// routing gives the answer that the document's own predicates give, and each
// document node's SQL selects the records whose route passes through it.
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "pmmlcheck.h"

namespace {

char const* const kFields[] = {"x", "y", "c", "d"};

class Generator {
 public:
  explicit Generator(unsigned seed) : fnRandom(seed) {}

  std::string Document() {
    static char const* const kStrategies[] = {
        "none",         "lastPrediction",     "nullPrediction",
        "defaultChild", "weightedConfidence", "aggregateNodes"};
    std::ostringstream out;
    out << R"(<PMML version="4.4"><DataDictionary>)"
        << R"(<DataField name="x" optype="continuous" dataType="double"/>)"
        << R"(<DataField name="y" optype="continuous" dataType="double"><Value value="99" property="missing"/></DataField>)"
        << R"(<DataField name="c" optype="categorical" dataType="string"><Value value="a"/><Value value="b"/><Value value="c"/><Value value="d"/></DataField>)"
        << R"(<DataField name="d" optype="continuous" dataType="dateTime"/>)"
        << R"(<DataField name="t" optype="categorical" dataType="string"><Value value="p"/><Value value="q"/></DataField>)"
        << R"(</DataDictionary><TransformationDictionary><DerivedField name="dt" optype="continuous" dataType="dateTime"><FieldRef field="d"/></DerivedField></TransformationDictionary><TreeModel functionName="classification" missingValueStrategy=")"
        << kStrategies[Pick(6)] << R"(" noTrueChildStrategy=")"
        << (Pick(2) ? "returnLastPrediction" : "returnNullPrediction") << '"'
        << (Pick(2) ? R"( missingValuePenalty="0.5")" : "") << ">"
        << R"(<MiningSchema><MiningField name="x"/><MiningField name="y"/><MiningField name="c"/><MiningField name="d"/><MiningField name="t" usageType="predicted"/></MiningSchema>)";
    Node(out, "<True/>", 0);
    out << "</TreeModel></PMML>";
    return out.str();
  }

 private:
  int Pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(fnRandom); }

  void Node(std::ostringstream& out, std::string const& predicate, int depth) {
    int const children = depth < 2 && (depth == 0 || Pick(3) > 0) ? 2 + Pick(2) : 0;
    out << "<Node id=\"" << ++fnIds << "\" score=\"" << (Pick(2) ? "p" : "q") << "\" recordCount=\""
        << 1 + Pick(40) << '"';
    if (children > 0) out << " defaultChild=\"" << fnIds + 1 << '"';
    out << '>' << predicate << "<ScoreDistribution value=\"p\" recordCount=\"" << 1 + Pick(9)
        << "\"/><ScoreDistribution value=\"q\" recordCount=\"" << Pick(9) << "\"/>";
    // Half the nodes split as exporters write them: each position of the
    // children's surrogate chains tests one field, two children by
    // complementary tests (so no known value is left to no child), one chain
    // perhaps a test shorter or ending in True, perhaps a third True or False
    // child; or overlapping tests before a True child; or constants only. An
    // isMissing test may stand beside one child. The other half test two
    // fields in their first child.
    if (Pick(2) && children > 0) {
      int const primary = Pick(4);
      std::vector<std::string> chains(2);
      if (Pick(10) == 0) {
        chains = {"<False/>", "<True/>"};
      } else if (Pick(10) == 0) {
        chains = {"<True/>", Pair(primary).first};
      } else if (Pick(4) == 0) {
        chains = {Pair(primary).first, Pick(2) ? Pair(primary).first : Pair(primary).second,
                  "<True/>"};
      } else {
        int const length = 1 + Pick(3);
        int const shorter = length > 1 && Pick(3) == 0 ? Pick(2) : -1;
        for (int j = 0; j < length; ++j) {
          auto pair = j == 0 ? Pair(primary) : Pair(Pick(4));
          if (Pick(3) == 0) {  // a compound on the one field, with its complement
            auto const other = Pair(j == 0 ? primary : FieldOf(pair.first));
            bool const constant = Pick(2);
            std::string const withTrue = Pick(2) ? (constant ? "<True/>" : "<False/>") : "";
            std::string const withFalse = withTrue.empty() ? "" : constant ? "<False/>" : "<True/>";
            pair = Pick(2) ? std::pair{Op("and", pair.first, other.first + withTrue),
                                       Op("or", pair.second, other.second + withFalse)}
                           : std::pair{Op("xor", pair.first, other.first + withFalse),
                                       Op("xor", pair.first, other.second + withFalse)};
          }
          if (j < length - 1 || shorter != 0) chains[0] += pair.first;
          if (j < length - 1 || shorter != 1) chains[1] += pair.second;
        }
        if (Pick(3) == 0) chains[Pick(2)] += "<True/>";
        for (std::string& chain : chains) {
          if (chain.find("<True/>") != std::string::npos || length > 1) {
            chain = Op("surrogate", chain, "");
          }
        }
      }
      if (Pick(3) == 0) {
        std::string& chain = chains[Pick(2)];
        chain =
            Op("or",
               R"(<SimplePredicate field=")" + std::string(kFields[Pick(2) ? primary : Pick(4)]) +
                   R"(" operator="isMissing"/>)",
               chain);
      }
      if (children > 2 && chains.size() == 2) chains.push_back(Pick(2) ? "<True/>" : "<False/>");
      for (std::string const& chain : chains) Node(out, chain, depth + 1);
    } else {
      for (int k = 0; k < children; ++k)
        Node(out, k == 0 ? Compound(2, true) : Predicate(2), depth + 1);
    }
    out << "</Node>";
  }

  static std::string Op(char const* op, std::string const& a, std::string const& b) {
    return std::string(R"(<CompoundPredicate booleanOperator=")") + op + "\">" + a + b +
           "</CompoundPredicate>";
  }

  static int FieldOf(std::string const& atom) {
    if (atom.find(R"(field="dt")") != std::string::npos) return 3;
    for (int f = 0; f < 4; ++f) {
      if (atom.find(std::string("field=\"") + kFields[f] + '"') != std::string::npos) return f;
    }
    return 0;
  }

  // A test of one field (x 0, y 1, c 2, d 3 or dt, its cast) and its
  // complement, in either order.
  std::pair<std::string, std::string> Pair(int field) {
    static char const* const kPairs[][2] = {
        {"lessThan", "greaterOrEqual"}, {"lessOrEqual", "greaterThan"}, {"equal", "notEqual"}};
    static char const* const kValues[][2] = {
        {"1", "2"}, {"10", "20"}, {"d", "d"}, {"2020-01-01T12:00:00", "2021-06-30"}};
    std::pair<std::string, std::string> pair;
    std::string const on =
        std::string("field=\"") + (field == 3 && Pick(2) ? "dt" : kFields[field]) + '"';
    if ((field == 0 || field == 2) && Pick(2)) {
      std::string const set = field == 0 ? R"(<Array type="real">1 3</Array>)"
                              : Pick(2)  ? R"(<Array type="string">a c</Array>)"
                                         : R"(<Array type="string">b</Array>)";
      pair = {"<SimpleSetPredicate " + on + R"( booleanOperator="isIn">)" + set +
                  "</SimpleSetPredicate>",
              "<SimpleSetPredicate " + on + R"( booleanOperator="isNotIn">)" + set +
                  "</SimpleSetPredicate>"};
    } else {
      int const p = field == 2 ? 2 : Pick(3);
      std::string const value = std::string(" value=\"") + kValues[field][Pick(2)] + "\"/>";
      pair = {"<SimplePredicate " + on + " operator=\"" + kPairs[p][0] + '"' + value,
              "<SimplePredicate " + on + " operator=\"" + kPairs[p][1] + '"' + value};
    }
    if (Pick(2)) std::swap(pair.first, pair.second);
    return pair;
  }

  std::string Atom() {
    if (Pick(7) == 0) {
      return std::string(R"(<SimplePredicate field=")") + kFields[Pick(4)] + "\" operator=\"" +
             (Pick(2) ? "isMissing" : "isNotMissing") + "\"/>";
    }
    return Pair(Pick(4)).first;
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
    if (twoFields) {
      text +=
          R"(<SimplePredicate field="x" operator="lessThan" value="2"/><SimpleSetPredicate field="c" booleanOperator="isIn"><Array type="string">a b</Array></SimpleSetPredicate>)";
    }
    for (int i = twoFields ? 2 : 0, parts = 2 + Pick(2); i < parts; ++i) {
      text += Predicate(depth - 1);
    }
    return text + "</CompoundPredicate>";
  }

  std::mt19937 fnRandom;
  int fnIds = 0;
};

// On and beside every cut, each field also missing; the dates go round
// beside the rest.
std::vector<std::vector<std::string>> Grid() {
  char const* const dates[] = {"", "2020-01-01T12:00:00", "2020-01-01T11:59:59", "2021-06-30",
                               "2021-06-30T00:00:01"};
  std::vector<std::vector<std::string>> rows;
  for (char const* x : {"", "0.5", "1", "1.5", "2", "2.5", "3", "3.5"}) {
    for (char const* y : {"", "5", "10", "15", "20", "25", "99"}) {
      for (char const* c : {"", "a", "b", "c", "d", "e"}) {
        rows.push_back({x, y, c, dates[rows.size() % 5]});
      }
    }
  }
  return rows;
}

TEST(RandomDocuments, RouteAsTheDocumentSays) {
  int added = 0;
  int sqlChecked = 0;
  std::vector<std::vector<std::string>> const grid = Grid();
  for (unsigned seed = 1; seed <= 300; ++seed) {
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
    std::vector<pmmltest::Values> records;
    int faults = 0;
    for (std::vector<std::string> const& row : grid) {
      records.push_back(pmmltest::Parse(*model, row));
      std::string const scored = pmmltest::Scored(*model, records.back());
      std::string const expected = pmmltest::ByDocument(*model, records.back());
      if (scored != expected && ++faults <= 3) {
        ADD_FAILURE() << "record " << ::testing::PrintToString(row) << ": scored " << scored
                      << ", the document says " << expected;
      }
    }
    for (std::string const& fault : pmmltest::SqlDisagreements(*model, records, &sqlChecked)) {
      ADD_FAILURE() << fault;
    }
  }
  EXPECT_GT(added, 200);  // the documents did need added nodes
  EXPECT_GT(sqlChecked, 1000);
}

}  // namespace
