// The reference host's model metadata: owns its variables and their encoders.
#pragma once

#include <memory>
#include <vector>

#include "host/metadata.h"

namespace refhost {

class Metadata : public mdt_800::ModelMetadata {
 public:
  Metadata() = default;
  Metadata(Metadata const&) = delete;
  Metadata& operator=(Metadata const&) = delete;

  // Appends `variable`, giving it `encoder` (may be null), which the metadata
  // keeps. Returns the variable's index.
  int AddVariable(mdt_800::Variable variable, std::unique_ptr<mdt_800::Encoder> encoder);
  // Makes variable `index` the target; -1 for none.
  void SetTargetIndex(int index);
  int GetTargetIndex() const { return fnTarget; }

  // Variable `index`, to change its names or labels before export.
  mdt_800::Variable& MutableVariable(int index) { return fnVariables.at(index); }

  mdt_800::Variable const* GetTarget() const override;
  std::vector<mdt_800::Variable> const& GetVariables() const override;

 private:
  std::vector<mdt_800::Variable> fnVariables;
  std::vector<std::unique_ptr<mdt_800::Encoder>> fnEncoders;
  int fnTarget = -1;
};

}  // namespace refhost
