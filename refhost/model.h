// A tree together with its metadata, as the builder and the loaders make
// them. Owns both; movable, not copyable.
#pragma once

#include <memory>
#include <string>

#include "host/record.h"
#include "host/variant.h"
#include "refhost/metadata.h"
#include "refhost/tree.h"

namespace refhost {

class Model {
 public:
  Model(std::unique_ptr<Metadata> metadata, std::unique_ptr<Tree> tree);
  Model(Model&&) noexcept;
  Model& operator=(Model&&) noexcept;
  ~Model();

  Metadata const& GetMetadata() const { return *fnMetadata; }
  Metadata& MutableMetadata() { return *fnMetadata; }
  Tree const& GetTree() const { return *fnTree; }
  TreeNode const* Root() const { return fnTree->Root(); }
  // The node with this id, or null.
  TreeNode const* Find(unsigned int id) const { return fnTree->Find(id); }
  // Index of the variable called `name`; throws std::invalid_argument when
  // there is none.
  int VariableIndex(std::string const& name) const;

  // Encodes `record` (value 0 a dummy, variable i at i + 1) as the library
  // does and drops it from the root; the id of the node where it stops.
  unsigned int Route(MCTree_800::TRecord<mdt_800::Variant> const& record) const;

 private:
  std::unique_ptr<Metadata> fnMetadata;
  std::unique_ptr<Tree> fnTree;
};

}  // namespace refhost
