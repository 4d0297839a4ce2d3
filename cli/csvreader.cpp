#include "cli/csvreader.h"

namespace treeout_cli {

bool CsvReader::Next(std::vector<std::string>* fields) {
  fields->clear();
  int c = fnIn.get();
  if (c == EOF) return false;
  fnRecordLine = fnLine;
  std::string field;
  bool quoted = false;  // the current field began with a quote
  bool inQuotes = false;
  for (;; c = fnIn.get()) {
    if (inQuotes) {
      if (c == EOF)
        throw CsvError("line " + std::to_string(fnRecordLine) + ": a quoted field is not closed");
      if (c == '"') {
        if (fnIn.peek() == '"') {
          fnIn.get();
          field += '"';
        } else {
          inQuotes = false;
        }
      } else {
        if (c == '\n') ++fnLine;
        field += static_cast<char>(c);
      }
      continue;
    }
    if (c == ',' || c == '\n' || c == '\r' || c == EOF) {
      fields->push_back(std::move(field));
      field.clear();
      quoted = false;
      if (c == ',') continue;
      if (c == '\r' && fnIn.peek() == '\n') fnIn.get();
      if (c != EOF) ++fnLine;
      return true;
    }
    if (c == '"' && field.empty() && !quoted) {
      quoted = inQuotes = true;
      continue;
    }
    if (quoted) {
      throw CsvError("line " + std::to_string(fnLine) + ": text after a closing quote");
    }
    field += static_cast<char>(c);
  }
}

}  // namespace treeout_cli
