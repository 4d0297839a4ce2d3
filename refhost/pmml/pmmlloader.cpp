// The loader: one pass over the document's events, building host nodes as
// their elements close.
//
// The DataDictionary, transformations and MiningSchema come first and give
// the model's variables. Then the Node elements arrive in document (prefix)
// order; each gets a host node when it opens, with a provisional id (its
// position among the host nodes), and its split when it closes, from the
// predicates of its children (pmmlrouting.h), which are dropped then. At
// the end the ids are settled: the document's own when every Node has one
// and all are distinct non-negative integers, else document order; nodes
// the loader added come after. A categorical field that declares no values
// takes those the tree names; then the document is read twice, the first
// time only to note them.
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>

#include "refhost/pmml/pmmldocument.h"
#include "refhost/pmml/pmmlnodeids.h"
#include "refhost/pmml/pmmlreading.h"
#include "refhost/pmml/pmmlrouting.h"
#include "refhost/pmml/pmmlstatistics.h"

namespace refhost {
namespace {

using namespace pmml;

MissingStrategy ReadMissingStrategy(XmlReader const& xml) {
  std::string const s = AttributeOr(xml, "missingValueStrategy", "none");
  if (s == "none") return MissingStrategy::kNone;
  if (s == "lastPrediction") return MissingStrategy::kLastPrediction;
  if (s == "nullPrediction") return MissingStrategy::kNullPrediction;
  if (s == "defaultChild") return MissingStrategy::kDefaultChild;
  if (s == "weightedConfidence") return MissingStrategy::kWeightedConfidence;
  if (s == "aggregateNodes") return MissingStrategy::kAggregateNodes;
  Here(xml).Fail("missingValueStrategy " + Quote(s) + " is not supported");
}

NoTrueChildStrategy ReadNoTrueChild(XmlReader const& xml) {
  std::string const s = AttributeOr(xml, "noTrueChildStrategy", "returnNullPrediction");
  if (s == "returnNullPrediction") return NoTrueChildStrategy::kReturnNull;
  if (s == "returnLastPrediction") return NoTrueChildStrategy::kReturnLast;
  Here(xml).Fail("noTrueChildStrategy " + Quote(s) + " is not supported");
}

bool IsPredicate(std::string_view name) {
  return name == "SimplePredicate" || name == "SimpleSetPredicate" || name == "CompoundPredicate" ||
         name == "True" || name == "False";
}

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

class Loader : public NodeMaker {
 public:
  Loader(XmlReader& xml, NamedValues const* named, LoadOptions const& options)
      : fnXml(xml), fnNamed(named), fnOptions(options), fnTree(std::make_unique<Tree>()) {}

  // False when the document's categories need the values its tree names;
  // they are then in `collected` and the caller runs a new loader.
  bool Run(NamedValues* collected) {
    if (fnXml.Next() != XmlReader::kStart) throw PmmlError("not an XML document", 0);
    Where const root = Here(fnXml);
    if (fnXml.Name() != "PMML") {
      root.Fail("the document is not PMML (its root element is " + Quote(fnXml.Name()) + ")");
    }
    std::string const version = AttributeOr(fnXml, "version", "");
    if (version.empty() || (version[0] != '3' && version[0] != '4')) {
      root.Fail("PMML version " + Quote(version) + " is not supported (3.x and 4.x are)");
    }
    bool haveTree = false;
    for (;;) {
      XmlReader::Event const e = fnXml.Next();
      if (e == XmlReader::kEnd) break;
      if (e != XmlReader::kStart) continue;
      std::string_view const name = fnXml.Name();
      if (name == "DataDictionary") {
        fnDictionary = ReadDataDictionary(fnXml);
        fnHaveDictionary = true;
      } else if (name == "TransformationDictionary") {
        ReadTransformations(fnXml, fnGlobal);
      } else if (name == "TreeModel") {
        if (haveTree) Here(fnXml).Fail("a second TreeModel (one is supported)");
        haveTree = true;
        if (!TreeModel(collected)) return false;
      } else {
        SkipElement(fnXml);
      }
    }
    if (!fnHaveDictionary) root.Fail("no DataDictionary");
    if (!haveTree) root.Fail("no TreeModel");
    while (fnXml.Next() != XmlReader::kDone) {
    }
    return true;
  }

