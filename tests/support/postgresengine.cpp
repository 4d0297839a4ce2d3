// PostgreSQL 15 through libpq, on a private cluster that lives in a
// temporary folder for as long as the engine does.
#include <libpq-fe.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "engines.h"
#include "refhost/numbertext.h"

namespace testsupport {
namespace {

namespace fs = std::filesystem;

std::string ShellQuoted(std::string const& text) {
  std::string quoted = "'";
  for (char const c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::string Tail(fs::path const& log) {
  std::ifstream in(log);
  std::stringstream text;
  text << in.rdbuf();
  std::string const all = text.str();
  return all.size() > 600 ? all.substr(all.size() - 600) : all;
}

// A cluster made by initdb and started by pg_ctl; the server listens on a
// socket in the folder and on no TCP port. The destructor stops the server
// and removes the folder; a watchdog does the same if this process dies
// without running it.
class Cluster {
 public:
  Cluster() {
    char const* bin = std::getenv("TREEOUT_PG_BIN");
    fnBin = bin ? bin : "/usr/lib/postgresql/15/bin";
    if (!fs::exists(fnBin / "initdb") || !fs::exists(fnBin / "pg_ctl")) {
      throw EngineUnavailable("no initdb and pg_ctl in " + fnBin.string() +
                              " (tools/deps installs postgresql-15; TREEOUT_PG_BIN names another"
                              " folder)");
    }
    if (geteuid() == 0) {
      // The server refuses to run as root.
      passwd const* user = getpwnam("postgres");
      if (user == nullptr) throw EngineUnavailable("running as root and there is no user postgres");
      fnAs = "runuser -u postgres -- ";
      fnUid = user->pw_uid;
      fnGid = user->pw_gid;
    }
    // The socket's path must fit in about 100 bytes: a long TMPDIR gives way to /tmp.
    std::string pattern = (fs::temp_directory_path() / "treeout-pg-XXXXXX").string();
    if (pattern.size() > 60) pattern = "/tmp/treeout-pg-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw EngineUnavailable("cannot make " + pattern);
    fnDir = pattern;
    if (fnAs.size() && chown(fnDir.c_str(), fnUid, fnGid) != 0) {
      fs::remove_all(fnDir);
      throw EngineUnavailable("cannot give " + fnDir.string() + " to the user postgres");
    }
    std::string const pgCtl = fnAs + ShellQuoted((fnBin / "pg_ctl").string()) + " -D " +
                              ShellQuoted((fnDir / "data").string());
    fnStop = pgCtl + " -m immediate stop >/dev/null 2>&1";
    Watch();
    try {
      Shell(fnAs + ShellQuoted((fnBin / "initdb").string()) + " -D " +
                ShellQuoted((fnDir / "data").string()) +
                " -A trust -U postgres --no-sync -E UTF8 --locale=C >" +
                ShellQuoted((fnDir / "initdb.log").string()) + " 2>&1",
            fnDir / "initdb.log");
      Shell(pgCtl + " -w -t 60 -l " + ShellQuoted((fnDir / "server.log").string()) + " -o " +
                ShellQuoted("-k " + fnDir.string() + " -c listen_addresses= -F") +
                " start >/dev/null 2>&1",
            fnDir / "server.log");
    } catch (...) {
      Stop();
      throw;
    }
  }
  ~Cluster() { Stop(); }
  Cluster(Cluster const&) = delete;
  Cluster& operator=(Cluster const&) = delete;

  std::string Connection() const {
    return "host=" + fnDir.string() + " dbname=postgres user=postgres";
  }

 private:
  void Shell(std::string const& command, fs::path const& log) {
    int const status = std::system(command.c_str());
    if (status == -1 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      throw EngineUnavailable("failed: " + command + "\n" + Tail(log));
    }
  }

  // A shell in its own session (so that killing this process group spares
  // it) that waits for this process to end, then stops the server and
  // removes the folder (nothing left to do after a normal end).
  void Watch() {
    std::string const script = "while kill -0 " + std::to_string(getpid()) +
                               " 2>/dev/null; do sleep 1; done; " + fnStop + "; rm -rf " +
                               ShellQuoted(fnDir.string());
    std::string const command =
        "setsid -f sh -c " + ShellQuoted(script) + " >/dev/null 2>&1 </dev/null";
    if (std::system(command.c_str()) != 0) throw EngineUnavailable("cannot start: " + command);
  }

  void Stop() {
    if (std::system(fnStop.c_str()) == -1) {
      // Nothing else to try: the watchdog stops the server when we end.
    }
    std::error_code ignored;
    fs::remove_all(fnDir, ignored);
  }

  fs::path fnBin;
  fs::path fnDir;
  std::string fnAs;  // the command prefix that runs as the server's user
  uid_t fnUid = 0;
  gid_t fnGid = 0;
  std::string fnStop;
};

struct Finish {
  void operator()(PGconn* connection) const { PQfinish(connection); }
};
struct Clear {
  void operator()(PGresult* result) const { PQclear(result); }
};
using Result = std::unique_ptr<PGresult, Clear>;

bool IsNumber(Oid type) {
  // int8, int2, int4, float4, float8, numeric
  return type == 20 || type == 21 || type == 23 || type == 700 || type == 701 || type == 1700;
}

class PostgresEngine : public Engine {
 public:
  PostgresEngine() : fnConnection(PQconnectdb(fnCluster.Connection().c_str())) {
    if (PQstatus(fnConnection.get()) != CONNECTION_OK) {
      throw EngineUnavailable("cannot connect: " + std::string(PQerrorMessage(fnConnection.get())));
    }
    Query("SET client_min_messages = warning");
  }

  std::string Name() const override { return "PostgreSQL"; }

  std::vector<Row> Query(std::string const& sql) override {
    return Rows(Result(PQexec(fnConnection.get(), sql.c_str())), sql);
  }

 protected:
  void Insert(std::string const& table, std::vector<Column> const& columns,
              std::vector<Row> const& rows) override {
    std::string sql = "INSERT INTO " + QuotedName(table) + " VALUES ($1";
    for (std::size_t i = 1; i < columns.size(); ++i) sql += ", $" + std::to_string(i + 1);
    sql += ")";
    Query("BEGIN");
    try {
      Rows(Result(PQprepare(fnConnection.get(), "", sql.c_str(), 0, nullptr)), sql);
      for (Row const& row : rows) {
        std::vector<std::string> texts(row.size());
        std::vector<char const*> values(row.size(), nullptr);
        for (std::size_t i = 0; i < row.size(); ++i) {
          if (std::holds_alternative<std::monostate>(row[i])) continue;
          texts[i] = CellText(row[i]);
          values[i] = texts[i].c_str();
        }
        Rows(Result(PQexecPrepared(fnConnection.get(), "", static_cast<int>(values.size()),
                                   values.data(), nullptr, nullptr, 0)),
             sql);
      }
    } catch (...) {
      Query("ROLLBACK");
      throw;
    }
    Query("COMMIT");
  }

 private:
  std::vector<Row> Rows(Result result, std::string const& sql) const {
    ExecStatusType const status = PQresultStatus(result.get());
    if (status == PGRES_COMMAND_OK) return {};
    if (status != PGRES_TUPLES_OK) {
      throw EngineError("PostgreSQL: " + std::string(PQresultErrorMessage(result.get())) +
                        "in: " + sql);
    }
    std::vector<Row> rows(static_cast<std::size_t>(PQntuples(result.get())));
    for (int r = 0; r < PQntuples(result.get()); ++r) {
      for (int c = 0; c < PQnfields(result.get()); ++c) {
        Row& row = rows[static_cast<std::size_t>(r)];
        std::string const text = PQgetvalue(result.get(), r, c);
        if (PQgetisnull(result.get(), r, c)) {
          row.emplace_back();
        } else if (IsNumber(PQftype(result.get(), c))) {
          std::optional<double> const number = refhost::ParseDouble(text);
          if (!number) throw EngineError("PostgreSQL: not a number: " + text + " from: " + sql);
          row.emplace_back(*number);
        } else {
          row.emplace_back(text);
        }
      }
    }
    return rows;
  }

  Cluster fnCluster;  // declared first: the connection closes before the server stops
  std::unique_ptr<PGconn, Finish> fnConnection;
};

}  // namespace

std::unique_ptr<Engine> StartPostgres() { return std::make_unique<PostgresEngine>(); }

}  // namespace testsupport
