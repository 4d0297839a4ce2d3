// One interface over the SQL engines that the rule text must run in (SQLite,
// PostgreSQL, DuckDB): load a table of records, run statements and scripts,
// read rows back. Every engine error is an EngineError that carries the
// engine's message and the statement. Nothing here is thread-safe.
#pragma once

#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace testsupport {

// One value: NULL, a number (read back from any numeric column) or text.
using Cell = std::variant<std::monostate, double, std::string>;
using Row = std::vector<Cell>;

struct Column {
  enum Kind { kInteger, kDouble, kText };
  std::string name;  // created quoted, exactly as given
  Kind kind = kDouble;
};

class EngineError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Engine {
 public:
  virtual ~Engine() = default;
  virtual std::string Name() const = 0;

  // Runs one statement; returns its rows (none for a statement without rows).
  virtual std::vector<Row> Query(std::string const& sql) = 0;

  // Creates `table` (dropping one of that name) with the column "_id" INTEGER
  // (0 for the first row, then 1, 2, ...) followed by `columns`, and inserts
  // `rows`, one cell per column, numbers exactly as given.
  void Load(std::string const& table, std::vector<Column> const& columns,
            std::vector<Row> const& rows);

  // Runs the statements of a script one after the other.
  void Run(std::string const& script);

  // The "_id" of every row a SELECT statement returns, ascending.
  std::vector<long> SelectIds(std::string const& select);

  // `columns` (SQL text) of every row of `table` (SQL text), by "_id".
  std::vector<Row> Read(std::string const& table, std::string const& columns);

 protected:
  // Inserts rows into a table made by Load; `columns` starts with "_id".
  virtual void Insert(std::string const& table, std::vector<Column> const& columns,
                      std::vector<Row> const& rows) = 0;
  // The column type of `kind` in this engine's SQL.
  virtual std::string TypeName(Column::Kind kind) const;
};

// The statements of a script, each without its final ';' and surrounding
// blanks; a ';' inside quotes or a "--" comment does not end a statement.
std::vector<std::string> SplitStatements(std::string const& script);

// `name` as a quoted SQL identifier, an inner '"' doubled.
std::string QuotedName(std::string const& name);

// A cell as text: "NULL", the shortest text that reads back as the number,
// or the text itself.
std::string CellText(Cell const& cell);

}  // namespace testsupport