  PmmlModel Take() {
    CheckNumericIds();
    std::vector<unsigned int> ids = fnIds.Settle(fnNodes, fnInOrder);
    if (fnDocument) {
      for (DocNode& node : fnDocument->nodes) node.outputId = ids[node.host->GetId()];
    }
    fnTree->Renumber(ids);
    for (std::size_t i = 0; i < ids.size(); ++i) fnNodes[i].hostId = ids[i];
    Model model(fnBuilder.BuildMetadata(), std::move(fnTree));
    PmmlModel loaded(std::move(model), std::move(fnInfo), std::move(fnNodes), fnInOrder, fnMissing,
                     fnNoTrueChild, fnPenalty, fnModelName, std::move(fnDocument));
    if (!fnStopsAlike.empty()) loaded.NoteStopsAlike(fnStopsAlike);
    return loaded;
  }

  TreeNode* Added(TreeNode const& origin) override {
    return NewAdded(origin, PmmlModel::NodeInfo::kTest);
  }

  TreeNode* Copy(TreeNode const& subtree) override {
    TreeNode* top = nullptr;
    std::vector<std::pair<TreeNode const*, TreeNode*>> stack{{&subtree, nullptr}};
    while (!stack.empty()) {
      auto const [source, parent] = stack.back();
      stack.pop_back();
      // A copy of an added test stays a test of the same document node.
      PmmlModel::NodeInfo::Role const role = fnNodes[source->GetId()].role;
      TreeNode* node = NewAdded(
          *source, role == PmmlModel::NodeInfo::kDocument ? PmmlModel::NodeInfo::kCopy : role);
      fnNodes.back().recordCount = fnNodes[source->GetId()].recordCount;
      if (tree_800::SplitRuleImp const* primary = source->GetPrimary()) {
        node->SetPrimary(std::unique_ptr<tree_800::SplitRuleImp>(primary->Clone()));
      }
      for (int s = 0; s < source->GetNumSurrogates(); ++s) {
        node->AddSurrogate(
            std::unique_ptr<tree_800::SplitRuleImp>(source->GetSurrogateImp(s).Clone()));
      }
      node->SetDefaultChild(source->GetDumbRuleIndex());
      if (parent != nullptr) parent->AddChild(node);
      if (top == nullptr) top = node;
      for (int c = source->GetNumChildren() - 1; c >= 0; --c) {
        stack.emplace_back(static_cast<TreeNode const*>(source->GetChild(c)), node);
      }
    }
    return top;
  }

 private:
  TreeNode* NewAdded(TreeNode const& origin, PmmlModel::NodeInfo::Role role) {
    TreeNode* node = NewHostNode();
    CopyStatistics(origin, *node, Target().categories.size());
    PmmlModel::NodeInfo info;
    info.origin = fnNodes[origin.GetId()].origin;
    info.documentId = fnNodes[info.origin].documentId;
    info.role = role;
    fnNodes.push_back(std::move(info));
    return node;
  }

