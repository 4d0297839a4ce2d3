// The program's SQL run by SQLite over the records of a CSV file loaded as
// the README says (empty fields as NULL): the whole update script, with the
// columns it adds, stamps every record with the node, prediction and
// probability that `treeout score` gives, and each leaf's SELECT returns the
// records that scoring puts in that leaf. Names that need quoting included.
#include <sqlite3.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>

#include <gtest/gtest.h>

#include "program.h"
#include "refhost/numbertext.h"

namespace {

using e2e::ParseCsv;
using e2e::Treeout;
using Table = std::vector<std::vector<std::string>>;

std::string Quoted(std::string const& name) {
  std::string quoted = "\"";
  for (char c : name) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

// An in-memory database holding one CSV file as table `table`: a REAL
// column where every value is a number, else TEXT; empty and NA as NULL;
// `_row` counts the records from 1.
class Database {
 public:
  Database(Table const& csv, std::string const& table) {
    sqlite3_open(":memory:", &fnDb);
    std::string create = "CREATE TABLE " + Quoted(table) + " (_row INTEGER";
    std::vector<bool> numeric(csv[0].size(), true);
    for (std::size_t r = 1; r < csv.size(); ++r) {
      for (std::size_t i = 0; i < numeric.size(); ++i) {
        if (!Missing(csv[r][i]) && !refhost::ParseDouble(csv[r][i])) numeric[i] = false;
      }
    }
    for (std::size_t i = 0; i < csv[0].size(); ++i)
      create += ", " + Quoted(csv[0][i]) + (numeric[i] ? " REAL" : " TEXT");
    Run(create + ")");
    // Values bound, not spelled: SQLite's own reading of a number text may
    // differ from the exact double in the last place.
    std::string insert = "INSERT INTO " + Quoted(table) + " VALUES (?";
    for (std::size_t i = 0; i < csv[0].size(); ++i) insert += ", ?";
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(fnDb, (insert + ")").c_str(), -1, &statement, nullptr);
    for (std::size_t r = 1; r < csv.size(); ++r) {
      sqlite3_reset(statement);
      sqlite3_bind_int64(statement, 1, static_cast<sqlite3_int64>(r));
      for (std::size_t i = 0; i < csv[r].size(); ++i) {
        std::string const& v = csv[r][i];
        int const at = static_cast<int>(i) + 2;
        if (Missing(v)) {
          sqlite3_bind_null(statement, at);
        } else if (numeric[i]) {
          sqlite3_bind_double(statement, at, *refhost::ParseDouble(v));
        } else {
          sqlite3_bind_text(statement, at, v.c_str(), static_cast<int>(v.size()), SQLITE_TRANSIENT);
        }
      }
      EXPECT_EQ(sqlite3_step(statement), SQLITE_DONE) << sqlite3_errmsg(fnDb);
    }
    sqlite3_finalize(statement);
  }
  ~Database() { sqlite3_close(fnDb); }

  // Runs `sql`; the rows of its last statement's result, each as text.
  Table Run(std::string const& sql) {
    Table rows;
    char* error = nullptr;
    int const rc = sqlite3_exec(
        fnDb, sql.c_str(),
        [](void* out, int n, char** values, char** names) {
          auto& table = *static_cast<Table*>(out);
          if (table.empty()) table.emplace_back(names, names + n);
          table.emplace_back();
          for (int i = 0; i < n; ++i) table.back().push_back(values[i] ? values[i] : "");
          return 0;
        },
        &rows, &error);
    std::string const message = error ? error : "";
    sqlite3_free(error);
    EXPECT_EQ(rc, SQLITE_OK) << message << "\n" << sql.substr(0, 2000);
    return rows;
  }

 private:
  static bool Missing(std::string const& v) { return v.empty() || v == "NA"; }
  sqlite3* fnDb = nullptr;
};

bool SameNumber(std::string const& a, std::string const& b, double tolerance) {
  double const x = std::strtod(a.c_str(), nullptr), y = std::strtod(b.c_str(), nullptr);
  return std::fabs(x - y) <= tolerance * std::max(1.0, std::fabs(x));
}

// A model whose names are SQL keywords of each engine, hold blanks, quotes,
// slashes and a final period, with thresholds of 17 digits and at the edge of
// the doubles, and records on each threshold.
char const kHostile[] = R"(<?xml version="1.0"?>
<PMML version="4.4" xmlns="http://www.dmg.org/PMML-4_4">
  <DataDictionary>
    <DataField name="order" optype="continuous" dataType="double"/>
    <DataField name="mean radius" optype="continuous" dataType="double"/>
    <DataField name="Select" optype="categorical" dataType="string"><Value value="Low"/><Value value="mid"/><Value value="HIGH"/></DataField>
    <DataField name="a&quot;b/c." optype="continuous" dataType="double"/>
    <DataField name="group" optype="categorical" dataType="string"><Value value="yes"/><Value value="no"/></DataField>
  </DataDictionary>
  <TreeModel functionName="classification" missingValueStrategy="none" noTrueChildStrategy="returnLastPrediction">
    <MiningSchema><MiningField name="order"/><MiningField name="mean radius"/><MiningField name="Select"/><MiningField name="a&quot;b/c."/><MiningField name="group" usageType="target"/></MiningSchema>
    <Node id="1" score="yes"><True/><ScoreDistribution value="yes" recordCount="6"/><ScoreDistribution value="no" recordCount="4"/>
      <Node id="2" score="no"><SimplePredicate field="order" operator="lessOrEqual" value="0.30000000000000004"/><ScoreDistribution value="yes" recordCount="1"/><ScoreDistribution value="no" recordCount="3"/>
        <Node id="4" score="yes"><SimpleSetPredicate field="Select" booleanOperator="isIn"><Array type="string">Low HIGH</Array></SimpleSetPredicate><ScoreDistribution value="yes" recordCount="1"/><ScoreDistribution value="no" recordCount="1"/></Node>
        <Node id="5" score="no"><SimpleSetPredicate field="Select" booleanOperator="isIn"><Array type="string">mid</Array></SimpleSetPredicate><ScoreDistribution value="yes" recordCount="0"/><ScoreDistribution value="no" recordCount="2"/></Node>
      </Node>
      <Node id="3" score="yes"><SimplePredicate field="order" operator="greaterThan" value="0.30000000000000004"/><ScoreDistribution value="yes" recordCount="5"/><ScoreDistribution value="no" recordCount="1"/>
        <Node id="6" score="yes"><SimplePredicate field="mean radius" operator="lessOrEqual" value="2.4511689320206642e-2"/><ScoreDistribution value="yes" recordCount="3"/><ScoreDistribution value="no" recordCount="0"/></Node>
        <Node id="7" score="no"><SimplePredicate field="mean radius" operator="greaterThan" value="2.4511689320206642e-2"/><ScoreDistribution value="yes" recordCount="2"/><ScoreDistribution value="no" recordCount="1"/>
          <Node id="8" score="yes"><SimplePredicate field="a&quot;b/c." operator="lessOrEqual" value="1e-300"/><ScoreDistribution value="yes" recordCount="2"/><ScoreDistribution value="no" recordCount="0"/></Node>
          <Node id="9" score="no"><SimplePredicate field="a&quot;b/c." operator="greaterThan" value="1e-300"/><ScoreDistribution value="yes" recordCount="0"/><ScoreDistribution value="no" recordCount="1"/></Node>
        </Node>
      </Node>
    </Node>
  </TreeModel>
</PMML>
)";

char const kHostileData[] =
    "order,mean radius,Select,\"a\"\"b/c.\",id\n"
    "0.30000000000000004,1,Low,1,1\n0.3,1,mid,1,2\n0.30000000000000009,1,HIGH,1,3\n"
    ",1,Low,1,4\n0.2,1,,1,5\n0.2,1,other,1,6\n"
    "1,2.4511689320206642e-2,Low,1,7\n1,0.024511689320206646,Low,1e-300,8\n"
    "1,0.5,mid,1e-300,9\n1,0.5,mid,1.0000000000000001e-300,10\n"
    "1,0.5,mid,1.0000000000000002e-300,11\n1,0.5,mid,,12\n1,,mid,0,13\n";

struct ScriptCase {
  char const* name;
  std::string model, data;
  char const* quoteNames;
  std::vector<std::string> leaves = {};  // leaves whose SELECT is checked too
};

// The test log names a case by its name, not by its bytes.
void PrintTo(ScriptCase const& c, std::ostream* out) { *out << c.name; }

class SqlScript : public testing::TestWithParam<ScriptCase> {};

TEST_P(SqlScript, StampsWhatScoringGives) {
  ScriptCase const& c = GetParam();
  e2e::Run const score = Treeout({"score", c.model, c.data});
  ASSERT_EQ(score.status, 0) << score.err;
  Table const scores = ParseCsv(score.out);
  bool const classification = scores[0].size() == 3;
  e2e::Run const script = Treeout({"rules", c.model, "--update", "--add-columns", "--table",
                                   "main.order", "--quote-names", c.quoteNames});
  ASSERT_EQ(script.status, 0) << script.err;
  Database db(ParseCsv(e2e::ReadFile(c.data)), "order");
  db.Run(script.out);
  Table const stamped =
      db.Run(std::string("SELECT nod_001, pre_001") + (classification ? ", prb_001" : "") +
             " FROM \"order\" ORDER BY _row");
  ASSERT_EQ(stamped.size(), scores.size());
  for (std::size_t r = 1; r < scores.size(); ++r) {
    SCOPED_TRACE("record " + std::to_string(r));
    EXPECT_EQ(stamped[r][0], scores[r][0]);
    if (!scores[r][1].empty()) {
      EXPECT_TRUE(stamped[r][1] == scores[r][1] || SameNumber(stamped[r][1], scores[r][1], 1e-12))
          << stamped[r][1] << " vs " << scores[r][1];
    }
    if (classification && !scores[r][2].empty()) {
      // The update writes probabilities as "%f": six decimals.
      EXPECT_NEAR(std::strtod(stamped[r][2].c_str(), nullptr),
                  std::strtod(scores[r][2].c_str(), nullptr), 5e-7);
    }
  }
  // Each leaf's SELECT returns exactly the records scoring puts there.
  for (std::string const& leaf : c.leaves) {
    std::vector<std::string> rows;
    for (std::size_t r = 1; r < scores.size(); ++r) {
      if (scores[r][0] == leaf) rows.push_back(std::to_string(r));
    }
    e2e::Run const select = Treeout({"rules", c.model, "--nodes", leaf, "--table", "main.order",
                                     "--quote-names", c.quoteNames});
    ASSERT_EQ(select.status, 0) << select.err;
    std::string const statement = select.out.substr(0, select.out.rfind(';'));
    Table const got = db.Run("SELECT _row FROM (" + statement + ") ORDER BY _row");
    std::vector<std::string> ids;
    for (std::size_t i = 1; i < got.size(); ++i) ids.push_back(got[i][0]);
    EXPECT_EQ(ids, rows) << "leaf " << leaf << "\n" << select.out;
  }
}

std::string const kHostileModel = e2e::WriteFile("hostile.pmml", kHostile);
std::string const kHostileCsv = e2e::WriteFile("hostile.csv", kHostileData);
std::vector<std::string> const kHostileLeaves{"4", "5", "6", "8", "9"};

INSTANTIATE_TEST_SUITE_P(
    Models, SqlScript,
    testing::Values(
        ScriptCase{"HostileNames", kHostileModel, kHostileCsv, "needed", kHostileLeaves},
        ScriptCase{"HostileNamesAlwaysQuoted", kHostileModel, kHostileCsv, "always",
                   kHostileLeaves},
        ScriptCase{"CuSummary", e2e::TestData("trained/rpart_cu_class/model.pmml"),
                   e2e::TestData("trained/rpart_cu_class/data.csv"), "needed"},
        ScriptCase{"AirQuality", e2e::TestData("trained/rpart_airq_reg_code99/model.pmml"),
                   e2e::TestData("trained/rpart_airq_reg_code99/data.csv"), "needed"},
        ScriptCase{"Solder", e2e::TestData("trained/rpart_solder_class/model.pmml"),
                   e2e::TestData("trained/rpart_solder_class/data.csv"), "needed"},
        ScriptCase{"Wine", e2e::TestData("trained/sk_wine_class/model.pmml"),
                   e2e::TestData("trained/sk_wine_class/data.csv"), "always"},
        ScriptCase{"Audit", e2e::TestData("external/AuditTree.xml"),
                   e2e::TestData("external/Audit.csv"), "needed"},
        ScriptCase{"Airline", e2e::Example("airline.pmml"), e2e::Example("airline.csv"), "needed"}),
    [](testing::TestParamInfo<ScriptCase> const& info) { return std::string(info.param.name); });

}  // namespace
