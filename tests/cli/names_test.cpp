// Names made safe for each dialect: one row per rule.
#include <gtest/gtest.h>

#include "cli/sqlnames.h"

namespace {

using treeout_cli::SqlIdentifier;

struct NameCase {
  char const* rule;
  std::string name;
  std::string sql;     // with --quote-names needed
  std::string always;  // with --quote-names always
};

TEST(SqlNames, QuotedWhenNotPlainOrAKeyword) {
  NameCase const cases[] = {
      {"plain", "age", "age", "\"age\""},
      {"plain with underscore and digits", "_x1", "_x1", "\"_x1\""},
      {"mixed case kept as it is", "Age", "Age", "\"Age\""},
      {"digit first", "2nd", "\"2nd\"", "\"2nd\""},
      {"blank", "mean radius", "\"mean radius\"", "\"mean radius\""},
      {"period and slash", "od280/od315.x", "\"od280/od315.x\"", "\"od280/od315.x\""},
      {"inner quote doubled", "a\"b", "\"a\"\"b\"", "\"a\"\"b\""},
      {"a quoted name is quoted again", "\"q\"", "\"\"\"q\"\"\"", "\"\"\"q\"\"\""},
      {"non-ASCII letter", "größe", "\"größe\"", "\"größe\""},
      {"empty", "", "\"\"", "\"\""},
      {"SQL:2016 reserved word, any case", "Order", "\"Order\"", "\"Order\""},
      {"PostgreSQL reserved keyword", "limit", "\"limit\"", "\"limit\""},
      {"SQLite keyword", "PRAGMA", "\"PRAGMA\"", "\"PRAGMA\""},
      {"DuckDB reserved keyword", "qualify", "\"qualify\"", "\"qualify\""},
      {"a keyword inside a name is no keyword", "orders", "orders", "\"orders\""},
  };
  for (NameCase const& c : cases) {
    EXPECT_EQ(SqlIdentifier(c.name), c.sql) << c.rule;
    EXPECT_EQ(SqlIdentifier(c.name, true), c.always) << c.rule;
  }
  EXPECT_EQ(treeout_cli::SqlTableName("sales.order"), "sales.\"order\"");
  EXPECT_EQ(treeout_cli::SqlTableName("my table"), "\"my table\"");
  EXPECT_EQ(treeout_cli::SqlTableName("main.t", true), "\"main\".\"t\"");
}

// Fields are mapped in order; each mapped name is checked against the names
// already taken, so the rows run as one sequence.
TEST(VeldNames, ValidKeptOthersMapped) {
  struct Case {
    char const* rule;
    std::string name;
    std::string veld;
  };
  std::string const long70(70, 'a');
  Case const cases[] = {
      {"valid kept", "income", "income"},
      {"at sign first, period, $ and # inside", "@a.b$c#d", "@a.b$c#d"},
      {"blank to _", "mean radius", "mean_radius"},
      {"slash to _", "od280/od315", "od280_od315"},
      {"one _ per non-ASCII character", "größe", "gr__e"},
      {"digit first gets v", "2nd", "v2nd"},
      {"underscore first gets v", "_x", "v_x"},
      {"final period to _", "total.", "total_"},
      {"keyword gets _ after it", "by", "by_"},
      {"keyword in any case", "With", "With_"},
      {"cut to 64 bytes", long70, std::string(64, 'a')},
      {"a name taken (any case) gets _2", "Mean Radius", "Mean_Radius_2"},
      {"then _3", "mean-radius", "mean_radius_3"},
      {"the script's own variables are taken", "nod 001", "nod_001_2"},
      {"filter_$ too", "filter $", "filter_$_2"},
      {"suffix within 64 bytes", long70 + "!", std::string(62, 'a') + "_2"},
  };
  std::vector<std::string> taken{"NOD_001", "PRE_001", "PRB_001", "FILTER_$"};
  for (Case const& c : cases) {
    EXPECT_EQ(treeout_cli::IsVeldName(c.name), c.name == c.veld) << c.rule;
    EXPECT_EQ(treeout_cli::VeldName(c.name, &taken), c.veld) << c.rule;
  }
}

}  // namespace
