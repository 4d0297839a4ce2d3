#include "cli/messages.h"

namespace treeout_cli {

std::string OneLine(std::string const& text) {
  std::string line;
  for (char c : text) {
    if (c == '\n') {
      line += "\\n";
    } else if (c == '\r') {
      line += "\\r";
    } else if (c == '\t') {
      line += "\\t";
    } else {
      line += c;
    }
  }
  return line;
}

}  // namespace treeout_cli
