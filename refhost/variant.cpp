// Variant and Value of the metadata library.
#include "host/variant.h"

#include <cmath>
#include <limits>

#include "refhost/hooks.h"

namespace mdt_800 {

using refhost::ObjectKind;

Variant::Variant() : fnType(TYPE_NONE), fnDouble(0.0), fnLong(0) {
  refhost::CountCreated(ObjectKind::kVariant);
}

Variant::Variant(double value) : fnType(TYPE_DOUBLE), fnDouble(value), fnLong(0) {
  refhost::CountCreated(ObjectKind::kVariant);
}

Variant::Variant(long value) : fnType(TYPE_LONG), fnDouble(0.0), fnLong(value) {
  refhost::CountCreated(ObjectKind::kVariant);
}

Variant::Variant(std::string const& value)
    : fnType(TYPE_STRING), fnDouble(0.0), fnLong(0), fnString(value) {
  refhost::CountCreated(ObjectKind::kVariant);
}

Variant::Variant(char const* value) : Variant(std::string(value)) {}

Variant::Variant(Variant const& other)
    : fnType(other.fnType),
      fnDouble(other.fnDouble),
      fnLong(other.fnLong),
      fnString(other.fnString) {
  refhost::CountCreated(ObjectKind::kVariant);
}

Variant& Variant::operator=(Variant const& other) = default;

Variant::~Variant() { refhost::CountDestroyed(ObjectKind::kVariant); }

int Variant::GetType() const { return fnType; }

Variant::operator double() const {
  if (fnType == TYPE_DOUBLE) return fnDouble;
  if (fnType == TYPE_LONG) return static_cast<double>(fnLong);
  return 0.0;
}

Variant::operator long() const {
  if (fnType == TYPE_LONG) return fnLong;
  if (fnType != TYPE_DOUBLE || std::isnan(fnDouble)) return 0;
  // Clamp instead of converting out of range, which is undefined.
  if (fnDouble >= 9.2233720368547758e18) return std::numeric_limits<long>::max();
  if (fnDouble <= -9.2233720368547758e18) return std::numeric_limits<long>::min();
  return static_cast<long>(fnDouble);
}

Variant::operator std::string const&() const { return fnString; }

namespace {

// 0 no content, 1 number, 2 string: the classes that Value orders.
int TypeClass(Variant const& v) {
  switch (v.GetType()) {
    case Variant::TYPE_NONE:
      return 0;
    case Variant::TYPE_STRING:
      return 2;
    default:
      return 1;
  }
}

}  // namespace

bool operator==(Variant const& a, Variant const& b) {
  int const ca = TypeClass(a);
  if (ca != TypeClass(b)) return false;
  if (ca == 0) return true;
  if (ca == 2) return static_cast<std::string const&>(a) == static_cast<std::string const&>(b);
  if (a.GetType() == Variant::TYPE_LONG && b.GetType() == Variant::TYPE_LONG) {
    return static_cast<long>(a) == static_cast<long>(b);
  }
  return static_cast<double>(a) == static_cast<double>(b);
}

bool operator!=(Variant const& a, Variant const& b) { return !(a == b); }

Value::Value() { refhost::CountCreated(ObjectKind::kValue); }

Value::Value(Variant const& value)
    : fnValue(value), fnText(static_cast<std::string const&>(value)) {
  refhost::CountCreated(ObjectKind::kValue);
}

Value::Value(Value const& other) : fnValue(other.fnValue), fnText(other.fnText) {
  refhost::CountCreated(ObjectKind::kValue);
}

Value& Value::operator=(Value const& other) = default;

Value::~Value() { refhost::CountDestroyed(ObjectKind::kValue); }

Variant const& Value::GetValue() const { return fnValue; }

bool Value::operator<(Value const& other) const {
  int const mine = TypeClass(fnValue);
  int const theirs = TypeClass(other.fnValue);
  if (mine != theirs) return mine < theirs;
  if (mine == 1) return static_cast<double>(fnValue) < static_cast<double>(other.fnValue);
  if (mine == 2) return fnText < other.fnText;
  return false;
}

bool Value::operator>(Value const& other) const { return other < *this; }

}  // namespace mdt_800