  bool TreeModel(NamedValues* collected) {
    Where const at = Here(fnXml);
    if (!fnHaveDictionary) at.Fail("no DataDictionary before the TreeModel");
    std::string const function = AttributeOr(fnXml, "functionName", "");
    if (function != "classification" && function != "regression") {
      at.Fail("functionName " + Quote(function) +
              " is not supported (classification and regression are)");
    }
    fnClassification = function == "classification";
    fnMissing = ReadMissingStrategy(fnXml);
    fnNoTrueChild = ReadNoTrueChild(fnXml);
    if (std::string const* p = fnXml.Attribute("missingValuePenalty")) {
      std::optional<double> const penalty = ParseNumber(*p);
      if (!penalty || *penalty < 0 || *penalty > 1) {
        at.Fail("missingValuePenalty " + Quote(*p) + " is not a number from 0 to 1");
      }
      fnPenalty = *penalty;
    }
    fnModelName = AttributeOr(fnXml, "modelName", "");
    fnDerived = fnGlobal;
    bool haveSchema = false;
    bool haveRoot = false;
    std::size_t const depth = fnXml.Depth();
    for (;;) {
      XmlReader::Event const e = fnXml.Next();
      if (e == XmlReader::kEnd && fnXml.Depth() + 1 == depth) break;
      if (e != XmlReader::kStart) continue;
      std::string_view const name = fnXml.Name();
      if (name == "MiningSchema") {
        Where const schemaAt = Here(fnXml);
        std::vector<MiningField> const mining = ReadMiningSchema(fnXml);
        DeclareFields(schemaAt, mining, fnDictionary, fnClassification, fnFields, fnInfo);
        haveSchema = true;
      } else if (name == "LocalTransformations") {
        ReadTransformations(fnXml, fnDerived);
      } else if (name == "Node") {
        if (!haveSchema) at.Fail("no MiningSchema");
        if (haveRoot) Here(fnXml).Fail("a second root Node");
        haveRoot = true;
        if (fnNamed == nullptr && NeedsNamedValues(fnFields, fnDictionary)) {
          CollectNamedValues(fnXml, fnFields, fnDerived, *collected);
          return false;
        }
        Prepare();
        Nodes();
      } else {
        SkipElement(fnXml);
      }
    }
    if (!haveSchema) at.Fail("no MiningSchema");
    if (!haveRoot) at.Fail("no Node");
    return true;
  }

  void Prepare() {
    FinishFields(fnDictionary, fnNamed, fnFields, fnInfo, fnBuilder);
    bool const blends = fnMissing == MissingStrategy::kWeightedConfidence ||
                        fnMissing == MissingStrategy::kAggregateNodes;
    fnRules.missing = fnMissing;
    fnRules.noTrueChild = fnNoTrueChild;
    bool const returnLast = fnNoTrueChild == NoTrueChildStrategy::kReturnLast;
    // A stop for a missing value predicts otherwise than one with no true
    // child, or scores a blend, or has its confidence lowered by the penalty.
    bool const last = fnMissing == MissingStrategy::kLastPrediction;
    fnRules.stopsDiffer = blends || (last && (!returnLast || fnPenalty != 1)) ||
                          (fnMissing == MissingStrategy::kNullPrediction && returnLast);
    // Kept where scores need the predicates: blends, penalties, and stops
    // whose reason a node's splits may not tell.
    if (fnRules.stopsDiffer || fnOptions.keepPredicates || PenaltyCounts()) {
      fnDocument = std::make_unique<Document>();
    }
    for (FieldDef const& def : fnFields.defs) {
      if (def.index != fnFields.target) {
        fnRules.fallbackField = def.index;
        break;
      }
    }
  }

  // Whether the missing value penalty lowers some records' confidence.
  bool PenaltyCounts() const {
    return fnPenalty != 1 && fnMissing != MissingStrategy::kNone &&
           fnMissing != MissingStrategy::kNullPrediction;
  }

  TreeNode* NewHostNode() {
    return fnTree->AddUnindexed(static_cast<unsigned int>(fnNodes.size()));
  }

  // --- Node elements ---

  // Frames are kept for reuse below fnDepth, so that their buffers do not
  // come and go with every node.
  Frame& Top() { return fnFrames[fnDepth - 1]; }

