#include "sqliterecords.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>

#include "host/format.h"

namespace testsupport {
namespace {

struct StatementDeleter {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, StatementDeleter>;

Statement Prepare(sqlite3* db, std::string const& sql) {
  sqlite3_stmt* raw = nullptr;
  if (sqlite3_prepare_v2(db, sql.c_str(), -1, &raw, nullptr) != SQLITE_OK) {
    std::string const message = sqlite3_errmsg(db);
    sqlite3_finalize(raw);
    throw std::runtime_error("sqlite: " + message + " in: " + sql);
  }
  return Statement(raw);
}

std::string Quoted(std::string const& name) { return "\"" + name + "\""; }

}  // namespace

SqliteRecords::SqliteRecords(std::vector<mdt_800::Variable> const& variables, std::string table)
    : fnTable(std::move(table)) {
  if (sqlite3_open(":memory:", &fnDb) != SQLITE_OK) {
    sqlite3_close(fnDb);
    throw std::runtime_error("sqlite: cannot open an in-memory database");
  }
  std::string create = "CREATE TABLE " + Quoted(fnTable) + " (_id INTEGER PRIMARY KEY";
  for (auto const& variable : variables) {
    bool const text =
        variable.GetStorageType() == mdt_800::Variable::STORAGE_STRING || variable.IsDate();
    create += ", " + Quoted(variable.GetName()) + (text ? " TEXT" : " REAL");
    fnDates.push_back(variable.IsDate());
  }
  create += ")";
  try {
    Execute(create);
  } catch (...) {
    sqlite3_close(fnDb);
    throw;
  }
}

SqliteRecords::~SqliteRecords() { sqlite3_close(fnDb); }

void SqliteRecords::Execute(std::string const& sql) const {
  Statement statement = Prepare(fnDb, sql);
  if (sqlite3_step(statement.get()) != SQLITE_DONE) {
    throw std::runtime_error("sqlite: " + std::string(sqlite3_errmsg(fnDb)) + " in: " + sql);
  }
}

int SqliteRecords::Insert(std::vector<mdt_800::Variant> const& values) {
  if (values.size() != fnDates.size()) {
    throw std::runtime_error("sqlite: a record needs one value per variable");
  }
  std::string sql = "INSERT INTO " + Quoted(fnTable) + " VALUES (?";
  for (std::size_t i = 0; i < values.size(); ++i) sql += ", ?";
  sql += ")";
  Statement statement = Prepare(fnDb, sql);
  int const id = fnRows;
  sqlite3_bind_int(statement.get(), 1, id);
  for (std::size_t i = 0; i < values.size(); ++i) {
    int const column = static_cast<int>(i) + 2;
    mdt_800::Variant const& value = values[i];
    switch (value.GetType()) {
      case mdt_800::Variant::TYPE_STRING: {
        std::string const& text = value;
        sqlite3_bind_text(statement.get(), column, text.c_str(), static_cast<int>(text.size()),
                          SQLITE_TRANSIENT);
        break;
      }
      case mdt_800::Variant::TYPE_DOUBLE:
      case mdt_800::Variant::TYPE_LONG:
        if (fnDates[i]) {
          std::string const iso = atg_800::FormatRulesDate(static_cast<double>(value), true);
          sqlite3_bind_text(statement.get(), column, iso.c_str(), static_cast<int>(iso.size()),
                            SQLITE_TRANSIENT);
        } else {
          sqlite3_bind_double(statement.get(), column, static_cast<double>(value));
        }
        break;
      default:
        sqlite3_bind_null(statement.get(), column);
    }
  }
  if (sqlite3_step(statement.get()) != SQLITE_DONE) {
    throw std::runtime_error("sqlite: " + std::string(sqlite3_errmsg(fnDb)) + " in: " + sql);
  }
  ++fnRows;
  return id;
}

std::vector<int> SqliteRecords::Select(std::string const& where) const {
  std::string const sql =
      "SELECT _id FROM " + Quoted(fnTable) + " WHERE " + where + " ORDER BY _id";
  Statement statement = Prepare(fnDb, sql);
  std::vector<int> ids;
  int step;
  while ((step = sqlite3_step(statement.get())) == SQLITE_ROW) {
    ids.push_back(sqlite3_column_int(statement.get(), 0));
  }
  if (step != SQLITE_DONE) {
    throw std::runtime_error("sqlite: " + std::string(sqlite3_errmsg(fnDb)) + " in: " + sql);
  }
  return ids;
}

}  // namespace testsupport
