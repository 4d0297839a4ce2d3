// Host split rules and the value sets that say which values a split sends to
// each child. Nothing here is thread-safe unless said otherwise. "May throw"
// means any std::exception, with the object left as it was.
#pragma once

#include <memory>
#include <utility>
#include <vector>

namespace tree_800 {

// Iterator over the category codes of a nominal value set. Callers ask
// HasMore() before every Next().
class ValueIterator {
 public:
  virtual ~ValueIterator();
  virtual int Next() = 0;            // REQUIRES: HasMore(). May throw.
  virtual bool HasMore() const = 0;  // does not throw
};

// The values that a split sends to one child. Contains and IsEmpty do not
// throw.
class ValueSet {
 public:
  virtual ~ValueSet();
  virtual bool Contains(double value) const = 0;
  virtual bool IsEmpty() const = 0;
};

// A set of category codes.
class NValueSet : public ValueSet {
 public:
  // A new iterator over the codes in the set's order, which the caller owns and
  // deletes. REQUIRES: the set outlives the iterator. May throw.
  virtual ValueIterator* GetIterator() const = 0;
};

// A range of values (category codes when the predictor has an encoder). A
// bound means something only when its Has...Bound() is true. None of these
// throws.
class OValueSet : public ValueSet {
 public:
  virtual double GetLowerBound() const = 0;
  virtual double GetUpperBound() const = 0;
  virtual bool IsLowerOpen() const = 0;
  virtual bool IsUpperOpen() const = 0;
  virtual bool HasLowerBound() const = 0;
  virtual bool HasUpperBound() const = 0;
};

// The implementation behind a SplitRule: what one split does with a value.
// Only Clone and GetMappedValues may throw.
class SplitRuleImp {
 public:
  virtual ~SplitRuleImp();
  // A new copy that the caller owns and deletes. May throw.
  virtual SplitRuleImp* Clone() const = 0;
  virtual int GetPredictorIndex() const = 0;
  // Child that takes a missing predictor value, or negative for none.
  virtual int GetMissingValueMapping() const = 0;
  virtual int GetNumChildren() const = 0;
  // A new value set of the values sent to `child`, or null; the caller owns
  // and deletes it, and it stays valid after the rule is gone. May throw.
  virtual ValueSet* GetMappedValues(int child) const = 0;
  // Child that takes the (encoded, non-missing) value, or -1 when the split
  // maps it to no child.
  virtual int ChildFor(double value) const = 0;

 protected:
  SplitRuleImp();
  SplitRuleImp(SplitRuleImp const& other);
};

// One split of a node, as handed to callers. Holds its own copy of the
// implementation, so it stays valid after the node is gone. Only the
// constructor and GetMappedValues may throw.
class SplitRule {
 public:
  explicit SplitRule(SplitRuleImp const& imp);
  SplitRule(SplitRule const&) = delete;
  SplitRule& operator=(SplitRule const&) = delete;
  virtual ~SplitRule();

  virtual int GetPredictorIndex() const;
  virtual int GetMissingValueMapping() const;
  virtual int GetNumChildren() const;
  // A new value set, or null, that the caller owns and deletes: an NValueSet
  // for a nominal split, an OValueSet for an ordered one. May throw.
  virtual ValueSet* GetMappedValues(int child) const;

  SplitRuleImp const& GetImp() const;  // valid while this rule lives

 private:
  std::unique_ptr<SplitRuleImp> fnImp;
};

// A nominal split: category codes mapped to children. A code mapped twice
// keeps its last child. The number of children is one more than the highest
// child mapped, unless set larger. The setters may throw std::bad_alloc.
class NSplitRule : public SplitRuleImp {
 public:
  NSplitRule(int predictorIndex, int reserved);
  NSplitRule(NSplitRule const& other);
  ~NSplitRule() override;

  void SetCatMapping(int code, int child);
  void SetMissingValueMapping(int child);
  void SetNumChildren(int count);

  SplitRuleImp* Clone() const override;
  int GetPredictorIndex() const override;
  int GetMissingValueMapping() const override;
  int GetNumChildren() const override;
  ValueSet* GetMappedValues(int child) const override;
  int ChildFor(double value) const override;

 private:
  int fnPredictor;
  int fnMissingChild;
  int fnNumChildren;
  std::vector<std::pair<int, int>> fnMapping;  // (code, child) in first-set order
};

}  // namespace tree_800
