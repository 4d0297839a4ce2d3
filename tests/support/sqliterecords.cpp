#include "sqliterecords.h"

#include "engines.h"
#include "host/format.h"

namespace testsupport {

SqliteRecords::SqliteRecords(std::vector<mdt_800::Variable> const& variables, std::string table)
    : fnEngine(StartSqlite()), fnTable(std::move(table)) {
  for (auto const& variable : variables) {
    bool const text =
        variable.GetStorageType() == mdt_800::Variable::STORAGE_STRING || variable.IsDate();
    fnColumns.push_back({variable.GetName(), text ? Column::kText : Column::kDouble});
    fnDates.push_back(variable.IsDate());
  }
}

int SqliteRecords::Insert(std::vector<mdt_800::Variant> const& values) {
  if (values.size() != fnDates.size()) {
    throw std::runtime_error("sqlite: a record needs one value per variable");
  }
  Row row;
  for (std::size_t i = 0; i < values.size(); ++i) {
    mdt_800::Variant const& value = values[i];
    if (value.GetType() == mdt_800::Variant::TYPE_STRING) {
      row.emplace_back(static_cast<std::string const&>(value));
    } else if (value.GetType() == mdt_800::Variant::TYPE_NONE) {
      row.emplace_back();
    } else if (fnDates[i]) {
      row.emplace_back(atg_800::FormatRulesDate(static_cast<double>(value), true));
    } else {
      row.emplace_back(static_cast<double>(value));
    }
  }
  fnRows.push_back(std::move(row));
  fnStale = true;
  return static_cast<int>(fnRows.size()) - 1;
}

std::vector<int> SqliteRecords::Select(std::string const& where) const {
  if (fnStale) fnEngine->Load(fnTable, fnColumns, fnRows);
  fnStale = false;
  std::vector<long> const ids =
      fnEngine->SelectIds("SELECT \"_id\" FROM " + QuotedName(fnTable) + " WHERE " + where);
  return std::vector<int>(ids.begin(), ids.end());
}

}  // namespace testsupport
