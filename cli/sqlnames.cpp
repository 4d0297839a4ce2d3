#include "cli/sqlnames.h"

#include <algorithm>
#include <cctype>

namespace treeout_cli {
namespace {

bool IsAsciiLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

bool IsVeldKeyword(std::string const& name) {
  static char const* const kWords[] = {"ALL", "AND", "BY",  "EQ", "GE", "GT",  "LE",
                                       "LT",  "NE",  "NOT", "OR", "TO", "WITH"};
  std::string const upper = Upper(name);
  return std::any_of(std::begin(kWords), std::end(kWords),
                     [&](char const* word) { return upper == word; });
}

bool IsVeldChar(char c) {
  return IsAsciiLetter(c) || IsDigit(c) || c == '.' || c == '_' || c == '$' || c == '#' || c == '@';
}

std::size_t const kVeldMaxBytes = 64;

// sqlkeywords.txt, which the build puts here as one string literal.
char const kSqlKeywords[] =
#include "sqlkeywords.inc"
    ;

}  // namespace

bool IsSqlKeyword(std::string const& name) {
  std::string const upper = Upper(name);
  char const* at = kSqlKeywords;
  while (*at != '\0') {
    if (*at == '#') {
      while (*at != '\0' && *at != '\n') ++at;
    } else if (std::isspace(static_cast<unsigned char>(*at))) {
      ++at;
    } else {
      char const* end = at;
      while (*end != '\0' && !std::isspace(static_cast<unsigned char>(*end))) ++end;
      if (upper.compare(0, std::string::npos, at, static_cast<std::size_t>(end - at)) == 0)
        return true;
      at = end;
    }
  }
  return false;
}

std::string SqlIdentifier(std::string const& name, bool always) {
  bool plain = !name.empty() && !IsDigit(name[0]);
  for (char c : name) plain = plain && (IsAsciiLetter(c) || IsDigit(c) || c == '_');
  if (plain && !always && !IsSqlKeyword(name)) return name;
  std::string quoted = "\"";
  for (char c : name) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

std::string SqlTableName(std::string const& name, bool always) {
  std::string table;
  std::size_t start = 0;
  for (;;) {
    std::size_t const dot = name.find('.', start);
    table += SqlIdentifier(name.substr(start, dot - start), always);
    if (dot == std::string::npos) return table;
    table += '.';
    start = dot + 1;
  }
}

bool IsVeldName(std::string const& name) {
  if (name.empty() || name.size() > kVeldMaxBytes) return false;
  if (!IsAsciiLetter(name[0]) && name[0] != '@') return false;
  if (name.back() == '.' || IsVeldKeyword(name)) return false;
  return std::all_of(name.begin(), name.end(), IsVeldChar);
}

std::string VeldName(std::string const& name, std::vector<std::string>* taken) {
  std::string mapped;
  if (IsVeldName(name)) {
    mapped = name;
  } else {
    // One _ per character that is not allowed; a UTF-8 sequence is one character.
    for (std::size_t i = 0; i < name.size(); ++i) {
      unsigned char const c = static_cast<unsigned char>(name[i]);
      if ((c & 0xC0) == 0x80) continue;
      mapped += IsVeldChar(name[i]) ? name[i] : '_';
    }
    if (mapped.empty() || !IsAsciiLetter(mapped[0])) mapped.insert(0, "v");
    mapped.resize(std::min(mapped.size(), kVeldMaxBytes));
    if (mapped.back() == '.') mapped.back() = '_';
    if (IsVeldKeyword(mapped)) mapped += '_';
    std::string const base = mapped;
    for (int n = 2; std::find(taken->begin(), taken->end(), Upper(mapped)) != taken->end(); ++n) {
      std::string const suffix = "_" + std::to_string(n);
      mapped = base.substr(0, std::min(base.size(), kVeldMaxBytes - suffix.size()));
      if (mapped.back() == '.') mapped.back() = '_';
      mapped += suffix;
    }
  }
  taken->push_back(Upper(mapped));
  return mapped;
}

DialectNames::DialectNames(refhost::Metadata& metadata, Kind kind) : fnMetadata(metadata) {
  std::size_t const count = metadata.GetVariables().size();
  std::vector<std::string> taken{"NOD_001", "PRE_001", "PRB_001", "FILTER_$"};
  for (std::size_t i = 0; i < count; ++i) {
    mdt_800::Variable const& variable = metadata.GetVariables()[i];
    fnNames.push_back(variable.GetName());
    fnLabels.push_back(variable.GetLabel());
    if (kind == kVeld && IsVeldName(variable.GetName())) taken.push_back(Upper(variable.GetName()));
  }
  for (std::size_t i = 0; i < count; ++i) {
    mdt_800::Variable& variable = metadata.MutableVariable(static_cast<int>(i));
    std::string name;
    if (kind == kVeld && static_cast<int>(i) == metadata.GetTargetIndex()) {
      name = fnNames[i];  // the text never names the target: no note about it
    } else if (kind == kVeld) {
      name = IsVeldName(fnNames[i]) ? fnNames[i] : VeldName(fnNames[i], &taken);
    } else {
      name = SqlIdentifier(fnNames[i], kind == kSqlAlways);
      if (!fnLabels[i].empty()) variable.SetLabel(SqlIdentifier(fnLabels[i], kind == kSqlAlways));
    }
    if (name != fnNames[i]) {
      variable.SetName(name);
      fnChanged.push_back({fnNames[i], name});
    }
  }
}

DialectNames::~DialectNames() {
  for (std::size_t i = 0; i < fnNames.size(); ++i) {
    mdt_800::Variable& variable = fnMetadata.MutableVariable(static_cast<int>(i));
    variable.SetName(fnNames[i]);
    variable.SetLabel(fnLabels[i]);
  }
}

}  // namespace treeout_cli
