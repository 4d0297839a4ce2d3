// A variable of the model metadata.
#include "host/metadata.h"
#include "refhost/hooks.h"

namespace mdt_800 {

Variable::Variable(std::string name, int storageType, int measurementLevel)
    : fnName(std::move(name)),
      fnStorageType(storageType),
      fnMeasurementLevel(measurementLevel),
      fnEncoder(nullptr),
      fnIsDate(false) {}

Variable::Variable(Variable const& other) = default;
Variable& Variable::operator=(Variable const& other) = default;
Variable::~Variable() = default;

std::string const& Variable::GetName() const { return fnName; }
std::string const& Variable::GetLabel() const { return fnLabel; }
int Variable::GetStorageType() const { return fnStorageType; }
int Variable::GetMeasurementLevel() const { return fnMeasurementLevel; }
Encoder const* Variable::GetEncoding() const { return fnEncoder; }

std::string Variable::GetValueLabel(Variant const& value) const {
  refhost::FaultPoint("GetValueLabel");
  for (auto const& entry : fnValueLabels) {
    if (entry.first == value) return entry.second;
  }
  return std::string();
}

bool Variable::IsDate() const { return fnIsDate; }

void Variable::SetName(std::string name) { fnName = std::move(name); }

void Variable::SetLabel(std::string label) { fnLabel = std::move(label); }
void Variable::SetEncoding(Encoder const* encoder) { fnEncoder = encoder; }

void Variable::AddValueLabel(Variant const& value, std::string label) {
  fnValueLabels.emplace_back(value, std::move(label));
}

void Variable::SetDate(bool isDate) { fnIsDate = isDate; }

}  // namespace mdt_800
