// A category encoder's value-to-code table, built once: hashed single values
// (strings and numbers) and the ranges of binned codes, so that encoding a
// value costs one lookup instead of a comparison with every category.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/encoding.h"
#include "host/variant.h"

namespace refhost {

class CodeTable {
 public:
  CodeTable() = default;  // knows no value
  // Code i + 1 stands for setsByCode[i]; the values of `missing` (may be null)
  // stand for system-missing.
  CodeTable(std::vector<mdt_800::EncodingSets> const& setsByCode,
            mdt_800::EncodingSets const* missing);

  // Sets `*code` to what searching the missing sets first, then each code's
  // sets in code order, gives a string or number `value`: system-missing for
  // a user-missing or unknown value. False, with `*code` unchanged, for a
  // value the table does not answer: no content, or an integer of 2^53 or more
  // in size (integers compare as integers there, not as doubles).
  bool Find(mdt_800::Variant const& value, double* code) const;

 private:
  struct Range {
    double lower, upper;
    bool hasLower, hasUpper, lowerInclusive, upperInclusive;
    double code;
    bool Contains(double x) const {
      bool const aboveLower = !hasLower || (lowerInclusive ? x >= lower : x > lower);
      bool const belowUpper = !hasUpper || (upperInclusive ? x <= upper : x < upper);
      return aboveLower && belowUpper;
    }
  };
  // Open addressing with linear probing; `key` indexes fnStrings or
  // fnNumbers, -1 marks a free slot.
  struct Slot {
    std::uint64_t hash;
    int key;
    double code;
  };

  void Add(mdt_800::EncodingSets const& sets, double code, std::vector<Range>* ranges);
  void Index();
  double const* FindString(std::string const& text) const;
  double const* FindNumber(double x) const;

  std::vector<std::string> fnStrings;
  std::vector<double> fnNumbers;
  std::vector<double> fnStringCodes;  // per entry of fnStrings, the first added first
  std::vector<double> fnNumberCodes;
  std::vector<Slot> fnStringSlots;  // sizes are powers of two
  std::vector<Slot> fnNumberSlots;
  std::vector<Range> fnMissingRanges;
  std::vector<Range> fnRanges;  // in code order
};

}  // namespace refhost