  void Nodes() {
    OpenNode();
    while (fnDepth > 0) {
      XmlReader::Event const e = fnXml.Next();
      if (e == XmlReader::kEnd) {
        CloseNode();
        continue;
      }
      if (e != XmlReader::kStart) continue;
      Frame& top = Top();
      std::string_view const name = fnXml.Name();
      if (name == "Node") {
        if (!top.havePredicate) top.where.Fail("no predicate");
        OpenNode();
      } else if (IsPredicate(name)) {
        if (top.havePredicate) Here(fnXml).Fail("a second predicate in one Node");
        top.predicate = ReadPredicate(fnXml, fnFields, fnDerived);
        top.havePredicate = true;
      } else if (name == "ScoreDistribution") {
        if (fnClassification) {
          ReadDistribution(fnXml, Target(), top.distribution);
        } else {
          SkipElement(fnXml);
        }
      } else if (name == "EmbeddedModel" || name == "Regression" || name == "DecisionTree") {
        Here(fnXml).Fail(std::string(name) + " inside a Node is not supported");
      } else {
        SkipElement(fnXml);  // Extension, Partition
      }
    }
  }

  void OpenNode() {
    if (fnDepth == fnFrames.size()) fnFrames.emplace_back();
    Frame& frame = fnFrames[fnDepth++];
    frame.where = Here(fnXml);
    frame.host = NewHostNode();
    frame.docIndex = fnDocNodes++;
    frame.hasId = false;
    frame.hasDefault = false;
    frame.havePredicate = false;
    frame.hasScore = false;
    frame.children.clear();
    frame.childIds.clear();
    frame.childDocs.clear();
    fnLines.push_back(frame.where.line);
    fnDocHost.push_back(static_cast<std::uint32_t>(fnNodes.size()));
    fnNodes.emplace_back();
    PmmlModel::NodeInfo& info = fnNodes.back();
    info.origin = fnDocHost.back();
    if (std::optional<std::string_view> const id = fnXml.Value("id")) {
      frame.id = *id;
      frame.hasId = true;
      info.documentId = frame.id;
      CheckId(frame.id, frame);
    } else {
      fnIds.NoteNone();
    }
    if (std::optional<std::string_view> const count = fnXml.Value("recordCount")) {
      std::optional<double> const n = ParseNumber(*count);
      if (!n) frame.where.Fail("recordCount " + Quote(*count) + " is not a number");
      if (*n < 0) frame.where.Fail("recordCount " + Quote(*count) + " is negative");
      info.recordCount = *n;
    }
    if (std::optional<std::string_view> const d = fnXml.Value("defaultChild")) {
      frame.defaultChild = *d;
      frame.hasDefault = true;
    }
    if (std::optional<std::string_view> const score = fnXml.Value("score")) {
      frame.scoreText = *score;
      frame.hasScore = true;
    }
    frame.distribution.Reset(fnClassification ? Target().categories.size() : 0);
  }

  // Ids clash as numbers ("1" and "01") or as texts; the message names both
  // nodes.
  void CheckId(std::string const& id, Frame const& frame) {
    std::uint32_t const other = fnIds.Note(frame.docIndex, id);
    if (other != frame.docIndex) IdClash(frame.docIndex, other);
  }

  // Document node `doc` has the id of the earlier node `other`.
  [[noreturn]] void IdClash(std::uint32_t doc, std::uint32_t other) const {
    std::string const& id = fnNodes[fnDocHost[doc]].documentId;
    std::string const& first = fnNodes[fnDocHost[other]].documentId;
    Fail("Node", fnLines[doc],
         "node id " + Quote(id) + " is also the id of the Node at line " +
             std::to_string(fnLines[other]) + (first == id ? "" : " (" + Quote(first) + ")"));
  }

  void CheckNumericIds() {
    if (auto const clash = fnIds.NumericClash()) IdClash(clash->first, clash->second);
  }

  FieldDef const& Target() const {
    return fnFields.defs[static_cast<std::size_t>(fnFields.target)];
  }

