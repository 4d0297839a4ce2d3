#include "program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "cli/csvreader.h"

extern char** environ;

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

Run Treeout(std::vector<std::string> const& args, std::string const& input,
            std::string const& output) {
  // Each run in this process gets its own capture files.
  static int runs = 0;
  std::string const stem =
      ScratchDir() + "/run" + std::to_string(::getpid()) + "_" + std::to_string(++runs);
  std::string const outPath = output.empty() ? stem + ".out" : output;
  std::string const errPath = stem + ".err";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, input.empty() ? "/dev/null" : input.c_str(),
                                   O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0644);
  posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0644);
  std::vector<char*> argv{const_cast<char*>(TREEOUT_PROGRAM)};
  for (std::string const& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  pid_t pid = 0;
  int const started = posix_spawn(&pid, TREEOUT_PROGRAM, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (started != 0) throw std::runtime_error("cannot start " + std::string(TREEOUT_PROGRAM));
  int raw = 0;
  ::waitpid(pid, &raw, 0);
  Run run;
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
  if (output.empty()) run.out = ReadFile(outPath);
  run.err = ReadFile(errPath);
  ::unlink(errPath.c_str());
  if (output.empty()) ::unlink(outPath.c_str());
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
