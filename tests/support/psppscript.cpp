#include "psppscript.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "refhost/numbertext.h"

namespace testsupport {
namespace {

// A temporary folder, removed with the files named in it.
class Folder {
 public:
  Folder() {
    char const* base = std::getenv("TMPDIR");
    std::string pattern =
        std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/psppXXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("pspp: no temporary folder");
    fnPath = pattern;
  }
  ~Folder() {
    for (char const* name : {"data.csv", "run.sps", "out.csv", "log.txt"}) {
      std::remove(File(name).c_str());
    }
    rmdir(fnPath.c_str());
  }
  Folder(Folder const&) = delete;
  Folder& operator=(Folder const&) = delete;
  std::string File(char const* name) const { return fnPath + "/" + name; }

 private:
  std::string fnPath;
};

std::string CsvValue(mdt_800::Variant const& value) {
  switch (value.GetType()) {
    case mdt_800::Variant::TYPE_STRING: {
      std::string text = "\"";
      for (char c : static_cast<std::string const&>(value))
        text += c == '"' ? "\"\"" : std::string(1, c);
      return text + "\"";
    }
    case mdt_800::Variant::TYPE_DOUBLE:
      return refhost::ShortestText(static_cast<double>(value));
    case mdt_800::Variant::TYPE_LONG:
      return refhost::IntegerText(static_cast<long>(value));
    default:
      return "";
  }
}

std::string ReadAll(std::string const& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

bool PsppAvailable() { return std::system("pspp --version > /dev/null 2>&1") == 0; }

std::vector<std::string> CsvFields(std::string const& line) {
  std::vector<std::string> fields(1);
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    char const c = line[i];
    if (quoted && c == '"' && i + 1 < line.size() && line[i + 1] == '"') {
      fields.back() += '"';
      ++i;
    } else if (c == '"') {
      quoted = !quoted;
    } else if (c == ',' && !quoted) {
      fields.emplace_back();
    } else if (c != '\r') {
      fields.back() += c;
    }
  }
  return fields;
}

std::vector<std::vector<std::string>> RunPspp(
    std::vector<mdt_800::Variable> const& variables,
    std::vector<std::vector<mdt_800::Variant>> const& records, std::string const& syntax,
    std::vector<std::string> const& outputs) {
  Folder const folder;
  std::vector<std::size_t> widths(variables.size(), 1);
  {
    std::ofstream data(folder.File("data.csv"));
    for (auto const& record : records) {
      for (std::size_t i = 0; i < variables.size(); ++i) {
        if (record[i].GetType() == mdt_800::Variant::TYPE_STRING) {
          widths[i] = std::max(widths[i], static_cast<std::string const&>(record[i]).size());
        }
        data << (i == 0 ? "" : ",") << CsvValue(record[i]);
      }
      data << "\n";
    }
  }
  std::string script = "GET DATA /TYPE=TXT /FILE='" + folder.File("data.csv") +
                       "' /ARRANGEMENT=DELIMITED /DELIMITERS=\",\" /QUALIFIER='\"' /FIRSTCASE=1\n"
                       "  /VARIABLES=";
  for (std::size_t i = 0; i < variables.size(); ++i) {
    bool const text = variables[i].GetStorageType() == mdt_800::Variable::STORAGE_STRING;
    script += "\n  " + variables[i].GetName() +
              (text ? " A" + std::to_string(widths[i]) : std::string(" F40.16"));
  }
  script += ".\n" + syntax + "SAVE TRANSLATE /OUTFILE='" + folder.File("out.csv") +
            "' /TYPE=CSV /REPLACE /FIELDNAMES /TEXTOPTIONS FORMAT=PLAIN /KEEP=";
  for (std::string const& name : outputs) script += " " + name;
  std::ofstream(folder.File("run.sps")) << script << ".\n";

  std::string const command = "pspp -b '" + folder.File("run.sps") + "' -o /dev/null > '" +
                              folder.File("log.txt") + "' 2>&1";
  bool const ran = std::system(command.c_str()) == 0;
  std::string const log = ReadAll(folder.File("log.txt"));
  std::istringstream out(ReadAll(folder.File("out.csv")));
  std::vector<std::vector<std::string>> rows;
  std::string line;
  std::getline(out, line);  // the header
  while (std::getline(out, line)) {
    rows.push_back(CsvFields(line));
    for (std::string& field : rows.back()) field.erase(field.find_last_not_of(' ') + 1);
  }
  // A warning means that PSPP did not read or run something as written.
  if (!ran || log.find("warning") != std::string::npos || rows.size() != records.size()) {
    throw std::runtime_error("pspp: the run failed:\n" + log.substr(0, 4000));
  }
  return rows;
}

}  // namespace testsupport
