// An in-memory SQLite table of records, to run generated SQL conditions over
// and see which records they select. One column per variable, named as the
// variable: TEXT for string and date variables (dates as ISO 8601 text, as
// the SQL rule text writes them), REAL for the others; a value without content
// is NULL. Rows carry their insertion number in the column "_id".
#pragma once

#include <string>
#include <vector>

#include "host/metadata.h"
#include "host/variant.h"

struct sqlite3;

namespace testsupport {

class SqliteRecords {
 public:
  // Throws std::runtime_error when the database or table cannot be made.
  explicit SqliteRecords(std::vector<mdt_800::Variable> const& variables,
                         std::string table = "records");
  ~SqliteRecords();
  SqliteRecords(SqliteRecords const&) = delete;
  SqliteRecords& operator=(SqliteRecords const&) = delete;

  // Inserts one record, one value per variable in variable order; returns its
  // id: 0 for the first record, then 1, 2, ...
  int Insert(std::vector<mdt_800::Variant> const& values);
  // The ids of the records that satisfy `where`, ascending. Throws
  // std::runtime_error with SQLite's message and the query when the query
  // does not compile or run.
  std::vector<int> Select(std::string const& where) const;

 private:
  void Execute(std::string const& sql) const;

  sqlite3* fnDb = nullptr;
  std::string fnTable;
  std::vector<bool> fnDates;
  int fnRows = 0;
};

}  // namespace testsupport
