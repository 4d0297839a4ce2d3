// Value-set decoding: an ordinal value set of the tree (bounds in code space
// when the predictor has an encoder) becomes an interval of variable values.
// Each encoded bound is decoded to the sets its code stands for; from the
// first interval among them an end item is chosen by the lower bound's open
// flag (open: the far end of the code's interval, excluded; closed: the near
// end as stored), else the first single value, excluded. The right side always
// uses the lower bound's flag and selection and ends closed, so a split on
// single-value codes reads (lower value, upper value]. Flags and ends are set
// in a fixed order: setting an end also bounds its side.
#include <memory>

#include "translate/ruleexportmanager.h"

namespace TreeOut_800 {
namespace {

// The item a decoded code gives one side of an interval: from the code's
// first interval, else its first value excluded, else the neutral item.
mdt_800::EncodingItem DecodeBound(const RuleExportManager& manager, const mdt_800::Encoder& encoder,
                                  const tree_800::OValueSet& valueSet, double code) {
  mdt_800::EncodingItem item(mdt_800::Variant(0.0), false);
  const mdt_800::EncodingSets sets = encoder.Decode(code);
  const std::unique_ptr<mdt_800::Interval> codeInterval(sets.GetFirstInterval());
  const std::unique_ptr<mdt_800::Variant> codeValue(sets.GetFirstValue());
  if (codeInterval) {
    item = manager.DecodeOValueSetValue(*codeInterval, valueSet.GetLowerBound(),
                                        valueSet.IsLowerOpen(), true);
  } else if (codeValue) {
    item = mdt_800::EncodingItem(*codeValue, false);
  }
  return item;
}

}  // namespace

mdt_800::EncodingSets GetEncodingSetList(double value) {
  const mdt_800::Variant variant(value);
  const mdt_800::EncodingItem item(variant, false);
  mdt_800::DiscreteValues values;
  values.AddItem(item);
  mdt_800::EncodingSets sets;
  sets.AddEncodingSet(values);
  return sets;
}

mdt_800::EncodingItem RuleExportManager::DecodeOValueSetValue(const mdt_800::Interval& codeInterval,
                                                              double /*bound*/, bool open,
                                                              bool lowerEnd) const {
  mdt_800::EncodingItem result(mdt_800::Variant(0.0), false);
  const std::vector<mdt_800::EncodingItem> items = codeInterval.GetItems();
  if (open) {
    const mdt_800::EncodingItem& taken = lowerEnd ? items[1] : items[0];
    result = taken;
    if (!taken.IsInfinity()) result.SetInclusive(false);
  } else {
    result = lowerEnd ? items[0] : items[1];
  }
  return result;
}

void RuleExportManager::DecodeOValueSet(const tree_800::OValueSet& valueSet,
                                        const mdt_800::Encoder* encoder, Interval* interval) const {
  if (!valueSet.HasLowerBound()) {
    interval->SetBoundedLeft(false);
  } else if (encoder == nullptr) {
    interval->SetBoundedLeft(valueSet.HasLowerBound());
    interval->SetOpenLeft(valueSet.IsLowerOpen());
    interval->SetLeftEnd(mdt_800::Value(mdt_800::Variant(valueSet.GetLowerBound())));
  } else {
    const mdt_800::EncodingItem item =
        DecodeBound(*this, *encoder, valueSet, valueSet.GetLowerBound());
    interval->SetBoundedLeft(!item.IsInfinity());
    interval->SetOpenLeft(!item.IsInclusive());
    interval->SetLeftEnd(mdt_800::Value(item.GetValue()));
  }

  if (!valueSet.HasUpperBound()) {
    interval->SetBoundedRight(false);
  } else if (encoder == nullptr) {
    interval->SetOpenRight(valueSet.IsUpperOpen());
    interval->SetBoundedRight(valueSet.HasUpperBound());
    interval->SetRightEnd(mdt_800::Value(mdt_800::Variant(valueSet.GetUpperBound())));
  } else {
    const mdt_800::EncodingItem item =
        DecodeBound(*this, *encoder, valueSet, valueSet.GetUpperBound());
    interval->SetBoundedRight(!item.IsInfinity());
    interval->SetOpenRight(false);
    interval->SetRightEnd(mdt_800::Value(item.GetValue()));
  }
}

void RuleExportManager::EncodingSetToInterval(const mdt_800::EncodingSet& set,
                                              Interval* interval) const {
  const std::vector<mdt_800::EncodingItem> items = set.GetItems();
  interval->SetBoundedLeft(!items[0].IsInfinity());
  interval->SetBoundedRight(!items[1].IsInfinity());
  interval->SetOpenLeft(!items[0].IsInclusive());
  interval->SetOpenRight(!items[1].IsInclusive());
  interval->SetLeftEnd(mdt_800::Value(items[0].GetValue()));
  interval->SetRightEnd(mdt_800::Value(items[1].GetValue()));
}

void RuleExportManager::BuildInterval(Interval* interval, const tree_800::SplitRule& split,
                                      int child) const {
  const mdt_800::Encoder* encoder = Predictor(split).GetEncoding();
  const std::unique_ptr<tree_800::ValueSet> valueSet(split.GetMappedValues(child));
  const auto* range = dynamic_cast<const tree_800::OValueSet*>(valueSet.get());
  if (range == nullptr) {
    // No values for this child (or none that a range describes): (0, 0).
    interval->SetBoundedLeft(true);
    interval->SetBoundedRight(true);
    interval->SetOpenLeft(true);
    interval->SetOpenRight(true);
    interval->SetLeftEnd(mdt_800::Value(mdt_800::Variant(0L)));
    interval->SetRightEnd(mdt_800::Value(mdt_800::Variant(0L)));
    return;
  }
  DecodeOValueSet(*range, encoder, interval);
}

}  // namespace TreeOut_800
