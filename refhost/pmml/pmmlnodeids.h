// The document's node ids. Two ids clash as texts or, when both are digit
// strings, as numbers ("1" and "01"). The ids every output uses are the
// document's own when every Node has one and all are distinct integers that
// fit in 32 bits, else document order; nodes the loader added come after.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "refhost/pmml/pmmlmodel.h"

namespace refhost::pmml {

class NodeIds {
 public:
  // The key under which ids clash: "1" and "01" are one number.
  static std::string Key(std::string const& id);

  // Notes the id of document node `doc`. Returns an earlier node whose id
  // is the same text, else `doc`; numeric clashes wait for NumericClash.
  std::uint32_t Note(std::uint32_t doc, std::string const& id);
  // Notes a document node without an id.
  void NoteNone() { fnAllNumbers = false; }

  // The first node in document order whose numeric id an earlier node has,
  // with that earlier node; nothing when no two numeric ids clash.
  std::optional<std::pair<std::uint32_t, std::uint32_t>> NumericClash();

  // The output id of each of `nodes` (by provisional id), and whether they
  // number the document nodes in order. Throws PmmlError when the added
  // nodes do not fit above the document's ids.
  std::vector<unsigned int> Settle(std::vector<PmmlModel::NodeInfo> const& nodes,
                                   bool& inOrder) const;

 private:
  std::vector<std::pair<unsigned long long, std::uint32_t>> fnNumeric;  // (id, doc index)
  std::unordered_map<std::string, std::uint32_t> fnTexts;               // key -> doc index
  bool fnAllNumbers = true;
  unsigned long long fnMaxId = 0;
};

}  // namespace refhost::pmml
