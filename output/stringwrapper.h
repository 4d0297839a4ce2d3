// The holder of one text that carries the result of an export across the
// library's boundary.
#pragma once

#include <string>

#include "ruletext/exportmacro.h"

namespace TreeOut_800 {

class TREEOUT_EXPORT StringWrapper {
 public:
  // Holds the empty string.
  StringWrapper();
  // Holds a copy of `text` up to its first NUL character (texts of this
  // library hold none).
  StringWrapper(std::string const& text);
  // A copy of the held text.
  std::string Str() const;

 private:
  std::string fnText;
};

}  // namespace TreeOut_800
