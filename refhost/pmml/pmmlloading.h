// The loader's state while it reads one document: the document walk
// (pmmlloader.cpp) and the Node elements (pmmlnodes.cpp) share it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "refhost/builder.h"
#include "refhost/pmml/pmmldocument.h"
#include "refhost/pmml/pmmlnodeids.h"
#include "refhost/pmml/pmmlreading.h"
#include "refhost/pmml/pmmlrouting.h"
#include "refhost/pmml/pmmlstatistics.h"
#include "refhost/tree.h"

namespace refhost::pmml {

// What a Node element gives while it is open.
struct Frame {
  TreeNode* host = nullptr;
  Where where;
  std::string id;
  bool hasId = false;
  std::string defaultChild;
  bool hasDefault = false;
  bool havePredicate = false;
  Pred predicate;
  std::string scoreText;
  bool hasScore = false;
  Distribution distribution;
  std::vector<ChildSpec> children;
  std::vector<std::string> childIds;
  std::uint32_t docIndex = 0;
  std::vector<std::uint32_t> childDocs;
};

// Reads one document (Run) into a model (Take); the routing asks it for the
// nodes it adds and copies.
class Loader : public NodeMaker {
 public:
  Loader(XmlReader& xml, NamedValues const* named, LoadOptions const& options)
      : fnXml(xml), fnNamed(named), fnOptions(options), fnTree(std::make_unique<Tree>()) {}

  // False when the document's categories need the values its tree names;
  // they are then in `collected` and the caller runs a new loader.
  bool Run(NamedValues* collected);
  PmmlModel Take();

  TreeNode* Added(TreeNode const& origin) override;
  TreeNode* Copy(TreeNode const& subtree) override;

 private:
  // --- the document (pmmlloader.cpp) ---
  bool TreeModel(NamedValues* collected);
  void Prepare();
  // Whether the missing value penalty lowers some records' confidence.
  bool PenaltyCounts() const;

  // --- Node elements (pmmlnodes.cpp) ---
  TreeNode* NewHostNode();
  TreeNode* NewAdded(TreeNode const& origin, PmmlModel::NodeInfo::Role role);
  // Frames are kept for reuse below fnDepth, so that their buffers do not
  // come and go with every node.
  Frame& Top() { return fnFrames[fnDepth - 1]; }
  void Nodes();
  void OpenNode();
  // Ids clash as numbers ("1" and "01") or as texts; the message names both
  // nodes.
  void CheckId(std::string const& id, Frame const& frame);
  // Document node `doc` has the id of the earlier node `other`.
  [[noreturn]] void IdClash(std::uint32_t doc, std::uint32_t other) const;
  void CheckNumericIds();
  FieldDef const& Target() const {
    return fnFields.defs[static_cast<std::size_t>(fnFields.target)];
  }
  void CloseNode();
  void Keep(Frame& frame, int declaredDefault);

  XmlReader& fnXml;
  NamedValues const* fnNamed;
  LoadOptions fnOptions;
  std::map<std::string, DataField> fnDictionary;
  bool fnHaveDictionary = false;
  Derived fnGlobal;
  Derived fnDerived;
  Fields fnFields;
  std::vector<PmmlField> fnInfo;
  ModelBuilder fnBuilder;
  bool fnClassification = true;
  MissingStrategy fnMissing = MissingStrategy::kNone;
  NoTrueChildStrategy fnNoTrueChild = NoTrueChildStrategy::kReturnNull;
  double fnPenalty = 1;
  std::string fnModelName;
  RoutingRules fnRules;
  std::unique_ptr<Tree> fnTree;
  std::vector<PmmlModel::NodeInfo> fnNodes;  // by provisional id
  std::uint32_t fnDocNodes = 0;
  NodeIds fnIds;
  std::vector<long> fnLines;             // by document index
  std::vector<std::uint32_t> fnDocHost;  // document index -> fnNodes index
  bool fnInOrder = false;
  std::vector<std::uint32_t> fnStopsAlike;  // nodes whose splits cannot tell why one stops
  std::vector<Frame> fnFrames;
  std::size_t fnDepth = 0;
  std::unique_ptr<Document> fnDocument;
};

}  // namespace refhost::pmml
