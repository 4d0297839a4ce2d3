// The SQL text against the tree: for one-level trees built with the reference
// host, each child's condition (the root's attempt chain exported for that
// child) runs in SQLite over generated records (NULLs, user-missing values,
// values on the cut points, unseen categories), and must select exactly the
// records that the host routes to that child.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "../support/sqliterecords.h"
#include "refhost/builder.h"
#include "refhost/dates.h"
#include "refhost/records.h"
#include "translate/attemptchain.h"
#include "translate/ruleexportmanager.h"

namespace {

using namespace TreeOut_800;
using mdt_800::Variant;
using refhost::Range;
using refhost::Split;

const Variant kNull;  // a value without content: NULL in the table

// Every combination of the given values, one list per variable.
std::vector<std::vector<Variant>> Combinations(const std::vector<std::vector<Variant>>& values) {
  std::vector<std::vector<Variant>> records(1);
  for (const auto& column : values) {
    std::vector<std::vector<Variant>> longer;
    for (const auto& record : records) {
      for (const Variant& value : column) {
        longer.push_back(record);
        longer.back().push_back(value);
      }
    }
    records = std::move(longer);
  }
  return records;
}

std::string Describe(const std::vector<Variant>& record) {
  std::ostringstream text;
  for (const Variant& value : record) {
    if (value.GetType() == Variant::TYPE_STRING) {
      text << " '" << static_cast<const std::string&>(value) << "'";
    } else if (value.GetType() == Variant::TYPE_NONE) {
      text << " NULL";
    } else {
      text << " " << static_cast<double>(value);
    }
  }
  return text.str();
}

// A record on which one child's text and the routing knowingly part, and why.
using KnownDifference = std::function<bool(int child, const std::vector<Variant>&)>;

// Runs every child's condition of the root of `model` over the records and
// compares with the routing; records that `known` names may disagree, and
// some must.
void CheckAgainstRouting(const char* name, const refhost::Model& model,
                         const std::vector<std::vector<Variant>>& values,
                         const KnownDifference& known = nullptr) {
  const std::vector<std::vector<Variant>> records = Combinations(values);
  testsupport::SqliteRecords db(model.GetMetadata().GetVariables());
  for (const auto& record : records) db.Insert(record);

  RuleExportOptions options;
  options.fnDialect = DIALECT_SQL;
  options.fnNumberFormat = 1;  // exact numbers: records on a cut stay on their side
  const RuleExportManager manager(&model.GetTree(), &model.GetMetadata());
  const tree_800::Node& root = *model.Root();
  const std::unique_ptr<AttemptChain> chain(manager.BuildAttemptChain(root));
  int knownCount = 0;
  for (int child = 0; child < root.GetNumChildren(); ++child) {
    chain->SetExportTarget(child);
    const std::string where = chain->Export(options, model.GetMetadata());
    const std::vector<int> selected = db.Select(where);
    const unsigned int childId = root.GetChild(child)->GetId();
    std::vector<bool> isSelected(records.size(), false);
    for (int id : selected) isSelected[id] = true;
    for (std::size_t i = 0; i < records.size(); ++i) {
      const bool routed = model.Route(refhost::MakeRecord(records[i])) == childId;
      if (routed == isSelected[i]) continue;
      if (known && known(child, records[i])) {
        ++knownCount;
        continue;
      }
      ADD_FAILURE() << name << ", child " << child << ": record" << Describe(records[i])
                    << (routed ? " routed there but not selected" : " selected but not routed")
                    << "\n  WHERE " << where;
    }
  }
  if (known) {
    EXPECT_GT(knownCount, 0) << name << ": the known case did not show";
  }
}

using B = refhost::ModelBuilder;
using N = refhost::NodeSpec;
using Probes = std::vector<std::vector<Variant>>;

int Region(B& b) {
  return b.Nominal("region", {"north", "south", "east", "west"}).Missing({"unknown"});
}
int Size(B& b) { return b.OrderedCategories("size", {"S", "M", "L", "XL"}); }
N& Regions3(B& b) {
  return b.Node(0)
      .SplitNominal(Region(b), {{"north", "south"}, {"east"}, {"west"}})
      .Children({1, 2, 3});
}
N& Zone(B& b) {
  return b.Node(0).SplitCodes(b.Nominal("zone").Missing({9.0}), {{1, 2}, {3}}).Children({1, 2});
}
// income cut at 50, user-missing 99 and [low, high], a range above or below the cut.
N& Income(B& b, double low, double high) {
  const int income = b.Scale("income").Missing({99.0}).MissingRange(low, high);
  return b.Node(0).SplitOrdinal(income, {50}).Children({1, 2});
}
N& Sizes(B& b) { return b.Node(0).SplitBy(Split::CategoryCuts(Size(b), {"M"})).Children({1, 2}); }
// region split in two, with income and then size as surrogates.
N& WithSurrogates(B& b, int surrogates) {
  const int region = Region(b), income = b.Scale("income").Missing({99.0}), size = Size(b);
  N& root = b.Node(0)
                .SplitNominal(region, {{"north", "south"}, {"east", "west"}})
                .Children({1, 2})
                .Surrogate(Split::Cuts(income, {50}));
  return surrogates > 1 ? root.Surrogate(Split::CategoryCuts(size, {"M"})) : root;
}
const Probes kStrings = {{"north", "south", "east", "west", "unknown", kNull, "mars"}};
const Probes kZones = {{1.0, 2.0, 3.0, 4.0, 2.5, 9.0, kNull}};
const Probes kIncomes = {{kNull, -10.0, -9.0, -5.0, -1.0, -0.5, 0.0, 49.999, 50.0, 50.0001, 96.0,
                          97.0, 97.5, 98.0, 98.5, 99.0, 100.0}};
const Probes kSizes = {{"S", "M", "L", "XL", "XXL", kNull}};
const Probes kThree = {{"north", "east", "unknown", kNull, "mars"},
                       {kNull, 50.0, 60.0, 99.0},
                       {"S", "L", kNull, "XXL"}};
const double kCut = refhost::DateNumberFromIso("2000-01-01");
// Cuts whose exact text needs 17 digits, the smallest positive normal-ish
// 1e-300 and the low value; records on each cut and one step to either side.
const double kLow = std::nextafter(-std::numeric_limits<double>::max(), 0.0);
const std::vector<double> kExactCuts = {kLow, 1e-300, 2.4511689320206642e-2, 0.30000000000000004};
Probes ExactProbes() {
  Probes probes(1, {kNull});
  for (double cut : kExactCuts) {
    probes[0].push_back(cut);
    probes[0].push_back(std::nextafter(cut, std::numeric_limits<double>::infinity()));
    if (cut != kLow) probes[0].push_back(std::nextafter(cut, -1.0));
  }
  return probes;
}

TEST(SqlCheck, ChildTextsSelectWhatTheHostRoutes) {
  const struct {
    const char* name;
    std::function<void(B&)> build;
    Probes probes;
    KnownDifference known = nullptr;
  } kCases[] = {
      {"strings", [](B& b) { Regions3(b); }, kStrings},
      {"strings, missing child", [](B& b) { Regions3(b).MissingChild(2); }, kStrings},
      {"strings, default child", [](B& b) { Regions3(b).DefaultChild(1); }, kStrings},
      {"codes", [](B& b) { Zone(b); }, kZones},
      {"codes, missing child", [](B& b) { Zone(b).MissingChild(0); }, kZones},
      {"quotes inside values",
       [](B& b) {
         b.Node(0)
             .SplitNominal(b.Nominal("city", {"O'Neill", "say \"no\"", "''"}),
                           {{"O'Neill"}, {"say \"no\"", "''"}})
             .Children({1, 2});
       },
       {{"O'Neill", "say \"no\"", "''", "'", "O", kNull}}},
      {"exact cuts",
       [](B& b) {
         b.Node(0).SplitOrdinal(b.Scale("x"), kExactCuts).Children({1, 2, 3, 4, 5});
       },
       ExactProbes()},
      {"range above, missing child 1", [](B& b) { Income(b, 97, 98).MissingChild(1); }, kIncomes},
      {"range above, missing child 0", [](B& b) { Income(b, 97, 98).MissingChild(0); }, kIncomes},
      {"range below, missing child 1", [](B& b) { Income(b, -9, -1).MissingChild(1); }, kIncomes},
      {"range below, missing child 0", [](B& b) { Income(b, -9, -1).MissingChild(0); }, kIncomes},
      {"range above, default child 0", [](B& b) { Income(b, 97, 98).DefaultChild(0); }, kIncomes},
      {"range below, default child 1", [](B& b) { Income(b, -9, -1).DefaultChild(1); }, kIncomes},
      {"range below, nowhere", [](B& b) { Income(b, -9, -1); }, kIncomes},
      {"ranges without encoder",
       [](B& b) {
         b.Node(0)
             .SplitRanges(b.Scale("x"), {Range::Below(10), Range::Between(10, false, 20, false),
                                         Range::Above(20)})
             .Children({1, 2, 3});
       },
       {{kNull, -1e300, 9.99, 10.0, 15.0, 20.0, 20.01}}},
      {"dates",
       [](B& b) {
         b.Node(0).SplitOrdinal(b.Scale("day").Date(), {kCut}).Children({1, 2}).DefaultChild(0);
       },
       {{kNull, refhost::DateNumberFromIso("1999-12-31"), kCut, kCut + 1,
         refhost::DateNumberFromIso("2017-10-21")}}},
      {"ordered strings", [](B& b) { Sizes(b); }, kSizes},
      {"ordered strings, default child", [](B& b) { Sizes(b).DefaultChild(1); }, kSizes},
      // Known: a record on a bin boundary (18) goes to the upper bin's child,
      // but the text ends each child's range at its last bin's excluded end.
      {"binned codes [-inf, 18), [18, 65), [65, +inf)",
       [](B& b) {
         b.Node(0).SplitBy(Split::Cuts(b.Binned("age", {18, 65}), {1})).Children({1, 2});
       },
       {{kNull, 0.0, 17.99, 18.0, 18.01, 64.99, 65.0, 90.0}},
       [](int, const std::vector<Variant>& r) { return Describe(r) == " 18"; }},
      {"one surrogate", [](B& b) { WithSurrogates(b, 1); }, kThree},
      {"one surrogate, default child", [](B& b) { WithSurrogates(b, 1).DefaultChild(1); }, kThree},
      {"two surrogates", [](B& b) { WithSurrogates(b, 2); }, kThree},
      {"two surrogates, default 0", [](B& b) { WithSurrogates(b, 2).DefaultChild(0); }, kThree},
      {"two surrogates, default 1", [](B& b) { WithSurrogates(b, 2).DefaultChild(1); }, kThree},
      {"surrogates, missing child",
       [](B& b) { WithSurrogates(b, 2).MissingChild(1).DefaultChild(0); }, kThree},
      // A link with a missing-value child places every record: the surrogate
      // is never asked.
      {"ordered primary with missing child and surrogate",
       [](B& b) {
         const int income = b.Scale("income").Missing({99.0});
         const int region = b.Nominal("region", {"north", "east"});
         b.Node(0)
             .SplitOrdinal(income, {50})
             .Children({1, 2})
             .MissingChild(1)
             .Surrogate(Split::Nominal(region, {{"north"}, {"east"}}));
       },
       {{kNull, 40.0, 50.0, 60.0, 99.0}, {"north", "east", "south", kNull}}},
  };
  for (const auto& c : kCases) {
    B b;
    c.build(b);
    CheckAgainstRouting(c.name, b.Build(), c.probes, c.known);
  }
}

}  // namespace
