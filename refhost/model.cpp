#include "refhost/model.h"

#include <stdexcept>

#include "refhost/records.h"

namespace refhost {

Model::Model(std::unique_ptr<Metadata> metadata, std::unique_ptr<Tree> tree)
    : fnMetadata(std::move(metadata)), fnTree(std::move(tree)) {}
Model::Model(Model&&) noexcept = default;
Model& Model::operator=(Model&&) noexcept = default;
Model::~Model() = default;

int Model::VariableIndex(std::string const& name) const {
  auto const& variables = fnMetadata->GetVariables();
  for (std::size_t i = 0; i < variables.size(); ++i) {
    if (variables[i].GetName() == name) return static_cast<int>(i);
  }
  throw std::invalid_argument("no variable '" + name + "'");
}

unsigned int Model::Route(MCTree_800::TRecord<mdt_800::Variant> const& record) const {
  std::vector<double> const values = EncodeRecord(*fnMetadata, record);
  return Root()->DropObservationThroughTree(values.data(), nullptr)->GetId();
}

}  // namespace refhost
