#include "engines.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <ostream>

namespace testsupport {
namespace {

// Owns the started engines; gtest tears it down after the last test, also
// when tests failed or threw.
class EngineEnvironment : public testing::Environment {
 public:
  struct Slot {
    std::unique_ptr<Engine> engine;
    std::string why;  // why it did not start
  };
  void TearDown() override { fnSlots.clear(); }
  std::map<EngineKind, Slot> fnSlots;
};

EngineEnvironment* const environment =
    static_cast<EngineEnvironment*>(testing::AddGlobalTestEnvironment(new EngineEnvironment));

}  // namespace

char const* EngineKindName(EngineKind kind) {
  switch (kind) {
    case EngineKind::kSqlite:
      return "SQLite";
    case EngineKind::kPostgres:
      return "PostgreSQL";
    default:
      return "DuckDB";
  }
}

Engine* SharedEngine(EngineKind kind, std::string* why) {
  auto found = environment->fnSlots.find(kind);
  if (found == environment->fnSlots.end()) {
    EngineEnvironment::Slot slot;
    try {
      slot.engine = kind == EngineKind::kSqlite     ? StartSqlite()
                    : kind == EngineKind::kPostgres ? StartPostgres()
                                                    : StartDuckdb();
    } catch (std::exception const& e) {
      slot.why = std::string(EngineKindName(kind)) + " cannot start: " + e.what();
    }
    found = environment->fnSlots.emplace(kind, std::move(slot)).first;
  }
  *why = found->second.why;
  return found->second.engine.get();
}

Engine* EngineForTest(EngineKind kind) {
  std::string why;
  Engine* engine = SharedEngine(kind, &why);
  if (engine == nullptr) {
    char const* ci = std::getenv("CI");
    if ((ci && *ci) || std::getenv("TREEOUT_REQUIRE_ENGINES")) {
      ADD_FAILURE() << why << " (every engine must run here)";
    } else {
      [&why] { GTEST_SKIP() << why; }();
    }
  }
  return engine;
}

void PrintTo(EngineKind kind, std::ostream* out) { *out << EngineKindName(kind); }

}  // namespace testsupport
