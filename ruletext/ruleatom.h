// An operand of a condition that writes its own text.
#pragma once

#include <memory>
#include <string>

namespace TreeOut_800 {

class RuleExportOptions;

class RuleAtom {
 public:
  virtual ~RuleAtom();

  // The operand's text in the dialect and label use of `options`.
  virtual std::string Export(const RuleExportOptions& options) const = 0;

  // A copy of this operand, owned by the caller.
  virtual std::unique_ptr<RuleAtom> Clone() const = 0;
};

}  // namespace TreeOut_800
