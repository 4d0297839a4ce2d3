// DuckDB through the npm package @duckdb/node-api: one `node` process runs
// duckdbengine.cjs and answers JSON requests, one a line, over a socket pair.
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

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

// Reads what the script writes: arrays of null, numbers and strings.
class JsonReader {
 public:
  explicit JsonReader(std::string const& text) : fnText(text) {}

  void Expect(char c) {
    if (fnAt >= fnText.size() || fnText[fnAt] != c) Fail(std::string("expected ") + c);
    ++fnAt;
  }
  bool Peek(char c) const { return fnAt < fnText.size() && fnText[fnAt] == c; }
  bool Next(char c) {  // takes `c` when it comes next
    return Peek(c) ? (++fnAt, true) : false;
  }
  std::string String() {
    Expect('"');
    std::string text;
    while (fnAt < fnText.size() && fnText[fnAt] != '"') {
      char c = fnText[fnAt++];
      if (c == '\\') {
        c = fnText.at(fnAt++);
        if (c == 'u') {
          AppendUtf8(std::strtoul(fnText.substr(fnAt, 4).c_str(), nullptr, 16), &text);
          fnAt += 4;
          continue;
        }
        c = c == 'n'   ? '\n'
            : c == 't' ? '\t'
            : c == 'r' ? '\r'
            : c == 'b' ? '\b'
            : c == 'f' ? '\f'
                       : c;
      }
      text += c;
    }
    Expect('"');
    return text;
  }
  Cell Value() {
    if (fnText.compare(fnAt, 4, "null") == 0) return fnAt += 4, Cell();
    if (fnAt < fnText.size() && fnText[fnAt] == '"') return String();
    std::size_t const end = fnText.find_first_of(",]", fnAt);
    std::optional<double> const number = refhost::ParseDouble(fnText.substr(fnAt, end - fnAt));
    if (!number) Fail("expected a value");
    fnAt = end;
    return *number;
  }
  std::vector<Row> Rows() {
    std::vector<Row> rows;
    Expect('[');
    while (!Next(']')) {
      if (!rows.empty()) Expect(',');
      rows.emplace_back();
      Expect('[');
      while (!Next(']')) {
        if (!rows.back().empty()) Expect(',');
        rows.back().push_back(Value());
      }
    }
    return rows;
  }

 private:
  static void AppendUtf8(unsigned long code, std::string* text) {
    if (code < 0x80) {
      *text += static_cast<char>(code);
    } else if (code < 0x800) {
      *text += static_cast<char>(0xC0 | (code >> 6));
      *text += static_cast<char>(0x80 | (code & 0x3F));
    } else {
      *text += static_cast<char>(0xE0 | (code >> 12));
      *text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      *text += static_cast<char>(0x80 | (code & 0x3F));
    }
  }
  [[noreturn]] void Fail(std::string const& what) const {
    throw EngineError("DuckDB: " + what + " at " + std::to_string(fnAt) + " of: " + fnText);
  }

  std::string const& fnText;
  std::size_t fnAt = 0;
};

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

  // ["ok", rows] gives the rows, ["ok", version] none; ["error", message] throws.
  static std::vector<Row> Answer(std::string const& line, std::string const& what) {
    JsonReader reader(line);
    reader.Expect('[');
    std::string const status = reader.String();
    reader.Expect(',');
    if (status != "ok") throw EngineError("DuckDB: " + reader.String() + "\nin: " + what);
    return reader.Peek('"') ? std::vector<Row>() : reader.Rows();
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
