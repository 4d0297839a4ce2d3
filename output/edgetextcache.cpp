// Lookups hash the node's address with the child index and the five text
// options; std::unordered_map keeps each stored text at one address, so the
// driver appends a cached text without copying it first.
#include "output/edgetextcache.h"

#include <functional>

namespace TreeOut_800 {

bool EdgeTextCache::Key::operator==(Key const& other) const {
  return node == other.node && child == other.child && dialect == other.dialect &&
         variableLabels == other.variableLabels && valueLabels == other.valueLabels &&
         edgeMode == other.edgeMode && numberFormat == other.numberFormat;
}

std::size_t EdgeTextCache::KeyHash::operator()(Key const& key) const {
  std::size_t hash = std::hash<tree_800::Node const*>()(key.node);
  for (int field : {key.child, key.dialect, key.variableLabels, key.valueLabels, key.edgeMode,
                    key.numberFormat}) {
    hash = hash * 1000003u ^ std::hash<int>()(field);
  }
  return hash;
}

EdgeTextCache::Key EdgeTextCache::MakeKey(tree_800::Node const* node, int childIndex,
                                          RuleExportOptions const& options) {
  return Key{node,
             childIndex,
             options.fnDialect,
             options.fnUseVariableLabels,
             options.fnUseValueLabels,
             options.fnEdgeMode,
             options.fnNumberFormat};
}

}  // namespace TreeOut_800
