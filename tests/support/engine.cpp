#include "engine.h"

#include "refhost/numbertext.h"

namespace testsupport {

std::string Engine::TypeName(Column::Kind kind) const {
  switch (kind) {
    case Column::kInteger:
      return "INTEGER";
    case Column::kDouble:
      return "DOUBLE PRECISION";
    default:
      return "TEXT";
  }
}

void Engine::Load(std::string const& table, std::vector<Column> const& columns,
                  std::vector<Row> const& rows) {
  std::vector<Column> all{{"_id", Column::kInteger}};
  all.insert(all.end(), columns.begin(), columns.end());
  std::string create = "CREATE TABLE " + QuotedName(table) + " (";
  for (std::size_t i = 0; i < all.size(); ++i) {
    create += (i ? ", " : "") + QuotedName(all[i].name) + " " + TypeName(all[i].kind);
  }
  Query("DROP TABLE IF EXISTS " + QuotedName(table));
  Query(create + ")");
  std::vector<Row> numbered;
  numbered.reserve(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (rows[i].size() != columns.size()) {
      throw EngineError(Name() + ": row " + std::to_string(i) + " has " +
                        std::to_string(rows[i].size()) + " cells for " +
                        std::to_string(columns.size()) + " columns");
    }
    numbered.push_back(Row{static_cast<double>(i)});
    numbered.back().insert(numbered.back().end(), rows[i].begin(), rows[i].end());
  }
  Insert(table, all, numbered);
}

void Engine::Run(std::string const& script) {
  for (std::string const& statement : SplitStatements(script)) Query(statement);
}

std::vector<long> Engine::SelectIds(std::string const& select) {
  std::vector<std::string> const statements = SplitStatements(select);
  if (statements.size() != 1) {
    throw EngineError(Name() + ": expected one statement, got " +
                      std::to_string(statements.size()) + " in: " + select);
  }
  std::vector<long> ids;
  for (Row const& row : Query("SELECT \"_id\" FROM (" + statements[0] + ") AS q ORDER BY 1")) {
    ids.push_back(static_cast<long>(std::get<double>(row.at(0))));
  }
  return ids;
}

std::vector<Row> Engine::Read(std::string const& table, std::string const& columns) {
  return Query("SELECT " + columns + " FROM " + table + " ORDER BY \"_id\"");
}

std::vector<std::string> SplitStatements(std::string const& script) {
  std::vector<std::string> statements;
  std::string current;
  char quote = 0;  // the open quote, or 0
  auto finish = [&] {
    std::size_t const begin = current.find_first_not_of(" \t\r\n");
    if (begin != std::string::npos) {
      statements.push_back(current.substr(begin, current.find_last_not_of(" \t\r\n") + 1 - begin));
    }
    current.clear();
  };
  for (std::size_t i = 0; i < script.size(); ++i) {
    char const c = script[i];
    if (quote == 0 && c == '-' && script.compare(i, 2, "--") == 0) {
      i = script.find('\n', i);  // a comment runs to the end of its line
      if (i == std::string::npos) break;
      current += '\n';
      continue;
    }
    if (quote == 0 && c == ';') {
      finish();
      continue;
    }
    if (quote == 0 && (c == '\'' || c == '"')) {
      quote = c;
    } else if (c == quote) {
      quote = 0;  // a doubled quote closes and opens again
    }
    current += c;
  }
  finish();
  return statements;
}

std::string QuotedName(std::string const& name) {
  std::string quoted = "\"";
  for (char const c : name) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

std::string CellText(Cell const& cell) {
  if (std::holds_alternative<double>(cell)) return refhost::ShortestText(std::get<double>(cell));
  if (std::holds_alternative<std::string>(cell)) return std::get<std::string>(cell);
  return "NULL";
}

}  // namespace testsupport
