// Drawing through Graphviz's dot program.
#pragma once

#include <stdexcept>
#include <string>

namespace treeout_cli {

class RenderError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Runs `dot -T<format>` on the DOT text `graph`, its output going to the
// open descriptor `out`. Throws RenderError when dot is not installed, cannot
// be started, or fails.
void RunDot(std::string const& graph, std::string const& format, int out);

}  // namespace treeout_cli
