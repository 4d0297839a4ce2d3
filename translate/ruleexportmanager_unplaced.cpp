// The values an ordered split maps to no child. The host treats such a value
// as missing: it goes to the missing-value child, or to the later rules of
// the chain, or to the default child. So wherever missing values belong to a
// child, these values do too. For a predictor coded by categories they are
// the codes no child's range holds; otherwise the gaps between the
// children's ranges, found by sorting the ranges by their lower ends and
// sweeping once. Each gap is decoded and written as the children's ranges
// are.
#include <algorithm>
#include <memory>
#include <vector>

#include "ruletext/exportutil.h"
#include "ruletext/ruleconnectoror.h"
#include "translate/ruleexportmanager.h"

namespace TreeOut_800 {
namespace {

// A range of codes; a side without bound reaches to infinity.
struct Span {
  bool hasLower = false;
  double lower = 0;
  bool lowerOpen = true;
  bool hasUpper = false;
  double upper = 0;
  bool upperOpen = true;
};

// A gap as a value set, so that it decodes as the children's ranges do.
class SpanSet : public tree_800::OValueSet {
 public:
  explicit SpanSet(const Span& span) : fnSpan(span) {}
  bool Contains(double value) const override {
    const bool aboveLower =
        !fnSpan.hasLower || (fnSpan.lowerOpen ? value > fnSpan.lower : value >= fnSpan.lower);
    const bool belowUpper =
        !fnSpan.hasUpper || (fnSpan.upperOpen ? value < fnSpan.upper : value <= fnSpan.upper);
    return aboveLower && belowUpper;
  }
  bool IsEmpty() const override { return false; }
  double GetLowerBound() const override { return fnSpan.lower; }
  double GetUpperBound() const override { return fnSpan.upper; }
  bool IsLowerOpen() const override { return fnSpan.lowerOpen; }
  bool IsUpperOpen() const override { return fnSpan.upperOpen; }
  bool HasLowerBound() const override { return fnSpan.hasLower; }
  bool HasUpperBound() const override { return fnSpan.hasUpper; }

 private:
  Span fnSpan;
};

// Whether `a` starts before `b`: an unbounded start first, then by value,
// an included end before an excluded one.
bool StartsBefore(const Span& a, const Span& b) {
  if (a.hasLower != b.hasLower) return !a.hasLower;
  if (!a.hasLower || a.lower != b.lower) return a.lower < b.lower;
  return !a.lowerOpen && b.lowerOpen;
}

// The stretches of the number line that no span covers, in ascending order.
std::vector<Span> Gaps(std::vector<Span> spans) {
  std::sort(spans.begin(), spans.end(), StartsBefore);
  std::vector<Span> gaps;
  if (spans.empty()) return {Span()};
  const Span& first = spans.front();
  if (first.hasLower) {
    Span below;
    below.hasUpper = true;
    below.upper = first.lower;
    below.upperOpen = !first.lowerOpen;
    gaps.push_back(below);
  }
  // Everything up to `reach` is covered (`reach` itself unless `reachOpen`).
  bool unbounded = false;
  double reach = 0;
  bool reachOpen = true;
  bool started = false;
  for (const Span& span : spans) {
    if (started && span.hasLower &&
        (span.lower > reach || (span.lower == reach && reachOpen && span.lowerOpen))) {
      Span gap;
      gap.hasLower = gap.hasUpper = true;
      gap.lower = reach;
      gap.lowerOpen = !reachOpen;
      gap.upper = span.lower;
      gap.upperOpen = !span.lowerOpen;
      gaps.push_back(gap);
    }
    if (!span.hasUpper) {
      unbounded = true;
      break;
    }
    if (!started || span.upper > reach || (span.upper == reach && !span.upperOpen)) {
      reach = span.upper;
      reachOpen = span.upperOpen;
    }
    started = true;
  }
  if (!unbounded) {
    Span above;
    above.hasLower = true;
    above.lower = reach;
    above.lowerOpen = !reachOpen;
    gaps.push_back(above);
  }
  return gaps;
}

}  // namespace

std::string RuleExportManager::ExportUnplacedValues(const tree_800::SplitRule& rule,
                                                    const RuleExportOptions& options,
                                                    int* count) const {
  std::vector<Span> spans;
  const int children = rule.GetNumChildren();
  for (int c = 0; c < children; ++c) {
    const std::unique_ptr<tree_800::ValueSet> values(rule.GetMappedValues(c));
    if (!values || values->IsEmpty()) continue;
    const auto* range = dynamic_cast<const tree_800::OValueSet*>(values.get());
    if (range == nullptr) return std::string();  // not ranges: nothing to say here
    Span span;
    span.hasLower = range->HasLowerBound();
    span.lower = range->GetLowerBound();
    span.lowerOpen = range->IsLowerOpen();
    span.hasUpper = range->HasUpperBound();
    span.upper = range->GetUpperBound();
    span.upperOpen = range->IsUpperOpen();
    spans.push_back(span);
  }
  const mdt_800::Variable& variable = Predictor(rule);
  const mdt_800::Encoder* encoder = variable.GetEncoding();
  std::vector<Span> gaps;
  if (const auto* categories = dynamic_cast<const mdt_800::MapEncoder*>(encoder)) {
    // Codes are the encoder's categories, not every number: a code that no
    // child holds is a gap, written as the range from the code before it.
    Span gap;
    for (int code : categories->EncodedValues()) {
      const bool placed = std::any_of(spans.begin(), spans.end(), [code](const Span& span) {
        return SpanSet(span).Contains(static_cast<double>(code));
      });
      if (!placed) {
        gap.hasUpper = true;
        gap.upper = code;
        gap.upperOpen = false;
        gaps.push_back(gap);
      }
      gap.hasLower = true;
      gap.lower = code;
    }
  } else {
    gaps = Gaps(std::move(spans));
  }

  const std::string orText = RuleConnectorOR::Export(options);
  std::string text;
  for (const Span& gap : gaps) {
    Interval values;
    DecodeOValueSet(SpanSet(gap), encoder, &values);
    if (values.IsEmpty()) continue;
    std::string clause = ExportInterval(variable, options, values, true);
    if (clause.empty()) {
      clause = ExportConstant(true, options);  // no child has any value
    } else if (values.IsBoundedLeft() && values.IsBoundedRight()) {
      ExportUtil::WrapExpression(clause, ExportUtil::CH_BRACKETS, 1);
    }
    if (!text.empty()) text += orText;
    text += clause;
    ++*count;
  }
  return text;
}

}  // namespace TreeOut_800
