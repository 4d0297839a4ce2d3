// An in-memory SQLite table of records, to run generated SQL conditions over
// and see which records they select: the SQLite engine of the engine harness
// (engine.h) with rows given one at a time. One column per variable, named as
// the variable: TEXT for string and date variables (dates as ISO 8601 text, as
// the SQL rule text writes them), REAL for the others; a value without content
// is NULL. Rows carry their insertion number in the column "_id".
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine.h"
#include "host/metadata.h"
#include "host/variant.h"

namespace testsupport {

class SqliteRecords {
 public:
  // Throws std::runtime_error when the database cannot be opened.
  explicit SqliteRecords(std::vector<mdt_800::Variable> const& variables,
                         std::string table = "records");

  // Inserts one record, one value per variable in variable order; returns its
  // id: 0 for the first record, then 1, 2, ...
  int Insert(std::vector<mdt_800::Variant> const& values);
  // The ids of the records that satisfy `where`, ascending. Throws
  // std::runtime_error with SQLite's message and the query when the table
  // cannot be made or the query does not compile or run.
  std::vector<int> Select(std::string const& where) const;

 private:
  std::unique_ptr<Engine> fnEngine;
  std::string fnTable;
  std::vector<Column> fnColumns;
  std::vector<bool> fnDates;
  std::vector<Row> fnRows;
  mutable bool fnStale = true;  // rows came since the table was made
};

}  // namespace testsupport
