// The Node elements. Each gets a host node when it opens (with its id
// noted and its statistics read into a frame) and its split when it closes,
// from the predicates of its children, which are dropped then; a node kept
// for scoring keeps its predicate in the document instead.
#include <memory>
#include <utility>

#include "refhost/pmml/pmmlloading.h"

namespace refhost::pmml {
namespace {

bool IsPredicate(std::string_view name) {
  return name == "SimplePredicate" || name == "SimpleSetPredicate" || name == "CompoundPredicate" ||
         name == "True" || name == "False";
}

}  // namespace

TreeNode* Loader::Added(TreeNode const& origin) {
  return NewAdded(origin, PmmlModel::NodeInfo::kTest);
}

TreeNode* Loader::Copy(TreeNode const& subtree) {
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

TreeNode* Loader::NewAdded(TreeNode const& origin, PmmlModel::NodeInfo::Role role) {
  TreeNode* node = NewHostNode();
  CopyStatistics(origin, *node, Target().categories.size());
  PmmlModel::NodeInfo info;
  info.origin = fnNodes[origin.GetId()].origin;
  info.documentId = fnNodes[info.origin].documentId;
  info.role = role;
  fnNodes.push_back(std::move(info));
  return node;
}

TreeNode* Loader::NewHostNode() {
  return fnTree->AddUnindexed(static_cast<unsigned int>(fnNodes.size()));
}

void Loader::Nodes() {
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

void Loader::OpenNode() {
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

void Loader::CheckId(std::string const& id, Frame const& frame) {
  std::uint32_t const other = fnIds.Note(frame.docIndex, id);
  if (other != frame.docIndex) IdClash(frame.docIndex, other);
}

void Loader::IdClash(std::uint32_t doc, std::uint32_t other) const {
  std::string const& id = fnNodes[fnDocHost[doc]].documentId;
  std::string const& first = fnNodes[fnDocHost[other]].documentId;
  Fail("Node", fnLines[doc],
       "node id " + Quote(id) + " is also the id of the Node at line " +
           std::to_string(fnLines[other]) + (first == id ? "" : " (" + Quote(first) + ")"));
}

void Loader::CheckNumericIds() {
  if (auto const clash = fnIds.NumericClash()) IdClash(clash->first, clash->second);
}

void Loader::CloseNode() {
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
      frame.where.Fail("defaultChild " + Quote(frame.defaultChild) + " is not one of its children");
    }
  }
  if (!frame.children.empty()) {
    if (!BuildRouting(*frame.host, frame.where, frame.children, declaredDefault, fnFields, fnRules,
                      *this)) {
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

void Loader::Keep(Frame& frame, int declaredDefault) {
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

}  // namespace refhost::pmml
