// What the program's messages share: the error of bad input (a model, data
// or output fault, exit status 1) and the one-line form of quoted text.
#pragma once

#include <stdexcept>
#include <string>

namespace treeout_cli {

// A fault of the files the program reads or writes; the message is the whole
// line after "treeout: ".
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// `text` for an error message on one line: line feeds, returns and tabs as
// \n, \r and \t.
std::string OneLine(std::string const& text);

}  // namespace treeout_cli
