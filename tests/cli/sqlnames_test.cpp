// Variable names as SQL columns.
#include "cli/sqlnames.h"

#include <gtest/gtest.h>

namespace {

TEST(SqlIdentifierTest, QuotesWhatIsNotAPlainIdentifier) {
  struct Case {
    char const* name;
    char const* expected;
  };
  Case const cases[] = {
      {"age", "age"},
      {"_x1", "_x1"},
      {"Solar.R", "\"Solar.R\""},
      {"od280/od315_of_diluted_wines", "\"od280/od315_of_diluted_wines\""},
      {"2nd", "\"2nd\""},
      {"Age in years", "\"Age in years\""},
      {"a\"b", "\"a\"\"b\""},
      {"\"already quoted\"", "\"already quoted\""},
      {"", "\"\""},
  };
  for (Case const& c : cases) {
    EXPECT_EQ(treeout_cli::SqlIdentifier(c.name), c.expected) << c.name;
  }
}

}  // namespace
