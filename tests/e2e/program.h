// Runs the built treeout program for end-to-end tests and collects what it
// wrote: status, standard output and standard error.
#pragma once

#include <string>
#include <vector>

namespace e2e {

struct Run {
  int status = -1;  // the exit status, or 128 + the signal
  std::string out, err;
};

// Runs treeout with `args` (each passed as one argument, no shell), standard
// input from the file `input` (or /dev/null when empty), standard output to
// `output` when not empty (its text is then not collected).
Run Treeout(std::vector<std::string> const& args, std::string const& input = "",
            std::string const& output = "");

// A scratch folder for this test process, and files in it.
std::string ScratchDir();
std::string WriteFile(std::string const& name, std::string const& text);
std::string ReadFile(std::string const& path);

// A file of the shared test data and of the examples.
std::string TestData(std::string const& path);
std::string Example(std::string const& path);

// CSV text as rows of fields (RFC 4180, as the program writes it).
std::vector<std::vector<std::string>> ParseCsv(std::string const& text);

}  // namespace e2e
