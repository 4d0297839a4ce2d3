// A compact text of an interval for test expectations: "(10, 30]" with "~"
// before an unbounded side's bracket and end, e.g. "~(none, 7)". End values:
// numbers as "%g" (integers with a trailing "L"), strings quoted, "none" for
// a value without content.
#pragma once

#include <cstdio>
#include <string>

#include "translate/rulesinterval.h"

namespace translatetest {

inline std::string ValueText(const mdt_800::Variant& v) {
  char buffer[64];
  switch (v.GetType()) {
    case mdt_800::Variant::TYPE_DOUBLE:
      std::snprintf(buffer, sizeof buffer, "%g", static_cast<double>(v));
      return buffer;
    case mdt_800::Variant::TYPE_LONG:
      return std::to_string(static_cast<long>(v)) + "L";
    case mdt_800::Variant::TYPE_STRING:
      return "'" + static_cast<const std::string&>(v) + "'";
    default:
      return "none";
  }
}

inline std::string IntervalText(const TreeOut_800::Interval& i) {
  std::string text = i.IsBoundedLeft() ? "" : "~";
  text += i.IsOpenLeft() ? "(" : "[";
  text += ValueText(i.GetLeftEnd().GetValue()) + ", ";
  if (!i.IsBoundedRight()) text += "~";
  text += ValueText(i.GetRightEnd().GetValue());
  text += i.IsOpenRight() ? ")" : "]";
  return text;
}

}  // namespace translatetest
