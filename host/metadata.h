// Host model metadata: the variables of a model and the model's metadata.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/encoding.h"
#include "host/variant.h"

namespace mdt_800 {

// One variable of a model. A value type stored in the metadata's sequence; the
// encoder is owned by whoever owns the metadata.
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
  // The label of a value, empty when it has none.
  std::string GetValueLabel(Variant const& value) const;
  bool IsDate() const;

  void SetName(std::string name);
  void SetLabel(std::string label);
  void SetEncoding(Encoder const* encoder);
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

// The metadata of one model.
class ModelMetadata {
 public:
  // The target, or null when the model has none.
  virtual Variable const* GetTarget() const = 0;
  // The variables in model order; the sequence lives as long as the metadata.
  virtual std::vector<Variable> const& GetVariables() const = 0;
  virtual ~ModelMetadata();
};

}  // namespace mdt_800
