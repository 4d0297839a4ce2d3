// The engines a test program runs text in, one of each kind per program:
// started on first use and stopped when the program ends, on every path (a
// test environment owns them; PostgreSQL also has a watchdog that stops the
// server if the program dies). An engine that cannot start is reported once,
// with the reason, and its tests skip.
#pragma once

#include <memory>
#include <string>

#include "engine.h"

namespace testsupport {

enum class EngineKind { kSqlite, kPostgres, kDuckdb };

class EngineUnavailable : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Each starts a new engine with an empty database; throws EngineUnavailable
// when the engine is not installed or does not start.
std::unique_ptr<Engine> StartSqlite();
// A private cluster in a temporary folder, reached by a socket in that
// folder only; run as the user "postgres" when the program runs as root.
std::unique_ptr<Engine> StartPostgres();
// `node` running duckdbengine.cjs with the @duckdb/node-api package from
// $TREEOUT_DUCKDB_DIR, else ${XDG_CACHE_HOME:-$HOME/.cache}/treeout/duckdb.
std::unique_ptr<Engine> StartDuckdb();

// This program's engine of `kind`; nullptr, with the reason in `*why`, when
// it cannot start.
Engine* SharedEngine(EngineKind kind, std::string* why);

// SharedEngine for a test: when the engine cannot start, the test is marked
// skipped with the reason, or failed where every engine must run (CI, or
// TREEOUT_REQUIRE_ENGINES set); the caller then returns.
Engine* EngineForTest(EngineKind kind);

char const* EngineKindName(EngineKind kind);
void PrintTo(EngineKind kind, std::ostream* out);

}  // namespace testsupport
