// Names for the text of each dialect. The library writes variable names and
// labels as the metadata holds them; the tool first makes them safe for the
// dialect (SQL: quoted identifiers where needed; VELD: valid variable names)
// and restores them afterwards.
#pragma once

#include <string>
#include <vector>

#include "refhost/metadata.h"

namespace treeout_cli {

// Whether `name` is an SQL keyword (any case): one list, in sqlkeywords.txt.
bool IsSqlKeyword(std::string const& name);

// `name` as an SQL identifier: unchanged when it is plain
// ([A-Za-z_][A-Za-z0-9_]*) and not a keyword, unless `always`; else in
// double quotes with inner double quotes doubled.
std::string SqlIdentifier(std::string const& name, bool always = false);

// A table name: SqlIdentifier applied to each dot-separated part.
std::string SqlTableName(std::string const& name, bool always = false);

// The name under which a field is written in VELD: `name` itself when it is
// a valid variable name, else mapped (invalid characters to _, a v in front,
// a final period, a keyword or a name in `taken` suffixed). `taken` holds
// upper-case names already in use; the result is added to it.
std::string VeldName(std::string const& name, std::vector<std::string>* taken);

// Whether `name` is a valid VELD variable name.
bool IsVeldName(std::string const& name);

// One variable renamed for a dialect: its old and new name.
struct Renamed {
  std::string from, to;
};

// Changes the names (and, for SQL, the labels) of every variable of
// `metadata` for one dialect while it lives, and restores them when it ends.
class DialectNames {
 public:
  enum Kind { kSql, kSqlAlways, kVeld };
  DialectNames(refhost::Metadata& metadata, Kind kind);
  ~DialectNames();
  DialectNames(DialectNames const&) = delete;
  DialectNames& operator=(DialectNames const&) = delete;
  // The variables whose names changed, in variable order.
  std::vector<Renamed> const& Changed() const { return fnChanged; }

 private:
  refhost::Metadata& fnMetadata;
  std::vector<std::string> fnNames, fnLabels;
  std::vector<Renamed> fnChanged;
};

}  // namespace treeout_cli
