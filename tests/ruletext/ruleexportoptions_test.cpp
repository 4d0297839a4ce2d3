// The options record: its defaults and its layout of six ints.
#include "ruletext/ruleexportoptions.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using namespace TreeOut_800;

// Hosts fill the record field by field: six ints in declared order, no hidden data.
static_assert(sizeof(RuleExportOptions) == 6 * sizeof(int), "six int fields and nothing else");
static_assert(std::is_standard_layout<RuleExportOptions>::value, "plain record");
// Hosts pass these as plain ints.
static_assert(DIALECT_SQL == 0 && DIALECT_VELD == 1 && DIALECT_GENERIC == 2, "dialect values");
static_assert(EDGE_MODE_PATH == 0 && EDGE_MODE_SPLIT == 1 && EDGE_MODE_LABEL == 2,
              "edge-mode values");

TEST(RuleExportOptions, DefaultIsSqlSelectionOverNamesAndWholeChains) {
  const RuleExportOptions options;
  EXPECT_EQ(options.fnDialect, DIALECT_SQL);
  EXPECT_EQ(options.fnUseVariableLabels, 0);
  EXPECT_EQ(options.fnUseValueLabels, 0);
  EXPECT_EQ(options.fnEdgeMode, EDGE_MODE_PATH);
  EXPECT_EQ(options.fnNumberFormat, 0);
  EXPECT_EQ(options.fnUpdateMode, 0);
}

TEST(RuleExportOptions, LatestVersionIsOne) { EXPECT_EQ(RuleExportOptions::fnLATEST_VERSION, 1); }

}  // namespace
