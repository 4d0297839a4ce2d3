// Operator texts of the eight connectors in each dialect, and comparisons
// written from two operands.
#include <gtest/gtest.h>

#include <cctype>
#include <memory>
#include <string>
#include <utility>

#include "ruletext/ruleconnectorand.h"
#include "ruletext/ruleconnectoreq.h"
#include "ruletext/ruleconnectorge.h"
#include "ruletext/ruleconnectorgt.h"
#include "ruletext/ruleconnectorle.h"
#include "ruletext/ruleconnectorlt.h"
#include "ruletext/ruleconnectorne.h"
#include "ruletext/ruleconnectoror.h"

namespace {

using namespace TreeOut_800;

using OperatorExport = std::string (*)(const RuleExportOptions&);
using ComparisonExport = std::string (*)(const RuleExportOptions&, const RuleAtom&,
                                         const RuleAtom&);

RuleExportOptions Dialect(int dialect) {
  RuleExportOptions options;
  options.fnDialect = dialect;
  return options;
}

struct OperatorCase {
  const char* name;
  OperatorExport exporter;
  const char* sql;
  const char* veld;
  const char* generic;
};

TEST(Connector, OperatorTextInEachDialect) {
  const OperatorCase kCases[] = {
      {"AND", &RuleConnectorAND::Export, "  AND  ", "  AND  ", "  AND  "},
      {"OR", &RuleConnectorOR::Export, " OR ", " OR ", " OR "},
      {"EQ", &RuleConnectorEQ::Export, " = ", " EQ ", " = "},
      {"NE", &RuleConnectorNE::Export, " <> ", " NE ", " != "},
      {"GT", &RuleConnectorGT::Export, " > ", " GT ", " > "},
      {"GE", &RuleConnectorGE::Export, " >= ", " GE ", " >= "},
      {"LT", &RuleConnectorLT::Export, " < ", " LT ", " < "},
      {"LE", &RuleConnectorLE::Export, " <= ", " LE ", " <= "},
  };
  for (const OperatorCase& c : kCases) {
    EXPECT_EQ(c.exporter(Dialect(DIALECT_SQL)), c.sql) << c.name << " in SQL";
    EXPECT_EQ(c.exporter(Dialect(DIALECT_VELD)), c.veld) << c.name << " in VELD";
    EXPECT_EQ(c.exporter(Dialect(DIALECT_GENERIC)), c.generic) << c.name << " in generic";
    // A value that is no dialect writes the SQL text.
    for (int unknown : {3, -1}) {
      EXPECT_EQ(c.exporter(Dialect(unknown)), c.sql) << c.name << " in dialect " << unknown;
    }
  }
}

// An operand that writes a fixed text, and in VELD the text in capitals, so a
// comparison shows that each operand is asked with the caller's options.
class TextAtom : public RuleAtom {
 public:
  explicit TextAtom(std::string text) : fnText(std::move(text)) {}
  std::string Export(const RuleExportOptions& options) const override {
    if (options.fnDialect != DIALECT_VELD) return fnText;
    std::string upper = fnText;
    for (char& ch : upper) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    return upper;
  }
  std::unique_ptr<RuleAtom> Clone() const override { return std::make_unique<TextAtom>(*this); }

 private:
  std::string fnText;
};

struct ComparisonCase {
  const char* name;
  ComparisonExport exporter;
  int dialect;
  const char* left;
  const char* right;
  const char* expected;
};

TEST(Connector, ComparisonOfTwoOperands) {
  const ComparisonCase kCases[] = {
      {"GE", &RuleConnectorGE::Export, DIALECT_VELD, "age", "30", "AGE GE 30"},
      {"NE", &RuleConnectorNE::Export, DIALECT_VELD, "age", "30", "AGE NE 30"},
      {"NE", &RuleConnectorNE::Export, DIALECT_GENERIC, "age", "30", "age != 30"},
      {"NE", &RuleConnectorNE::Export, 7, "age", "30", "age <> 30"},
      {"LE", &RuleConnectorLE::Export, DIALECT_GENERIC, "x", "-2.5", "x <= -2.5"},
      // Operands are joined as they are: nothing is added around them.
      {"LT", &RuleConnectorLT::Export, DIALECT_VELD, "", "", " LT "},
      {"LT", &RuleConnectorLT::Export, DIALECT_SQL, " a ", "(b)", " a  < (b)"},
  };
  for (const ComparisonCase& c : kCases) {
    const TextAtom left(c.left), right(c.right);
    EXPECT_EQ(c.exporter(Dialect(c.dialect), left, right), c.expected)
        << c.name << " in dialect " << c.dialect << " of \"" << c.left << "\", \"" << c.right
        << "\"";
  }
}

}  // namespace
