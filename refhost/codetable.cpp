// The table keeps the answer of a linear search: single values of the
// missing sets are entered first (as system-missing), then each code's
// values in code order. A later entry with an earlier key lies further along
// its probe sequence, so a lookup finds the earlier one. Numbers are keyed by
// their double value (0 and -0 alike), as Variant equality compares them; NaN
// equals nothing and is not entered. A number that a missing range holds is
// missing whatever the table says; one that a code's range holds takes that
// code when it comes before the code of its single value.
#include "refhost/codetable.h"

#include <cmath>
#include <cstring>
#include <functional>
#include <string_view>
#include <typeinfo>

#include "host/systemmissing.h"

namespace refhost {
namespace {

constexpr std::uint64_t kMix = 0x9E3779B97F4A7C15ull;
constexpr double kExactIntegers = 9007199254740992.0;  // 2^53

std::uint64_t HashOf(std::string const& text) {
  return std::hash<std::string_view>()(std::string_view(text)) * kMix;
}

std::uint64_t HashOf(double x) {
  if (x == 0) x = 0;  // -0 finds 0
  std::uint64_t bits;
  std::memcpy(&bits, &x, sizeof bits);
  return (bits ^ (bits >> 29)) * kMix;
}

// The table's slot count: a power of two at least twice the entries.
std::size_t SlotsFor(std::size_t entries) {
  std::size_t size = 8;
  while (size < 2 * entries) size *= 2;
  return size;
}

}  // namespace

CodeTable::CodeTable(std::vector<mdt_800::EncodingSets> const& setsByCode,
                     mdt_800::EncodingSets const* missing) {
  if (missing != nullptr) Add(*missing, systemMissingValue(), &fnMissingRanges);
  for (std::size_t i = 0; i < setsByCode.size(); ++i) {
    Add(setsByCode[i], static_cast<double>(i + 1), &fnRanges);
  }
  Index();
}

void CodeTable::Add(mdt_800::EncodingSets const& sets, double code, std::vector<Range>* ranges) {
  for (auto const& set : sets.GetEncodingSetList()) {
    if (typeid(*set) == typeid(mdt_800::DiscreteValues)) {
      for (auto const& item : static_cast<mdt_800::DiscreteValues const&>(*set).GetItemList()) {
        mdt_800::Variant const& value = item.GetValue();
        int const type = value.GetType();
        if (type == mdt_800::Variant::TYPE_STRING) {
          fnStrings.push_back(static_cast<std::string const&>(value));
          fnStringCodes.push_back(code);
        } else if (type != mdt_800::Variant::TYPE_NONE && !std::isnan(static_cast<double>(value))) {
          fnNumbers.push_back(static_cast<double>(value));
          fnNumberCodes.push_back(code);
        }
      }
    } else if (typeid(*set) == typeid(mdt_800::Interval)) {
      std::vector<mdt_800::EncodingItem> const items = set->GetItems();
      ranges->push_back(Range{static_cast<double>(items[0].GetValue()),
                              static_cast<double>(items[1].GetValue()), !items[0].IsInfinity(),
                              !items[1].IsInfinity(), items[0].IsInclusive(),
                              items[1].IsInclusive(), code});
    }
  }
}

void CodeTable::Index() {
  fnStringSlots.assign(SlotsFor(fnStrings.size()), Slot{0, -1, 0});
  std::size_t mask = fnStringSlots.size() - 1;
  for (std::size_t k = 0; k < fnStrings.size(); ++k) {
    std::uint64_t const hash = HashOf(fnStrings[k]);
    std::size_t i = hash >> 32 & mask;
    while (fnStringSlots[i].key >= 0) i = (i + 1) & mask;
    fnStringSlots[i] = Slot{hash, static_cast<int>(k), fnStringCodes[k]};
  }
  fnNumberSlots.assign(SlotsFor(fnNumbers.size()), Slot{0, -1, 0});
  mask = fnNumberSlots.size() - 1;
  for (std::size_t k = 0; k < fnNumbers.size(); ++k) {
    std::uint64_t const hash = HashOf(fnNumbers[k]);
    std::size_t i = hash >> 32 & mask;
    while (fnNumberSlots[i].key >= 0) i = (i + 1) & mask;
    fnNumberSlots[i] = Slot{hash, static_cast<int>(k), fnNumberCodes[k]};
  }
}

double const* CodeTable::FindString(std::string const& text) const {
  std::uint64_t const hash = HashOf(text);
  std::size_t const mask = fnStringSlots.size() - 1;
  for (std::size_t i = hash >> 32 & mask;; i = (i + 1) & mask) {
    Slot const& slot = fnStringSlots[i];
    if (slot.key < 0) return nullptr;
    if (slot.hash == hash && fnStrings[static_cast<std::size_t>(slot.key)] == text) {
      return &slot.code;
    }
  }
}

double const* CodeTable::FindNumber(double x) const {
  std::uint64_t const hash = HashOf(x);
  std::size_t const mask = fnNumberSlots.size() - 1;
  for (std::size_t i = hash >> 32 & mask;; i = (i + 1) & mask) {
    Slot const& slot = fnNumberSlots[i];
    if (slot.key < 0) return nullptr;
    if (fnNumbers[static_cast<std::size_t>(slot.key)] == x) return &slot.code;
  }
}

bool CodeTable::Find(mdt_800::Variant const& value, double* code) const {
  double const sysmis = systemMissingValue();
  switch (value.GetType()) {
    case mdt_800::Variant::TYPE_STRING: {
      double const* found = FindString(static_cast<std::string const&>(value));
      *code = found != nullptr ? *found : sysmis;
      return true;
    }
    case mdt_800::Variant::TYPE_LONG:
    case mdt_800::Variant::TYPE_DOUBLE:
      break;
    default:
      return false;
  }
  double const x = static_cast<double>(value);
  if (value.GetType() == mdt_800::Variant::TYPE_LONG && std::fabs(x) >= kExactIntegers) {
    return false;
  }
  for (Range const& range : fnMissingRanges) {
    if (range.Contains(x)) {
      *code = sysmis;
      return true;
    }
  }
  // A single value's code (system-missing for a missing one, which every
  // code then follows), unless a range of an earlier code holds the number.
  double const* found = FindNumber(x);
  double best = found != nullptr ? *found : sysmis;
  for (Range const& range : fnRanges) {
    if (found != nullptr && range.code >= best) break;
    if (range.Contains(x)) {
      best = range.code;
      break;
    }
  }
  *code = best;
  return true;
}

}  // namespace refhost
