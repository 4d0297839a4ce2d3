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
  // The text stored for the edge under these options; when there is none,
  // `make()` is stored first. One lookup either way; an exception from
  // `make` leaves nothing stored.
  template <typename Make>
  std::string const& Get(tree_800::Node const* node, int childIndex,
                         RuleExportOptions const& options, Make&& make) {
    auto const [entry, fresh] = fnTexts.try_emplace(MakeKey(node, childIndex, options));
    if (!fresh) return entry->second;
    EraseUnlessKept undo{fnTexts, entry};
    entry->second = make();
    undo.keep = true;
    return entry->second;
  }

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
  using Map = std::unordered_map<Key, std::string, KeyHash>;
  // Removes a new entry whose text could not be made.
  struct EraseUnlessKept {
    Map& map;
    Map::iterator entry;
    bool keep = false;
    ~EraseUnlessKept() {
      if (!keep) map.erase(entry);
    }
  };

  Map fnTexts;
};

}  // namespace TreeOut_800
