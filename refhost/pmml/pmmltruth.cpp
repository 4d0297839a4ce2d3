// PMML's three-valued logic over predicates: an atom on a missing value is
// UNKNOWN; and, or and xor combine TRUE, FALSE and UNKNOWN as the standard's
// tables do; a surrogate compound takes the first part that is not UNKNOWN.
#include <cmath>

#include "host/systemmissing.h"
#include "refhost/pmml/pmmlinternal.h"

namespace refhost::pmml {

Truth Evaluate(Pred const& pred, double const* values) {
  switch (pred.kind) {
    case Pred::kTrue:
      return Truth::kTrue;
    case Pred::kFalse:
      return Truth::kFalse;
    case Pred::kIsMissing:
    case Pred::kIsNotMissing: {
      bool const missing = values[pred.field] == systemMissingValue();
      return missing == (pred.kind == Pred::kIsMissing) ? Truth::kTrue : Truth::kFalse;
    }
    case Pred::kAtom: {
      double const v = values[pred.field];
      if (v == systemMissingValue()) return Truth::kUnknown;
      bool holds = false;
      if (!pred.codes.empty()) {
        double const whole = std::floor(v);
        holds = whole == v && whole >= 0 && whole < static_cast<double>(pred.codes.size()) &&
                pred.codes[static_cast<std::size_t>(whole)];
      } else {
        holds = pred.numbers.Contains(v);
      }
      return holds ? Truth::kTrue : Truth::kFalse;
    }
    case Pred::kAnd: {
      Truth result = Truth::kTrue;
      for (Pred const& part : pred.parts) {
        Truth const t = Evaluate(part, values);
        if (t == Truth::kFalse) return Truth::kFalse;
        if (t == Truth::kUnknown) result = Truth::kUnknown;
      }
      return result;
    }
    case Pred::kOr: {
      Truth result = Truth::kFalse;
      for (Pred const& part : pred.parts) {
        Truth const t = Evaluate(part, values);
        if (t == Truth::kTrue) return Truth::kTrue;
        if (t == Truth::kUnknown) result = Truth::kUnknown;
      }
      return result;
    }
    case Pred::kXor: {
      bool odd = false;
      for (Pred const& part : pred.parts) {
        Truth const t = Evaluate(part, values);
        if (t == Truth::kUnknown) return Truth::kUnknown;
        odd = odd != (t == Truth::kTrue);
      }
      return odd ? Truth::kTrue : Truth::kFalse;
    }
    case Pred::kSurrogate:
      for (Pred const& part : pred.parts) {
        Truth const t = Evaluate(part, values);
        if (t != Truth::kUnknown) return t;
      }
      return Truth::kUnknown;
  }
  return Truth::kUnknown;
}

}  // namespace refhost::pmml
