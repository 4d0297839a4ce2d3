#include "program.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "cli/csvreader.h"

namespace e2e {

// One folder per test process (CTest runs tests side by side), removed when
// the process ends.
std::string ScratchDir() {
  struct Folder {
    std::string path = std::string(TREEOUT_E2E_DIR) + "/p" + std::to_string(::getpid());
    Folder() { std::filesystem::create_directories(path); }
    ~Folder() {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    }
  };
  static Folder const folder;
  return folder.path;
}

std::string WriteFile(std::string const& name, std::string const& text) {
  std::string const path = ScratchDir() + "/" + name;
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

std::string ReadFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string TestData(std::string const& path) {
  return std::string(TREEOUT_TEST_DATA) + "/" + path;
}
std::string Example(std::string const& path) { return std::string(TREEOUT_EXAMPLES) + "/" + path; }

namespace {

std::string ShellQuoted(std::string const& text) {
  std::string quoted = "'";
  for (char const c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace

Run Treeout(std::vector<std::string> const& args, std::string const& input,
            std::string const& output) {
  std::string const outPath = output.empty() ? ScratchDir() + "/run.out" : output;
  std::string const errPath = ScratchDir() + "/run.err";
  std::string command = ShellQuoted(TREEOUT_PROGRAM);
  for (std::string const& arg : args) command += " " + ShellQuoted(arg);
  command += " <" + ShellQuoted(input.empty() ? "/dev/null" : input) + " >" + ShellQuoted(outPath) +
             " 2>" + ShellQuoted(errPath);
  int const raw = std::system(command.c_str());
  Run run;
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
  if (output.empty()) run.out = ReadFile(outPath);
  run.err = ReadFile(errPath);
  return run;
}

std::vector<std::vector<std::string>> ParseCsv(std::string const& text) {
  std::istringstream in(text);
  treeout_cli::CsvReader csv(in);
  std::vector<std::vector<std::string>> rows;
  for (std::vector<std::string> fields; csv.Next(&fields);) rows.push_back(fields);
  return rows;
}

}  // namespace e2e
