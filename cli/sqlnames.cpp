#include "cli/sqlnames.h"

#include <cctype>

namespace treeout_cli {

std::string SqlIdentifier(std::string const& name) {
  if (name.size() >= 2 && name.front() == '"' && name.back() == '"') return name;
  bool plain = !name.empty() && !std::isdigit(static_cast<unsigned char>(name[0]));
  for (char ch : name) plain = plain && (std::isalnum(static_cast<unsigned char>(ch)) || ch == '_');
  if (plain) return name;
  std::string quoted = "\"";
  for (char ch : name) {
    if (ch == '"') quoted += '"';
    quoted += ch;
  }
  return quoted + '"';
}

void QuoteSqlNames(refhost::Metadata& metadata) {
  for (std::size_t i = 0; i < metadata.GetVariables().size(); ++i) {
    mdt_800::Variable& variable = metadata.MutableVariable(static_cast<int>(i));
    variable.SetName(SqlIdentifier(variable.GetName()));
    if (!variable.GetLabel().empty()) variable.SetLabel(SqlIdentifier(variable.GetLabel()));
  }
}

}  // namespace treeout_cli
