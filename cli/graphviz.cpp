#include "cli/graphviz.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

extern char** environ;

namespace treeout_cli {
namespace {

// Closes a descriptor when it goes out of scope.
struct Fd {
  int fd = -1;
  ~Fd() { Close(); }
  void Close() {
    if (fd >= 0) ::close(fd);
    fd = -1;
  }
};

// Ignores SIGPIPE while it lives: a dot that stops reading gives an error
// status, not the end of treeout.
struct NoSigpipe {
  struct sigaction old {};
  NoSigpipe() {
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &old);
  }
  ~NoSigpipe() { sigaction(SIGPIPE, &old, nullptr); }
};

}  // namespace

void RunDot(std::string const& graph, std::string const& format, int out) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0)
    throw RenderError(std::string("cannot run dot: ") + std::strerror(errno));
  Fd reader{ends[0]}, writer{ends[1]};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, reader.fd, 0);
  posix_spawn_file_actions_adddup2(&actions, out, 1);
  std::string const type = "-T" + format;
  std::vector<char*> argv{const_cast<char*>("dot"), const_cast<char*>(type.c_str()), nullptr};
  pid_t pid = 0;
  int const started = posix_spawnp(&pid, "dot", &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (started == ENOENT) {
    throw RenderError(
        "--svg needs Graphviz's dot program, which is not installed (on Debian: apt-get install "
        "graphviz); --dot writes the graph as text");
  }
  if (started != 0) throw RenderError(std::string("cannot run dot: ") + std::strerror(started));
  reader.Close();
  int writeError = 0;
  {
    NoSigpipe const guard;
    char const* text = graph.data();
    std::size_t left = graph.size();
    while (left > 0) {
      ssize_t const n = ::write(writer.fd, text, left);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) {
        writeError = errno;
        break;
      }
      text += n;
      left -= static_cast<std::size_t>(n);
    }
    writer.Close();
  }
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw RenderError("dot failed (" +
                      (WIFEXITED(status) ? "status " + std::to_string(WEXITSTATUS(status))
                                         : "signal " + std::to_string(WTERMSIG(status))) +
                      ")");
  }
  if (writeError != 0)
    throw RenderError(std::string("cannot write to dot: ") + std::strerror(writeError));
}

}  // namespace treeout_cli
