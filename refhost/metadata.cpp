#include "refhost/metadata.h"

#include <stdexcept>
#include <string>

namespace refhost {

int Metadata::AddVariable(mdt_800::Variable variable, std::unique_ptr<mdt_800::Encoder> encoder) {
  variable.SetEncoding(encoder.get());
  if (encoder) fnEncoders.push_back(std::move(encoder));
  fnVariables.push_back(std::move(variable));
  return static_cast<int>(fnVariables.size()) - 1;
}

void Metadata::SetTargetIndex(int index) {
  if (index < -1 || index >= static_cast<int>(fnVariables.size())) {
    throw std::invalid_argument("target index " + std::to_string(index) + " out of range");
  }
  fnTarget = index;
}

mdt_800::Variable const* Metadata::GetTarget() const {
  return fnTarget < 0 ? nullptr : &fnVariables[fnTarget];
}

std::vector<mdt_800::Variable> const& Metadata::GetVariables() const { return fnVariables; }

}  // namespace refhost
