// Host value holders: Variant (one typed value) and Value (an ordered value).
// Both are value types: a copy is independent of its source. Constructors,
// copies and assignments may throw std::bad_alloc; nothing else here throws.
// Nothing here is thread-safe unless said otherwise.
#pragma once

#include <string>

namespace mdt_800 {

// One value of a variable: a string, a double, an integer, or nothing.
class Variant {
 public:
  enum Type { TYPE_STRING = 0, TYPE_DOUBLE = 1, TYPE_LONG = 2, TYPE_NONE = 3 };

  Variant();  // holds no value (type 3)
  Variant(double value);
  Variant(long value);
  Variant(std::string const& value);
  Variant(char const* value);
  Variant(Variant const& other);
  Variant& operator=(Variant const& other);
  ~Variant();

  // 0 string, 1 double, 2 integer (long), 3 holds no value.
  int GetType() const;
  // The held value. A number converts to the other number type; a string or an
  // empty Variant converts to 0. operator std::string const& gives the empty
  // string for anything but a string; the reference is valid while this
  // Variant lives and is not assigned to.
  operator double() const;
  operator long() const;
  operator std::string const&() const;

 private:
  int fnType;
  double fnDouble;
  long fnLong;
  std::string fnString;
};

// Same type class and same content: numbers compare by value whatever their type.
bool operator==(Variant const& a, Variant const& b);
bool operator!=(Variant const& a, Variant const& b);

// An ordered value. Order: a Variant without content first, then numbers by
// value, then strings by byte order. Values that are neither below nor above
// each other are equal.
class Value {
 public:
  Value();  // the neutral value: a Variant without content
  Value(Variant const& value);
  Value(Value const& other);
  Value& operator=(Value const& other);
  ~Value();

  // Valid while this Value lives and is not assigned to.
  Variant const& GetValue() const;
  bool operator<(Value const& other) const;
  bool operator>(Value const& other) const;

 private:
  Variant fnValue;
  std::string fnText;
};

}  // namespace mdt_800
