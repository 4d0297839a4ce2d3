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
//
// The Node elements are read in pmmlnodes.cpp.
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "refhost/pmml/pmmlloading.h"

namespace refhost {
namespace pmml {
namespace {

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

}  // namespace

bool Loader::Run(NamedValues* collected) {
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

PmmlModel Loader::Take() {
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

bool Loader::TreeModel(NamedValues* collected) {
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

void Loader::Prepare() {
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

bool Loader::PenaltyCounts() const {
  return fnPenalty != 1 && fnMissing != MissingStrategy::kNone &&
         fnMissing != MissingStrategy::kNullPrediction;
}

}  // namespace pmml

namespace {

using namespace pmml;

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
