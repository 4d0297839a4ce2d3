// Built when libpq was not found: the PostgreSQL checks skip.
#include "engines.h"

namespace testsupport {

std::unique_ptr<Engine> StartPostgres() {
  throw EngineUnavailable("built without libpq (tools/deps installs libpq-dev)");
}

}  // namespace testsupport