  void CloseNode() {
    Frame& frame = fnFrames[--fnDepth];
    if (!frame.havePredicate) frame.where.Fail("no predicate");
    if (fnDepth == 0 && frame.predicate.kind != Pred::kTrue) {
      frame.predicate.where.Fail("the root Node's predicate must be True");
    }
    SetStatistics(*frame.host, frame.where, Target(), fnClassification,
                  frame.hasScore ? &frame.scoreText : nullptr, frame.distribution);
    int declaredDefault = -1;
    if (frame.hasDefault && !frame.children.empty()) {
      for (std::size_t i = 0; i < frame.childIds.size() && declaredDefault < 0; ++i) {
        if (frame.childIds[i] == frame.defaultChild) declaredDefault = static_cast<int>(i);
      }
      for (std::size_t i = 0; i < frame.childIds.size() && declaredDefault < 0; ++i) {
        if (NodeIds::Key(frame.childIds[i]) == NodeIds::Key(frame.defaultChild)) {
          declaredDefault = static_cast<int>(i);
        }
      }
      if (declaredDefault < 0) {
        CheckNumericIds();  // two children with one id explain it better
        frame.where.Fail("defaultChild " + Quote(frame.defaultChild) +
                         " is not one of its children");
      }
    }
    if (!frame.children.empty()) {
      if (!BuildRouting(*frame.host, frame.where, frame.children, declaredDefault, fnFields,
                        fnRules, *this)) {
        fnStopsAlike.push_back(frame.docIndex);
      }
    }
    if (fnDocument) Keep(frame, declaredDefault);
    if (fnDepth == 0) return;
    Frame& parent = Top();
    parent.childIds.push_back(frame.hasId ? frame.id : std::string());
    parent.childDocs.push_back(frame.docIndex);
    ChildSpec child;
    child.host = frame.host;
    child.where = frame.where;
    if (!fnDocument)
      child.predicate = std::move(frame.predicate);
    else
      child.predicate = fnDocument->nodes[frame.docIndex].predicate;
    parent.children.push_back(std::move(child));
  }

  void Keep(Frame& frame, int declaredDefault) {
    if (fnDocument->nodes.size() <= frame.docIndex) fnDocument->nodes.resize(frame.docIndex + 1);
    DocNode& node = fnDocument->nodes[frame.docIndex];
    node.predicate = std::move(frame.predicate);
    node.children = std::move(frame.childDocs);
    node.defaultChild = declaredDefault;
    node.host = frame.host;
    node.recordCount = fnNodes[frame.host->GetId()].recordCount;
    node.counts = frame.distribution.counts;
    bool const weighted = fnMissing == MissingStrategy::kWeightedConfidence;
    if (weighted && fnDepth > 0 && node.recordCount < 0) {
      frame.where.Fail("no recordCount, which missingValueStrategy 'weightedConfidence' needs");
    }
    // aggregateNodes adds up the record counts of distributions (of scores
    // weighted by record counts in a regression tree); a node without them
    // adds nothing.
  }

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

template <typename MakeReader>
PmmlModel Load(MakeReader makeReader, LoadOptions const& options) {
  NamedValues named;
  {
    std::unique_ptr<XmlReader> xml = makeReader();
    Loader loader(*xml, nullptr, options);
    if (loader.Run(&named)) return loader.Take();
  }
  std::unique_ptr<XmlReader> xml = makeReader();
  Loader loader(*xml, &named, options);
  loader.Run(nullptr);
  return loader.Take();
}

}  // namespace

PmmlModel LoadPmml(std::string const& text, LoadOptions const& options) {
  return Load([&] { return std::make_unique<XmlReader>(std::string_view(text)); }, options);
}

PmmlModel LoadPmmlFile(std::string const& path, LoadOptions const& options) {
  struct stat info {};
  if (::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
    throw PmmlError("cannot read the file: it is a directory", 0);
  }
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                       &std::fclose);
  if (!file) throw PmmlError(std::string("cannot read the file: ") + std::strerror(errno), 0);
  return Load(
      [&] {
        std::rewind(file.get());
        return std::make_unique<XmlReader>(file.get());
      },
      options);
}

}  // namespace refhost
