// Host encoding types: items, encoding sets, lists of sets, missing values and
// encoders (raw value to category code and back). Items, sets and lists are
// value types whose copies are independent; constructing, copying and adding
// may throw std::bad_alloc. "May throw" below means any std::exception, with
// the object left as it was. Nothing here is thread-safe unless said otherwise.
#pragma once

#include <memory>
#include <vector>

#include "host/variant.h"

namespace mdt_800 {

// One value, or one end of a range, with its inclusive flag. An end that is a
// unbounded end holds one of the two extreme bounds (the double just above
// -DBL_MAX below, DBL_MAX above), which rule text can write and databases read.
class EncodingItem {
 public:
  EncodingItem(Variant const& value, bool inclusive);
  EncodingItem(EncodingItem const& other);
  EncodingItem& operator=(EncodingItem const& other);
  virtual ~EncodingItem();

  // Valid while this item lives and is not assigned to.
  Variant const& GetValue() const;
  bool IsInclusive() const;
  void SetInclusive(bool inclusive);
  // True for an unbounded end (minus or plus infinity).
  bool IsInfinity() const;

 private:
  Variant fnValue;
  bool fnInclusive;
};

// A set of values that one category code stands for.
class EncodingSet {
 public:
  virtual ~EncodingSet();
  // The items in stored order, as a new vector. May throw.
  virtual std::vector<EncodingItem> GetItems() const = 0;
  // A new copy of the set of the same dynamic type, which the caller owns and
  // deletes. May throw.
  virtual EncodingSet* Clone() const = 0;

 protected:
  EncodingSet();
  EncodingSet(EncodingSet const& other);
};

// A set of single values.
class DiscreteValues : public EncodingSet {
 public:
  DiscreteValues();
  DiscreteValues(DiscreteValues const& other);
  ~DiscreteValues() override;
  std::vector<EncodingItem> GetItems() const override;
  EncodingSet* Clone() const override;
  void AddItem(EncodingItem const& item);  // appends a copy
  // The items in stored order, owned by the set (no copy): valid until the set
  // is destroyed or an item is added. Does not throw.
  std::vector<EncodingItem> const& GetItemList() const;

 private:
  std::vector<EncodingItem> fnItems;
};

// A range: item 0 is the lower end, item 1 the upper end. An unbounded side is
// an infinity item.
class Interval : public EncodingSet {
 public:
  Interval(EncodingItem const& lower, EncodingItem const& upper);
  Interval(Interval const& other);
  ~Interval() override;
  std::vector<EncodingItem> GetItems() const override;
  EncodingSet* Clone() const override;

 private:
  EncodingItem fnLower;
  EncodingItem fnUpper;
};

// An owning list of encoding sets, copied deeply.
class EncodingSets {
 public:
  EncodingSets();
  EncodingSets(EncodingSets const& other);
  EncodingSets(EncodingSets&& other) noexcept;
  EncodingSets& operator=(EncodingSets const& other);
  ~EncodingSets();

  void AddEncodingSet(EncodingSet const& set);  // appends a copy
  // The sets in stored order, owned by the list: valid until the list is
  // destroyed, assigned to or added to. Does not throw.
  std::vector<std::unique_ptr<EncodingSet>> const& GetEncodingSetList() const;
  // A new copy of the first set of kind Interval, or null; the caller owns and
  // deletes it. May throw.
  Interval* GetFirstInterval() const;
  // A new copy of the first item value of the first DiscreteValues set, or
  // null; the caller owns and deletes it. May throw.
  Variant* GetFirstValue() const;

 private:
  std::vector<std::unique_ptr<EncodingSet>> fnSets;
};

// A variable's user-missing values: DiscreteValues sets and Interval ranges.
class MissingValues {
 public:
  explicit MissingValues(EncodingSets const& sets);
  ~MissingValues();
  // Never null; owned by this object and valid while it lives. Does not throw.
  EncodingSets const* GetEncodingSets() const;

 private:
  EncodingSets fnSets;
};

// Turns a raw value into the number that the tree's split rules see, and a
// code back into the values that it stands for. Implementations give the same
// answer to the same question for as long as the encoder lives.
class Encoder {
 public:
  // The code of a raw value; system-missing for a value without content, a
  // user-missing value, or a category the encoder does not know. May throw.
  virtual double Encode(Variant const& value) const = 0;
  // The value or values that a code stands for; empty for an unknown code.
  // May throw.
  virtual EncodingSets Decode(double code) const = 0;
  // The user-missing values, or null when there are none; owned by the encoder
  // and valid while it lives. Does not throw.
  virtual MissingValues const* GetMissingValues() const = 0;
  virtual ~Encoder();
};

// An encoder over a finite set of category codes.
class MapEncoder : public Encoder {
 public:
  // Every category code, ascending. May throw.
  virtual std::vector<int> EncodedValues() const = 0;
};

}  // namespace mdt_800
