// DuckDB through the npm package @duckdb/node-api: one `node` process runs
// duckdbengine.cjs, which takes JSON requests and answers each in one line,
// over a socket pair.
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "engines.h"
#include "refhost/numbertext.h"

namespace testsupport {
namespace {

std::string JsonString(std::string const& text) {
  std::string json = "\"";
  for (char const c : text) {
    if (c == '"' || c == '\\') {
      json += '\\';
      json += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
      json += escaped;
    } else {
      json += c;
    }
  }
  return json + "\"";
}

std::string JsonCell(Cell const& cell) {
  if (auto const* text = std::get_if<std::string>(&cell)) return JsonString(*text);
  if (std::holds_alternative<double>(cell)) return CellText(cell);
  return "null";
}

// Percent-encoded text decoded.
std::string Decoded(std::string const& text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      decoded += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

std::filesystem::path PackageFolder() {
  if (char const* dir = std::getenv("TREEOUT_DUCKDB_DIR")) return dir;
  if (char const* cache = std::getenv("XDG_CACHE_HOME")) {
    return std::filesystem::path(cache) / "treeout" / "duckdb";
  }
  char const* home = std::getenv("HOME");
  return std::filesystem::path(home ? home : "/") / ".cache" / "treeout" / "duckdb";
}

class DuckdbEngine : public Engine {
 public:
  DuckdbEngine() {
    std::filesystem::path const folder = PackageFolder();
    if (!std::filesystem::exists(folder / "node_modules" / "@duckdb" / "node-api")) {
      throw EngineUnavailable("no @duckdb/node-api in " + folder.string() +
                              " (tools/deps installs it; TREEOUT_DUCKDB_DIR names another folder)");
    }
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
      throw EngineUnavailable("no socket pair");
    }
    std::string const script = TREEOUT_DUCKDB_SCRIPT;
    std::string const folderText = folder.string();
    fnChild = fork();
    if (fnChild == 0) {
      dup2(ends[1], 0);
      dup2(ends[1], 1);
      execlp("node", "node", script.c_str(), folderText.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    close(ends[1]);
    fnSocket = ends[0];
    if (fnChild < 0) {
      close(fnSocket);
      throw EngineUnavailable("cannot start node");
    }
    try {
      std::string const hello = ReadLine();
      if (hello.empty()) throw EngineUnavailable("node " + script + " ended (is node installed?)");
      Answer(hello, "starting");
    } catch (...) {
      Stop();
      throw;
    }
  }
  ~DuckdbEngine() override { Stop(); }

  std::string Name() const override { return "DuckDB"; }

  std::vector<Row> Query(std::string const& sql) override {
    return Ask("[\"query\"," + JsonString(sql) + "]", sql);
  }

 protected:
  void Insert(std::string const& table, std::vector<Column> const& columns,
              std::vector<Row> const& rows) override {
    std::string request = "[\"insert\"," + JsonString(table) + ",[";
    for (std::size_t i = 0; i < columns.size(); ++i) {
      request += i ? ",\"" : "\"";
      request += "idt"[columns[i].kind];
      request += "\"";
    }
    request += "],[";
    for (std::size_t r = 0; r < rows.size(); ++r) {
      request += r ? ",[" : "[";
      for (std::size_t i = 0; i < rows[r].size(); ++i) {
        request += (i ? "," : "") + JsonCell(rows[r][i]);
      }
      request += "]";
    }
    Ask(request + "]]", "loading " + table);
  }

 private:
  std::vector<Row> Ask(std::string const& request, std::string const& what) {
    std::string const line = request + "\n";
    for (std::size_t sent = 0; sent < line.size();) {
      ssize_t const n = send(fnSocket, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
      if (n <= 0) throw EngineError("DuckDB: node has ended, while " + what);
      sent += static_cast<std::size_t>(n);
    }
    std::string const answer = ReadLine();
    if (answer.empty()) throw EngineError("DuckDB: node has ended, while " + what);
    return Answer(answer, what);
  }

  // The rows of an answer line ("ok", then "R" before each row and a field
  // per cell); an "error" line throws.
  static std::vector<Row> Answer(std::string const& line, std::string const& what) {
    std::vector<std::string> fields;
    std::stringstream in(line);
    for (std::string field; std::getline(in, field, '\t');) fields.push_back(field);
    if (fields.empty() || fields[0] != "ok") {
      throw EngineError("DuckDB: " + Decoded(fields.size() > 1 ? fields[1] : line) +
                        "\nin: " + what);
    }
    std::vector<Row> rows;
    for (std::size_t i = 1; i < fields.size(); ++i) {
      std::string const& f = fields[i];
      std::optional<double> const number = refhost::ParseDouble(f.substr(1));
      if (f == "R") {
        rows.emplace_back();
      } else if (!rows.empty() && f == "N") {
        rows.back().emplace_back();
      } else if (!rows.empty() && f[0] == 'S') {
        rows.back().emplace_back(Decoded(f.substr(1)));
      } else if (!rows.empty() && f[0] == 'D' && number) {
        rows.back().emplace_back(*number);
      } else {
        throw EngineError("DuckDB: cannot read the answer: " + line);
      }
    }
    return rows;
  }

  std::string ReadLine() {
    std::string line;
    for (;;) {
      std::size_t const end = fnBuffer.find('\n');
      if (end != std::string::npos) {
        line = fnBuffer.substr(0, end);
        fnBuffer.erase(0, end + 1);
        return line;
      }
      char chunk[65536];
      ssize_t const n = read(fnSocket, chunk, sizeof chunk);
      if (n <= 0) return "";
      fnBuffer.append(chunk, static_cast<std::size_t>(n));
    }
  }

  void Stop() {
    if (fnSocket >= 0) close(fnSocket);  // node ends at the end of its input
    fnSocket = -1;
    if (fnChild > 0) waitpid(fnChild, nullptr, 0);
    fnChild = -1;
  }

  int fnSocket = -1;
  pid_t fnChild = -1;
  std::string fnBuffer;
};

}  // namespace

std::unique_ptr<Engine> StartDuckdb() { return std::make_unique<DuckdbEngine>(); }

}  // namespace testsupport
