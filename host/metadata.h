// Host model metadata: the variables of a model and the model's metadata.
// Nothing here is thread-safe unless said otherwise. "May throw" means any
// std::exception, with the object left as it was.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/encoding.h"
#include "host/variant.h"

namespace mdt_800 {

// One variable of a model. A value type stored in the metadata's sequence;
// constructing, copying and the setters may throw std::bad_alloc. The encoder
// is not owned by the variable: whoever owns the metadata keeps it alive for
// as long as the metadata lives. The getters other than GetValueLabel do not
// throw; references they return are valid while the variable lives unchanged.
class Variable {
 public:
  enum Storage { STORAGE_NUMERIC = 0, STORAGE_STRING = 1 };
  enum Level { LEVEL_NOMINAL = 0, LEVEL_ORDINAL = 1, LEVEL_SCALE = 2 };

  Variable(std::string name, int storageType, int measurementLevel);
  Variable(Variable const& other);
  Variable& operator=(Variable const& other);
  ~Variable();

  std::string const& GetName() const;
  std::string const& GetLabel() const;  // empty when there is none
  int GetStorageType() const;           // 0 numeric, 1 string
  int GetMeasurementLevel() const;      // 0 nominal, else ordered
  Encoder const* GetEncoding() const;   // null: values reach the tree as they are
  // The label of a value, empty when it has none. May throw.
  std::string GetValueLabel(Variant const& value) const;
  bool IsDate() const;

  void SetName(std::string name);
  void SetLabel(std::string label);
  void SetEncoding(Encoder const* encoder);  // not owned; null for none
  void AddValueLabel(Variant const& value, std::string label);
  void SetDate(bool isDate);

 private:
  std::string fnName;
  std::string fnLabel;
  int fnStorageType;
  int fnMeasurementLevel;
  Encoder const* fnEncoder;
  std::vector<std::pair<Variant, std::string>> fnValueLabels;
  bool fnIsDate;
};

// The metadata of one model. Neither operation throws; what they return is
// owned by the metadata and valid while it lives.
class ModelMetadata {
 public:
  // The target, or null when the model has none.
  virtual Variable const* GetTarget() const = 0;
  // The variables in model order; variable i is value i + 1 of a record.
  virtual std::vector<Variable> const& GetVariables() const = 0;
  virtual ~ModelMetadata();
};

}  // namespace mdt_800
