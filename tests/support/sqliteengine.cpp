// SQLite, the library in process, over an in-memory database.
#include <sqlite3.h>

#include <memory>

#include "engines.h"

namespace testsupport {
namespace {

struct Finalize {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

struct Close {
  void operator()(sqlite3* db) const { sqlite3_close(db); }
};

class SqliteEngine : public Engine {
 public:
  SqliteEngine() {
    sqlite3* raw = nullptr;
    int const status = sqlite3_open(":memory:", &raw);
    fnDb.reset(raw);
    if (status != SQLITE_OK) throw EngineUnavailable("SQLite: cannot open an in-memory database");
  }

  std::string Name() const override { return "SQLite"; }

  std::vector<Row> Query(std::string const& sql) override {
    Statement statement = Prepare(sql);
    std::vector<Row> rows;
    int step;
    while ((step = sqlite3_step(statement.get())) == SQLITE_ROW) {
      Row row;
      for (int i = 0; i < sqlite3_column_count(statement.get()); ++i) {
        switch (sqlite3_column_type(statement.get(), i)) {
          case SQLITE_NULL:
            row.emplace_back();
            break;
          case SQLITE_INTEGER:
          case SQLITE_FLOAT:
            row.emplace_back(sqlite3_column_double(statement.get(), i));
            break;
          default:
            row.emplace_back(
                std::string(reinterpret_cast<char const*>(sqlite3_column_text(statement.get(), i)),
                            static_cast<std::size_t>(sqlite3_column_bytes(statement.get(), i))));
        }
      }
      rows.push_back(std::move(row));
    }
    if (step != SQLITE_DONE) Fail(sql);
    return rows;
  }

 protected:
  std::string TypeName(Column::Kind kind) const override {
    return kind == Column::kDouble ? "REAL" : Engine::TypeName(kind);
  }

  void Insert(std::string const& table, std::vector<Column> const& columns,
              std::vector<Row> const& rows) override {
    std::string sql = "INSERT INTO " + QuotedName(table) + " VALUES (?";
    for (std::size_t i = 1; i < columns.size(); ++i) sql += ", ?";
    sql += ")";
    Query("BEGIN");
    try {
      InsertRows(Prepare(sql), sql, rows);
    } catch (...) {
      Query("ROLLBACK");
      throw;
    }
    Query("COMMIT");
  }

 private:
  void InsertRows(Statement statement, std::string const& sql, std::vector<Row> const& rows) {
    for (Row const& row : rows) {
      sqlite3_reset(statement.get());
      for (std::size_t i = 0; i < row.size(); ++i) {
        int const at = static_cast<int>(i) + 1;
        if (auto const* number = std::get_if<double>(&row[i])) {
          sqlite3_bind_double(statement.get(), at, *number);
        } else if (auto const* text = std::get_if<std::string>(&row[i])) {
          sqlite3_bind_text(statement.get(), at, text->data(), static_cast<int>(text->size()),
                            SQLITE_TRANSIENT);
        } else {
          sqlite3_bind_null(statement.get(), at);
        }
      }
      if (sqlite3_step(statement.get()) != SQLITE_DONE) Fail(sql);
    }
  }

  Statement Prepare(std::string const& sql) {
    sqlite3_stmt* raw = nullptr;
    char const* tail = nullptr;
    int const status = sqlite3_prepare_v2(fnDb.get(), sql.c_str(), -1, &raw, &tail);
    Statement statement(raw);
    if (status != SQLITE_OK) Fail(sql);
    if (std::string(tail).find_first_not_of(" \t\r\n;") != std::string::npos) {
      throw EngineError("SQLite: more than one statement in: " + sql);
    }
    return statement;
  }

  [[noreturn]] void Fail(std::string const& sql) const {
    throw EngineError("SQLite: " + std::string(sqlite3_errmsg(fnDb.get())) + " in: " + sql);
  }

  std::unique_ptr<sqlite3, Close> fnDb;
};

}  // namespace

std::unique_ptr<Engine> StartSqlite() { return std::make_unique<SqliteEngine>(); }

}  // namespace testsupport
