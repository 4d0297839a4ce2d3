// The texts of the edges an adapter has written, one per edge (parent node,
// child index) and set of text options, so that an edge shared by many
// statements is translated once. Internal to the library.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>

#include "host/node.h"
#include "ruletext/ruleexportoptions.h"

namespace TreeOut_800 {

class EdgeTextCache {
 public:
  // The text stored for the edge under these options, or null.
  std::string const* Find(tree_800::Node const* node, int childIndex,
                          RuleExportOptions const& options) const;
  // Stores `text` for the edge under these options and returns the stored
  // text, which stays at its address as long as the cache lives.
  std::string const& Insert(tree_800::Node const* node, int childIndex,
                            RuleExportOptions const& options, std::string text);

 private:
  // The edge and every option that changes an edge's text; the update mode
  // does not.
  struct Key {
    tree_800::Node const* node;
    int child;
    int dialect, variableLabels, valueLabels, edgeMode, numberFormat;
    bool operator==(Key const& other) const;
  };
  struct KeyHash {
    std::size_t operator()(Key const& key) const;
  };
  static Key MakeKey(tree_800::Node const* node, int childIndex, RuleExportOptions const& options);

  std::unordered_map<Key, std::string, KeyHash> fnTexts;
};

}  // namespace TreeOut_800
