// The loader: PMML document -> fields, nodes and splits -> ModelBuilder.
//
// Nodes are read in document (prefix) order. Their ids are the document's
// when every id is a non-negative integer, else their document position; the
// document's ids are kept for display either way. A node's children give its
// split (pmmlsplits.cpp); its score and ScoreDistribution its statistics.
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

#include "refhost/pmml/pmmlinternal.h"

namespace refhost {
namespace {

using pmml::Doc;
using pmml::FieldDef;
using pmml::Fields;
using pmml::Quote;

MissingStrategy ReadMissingStrategy(Doc const& doc, pugi::xml_node tree) {
  std::string const s = tree.attribute("missingValueStrategy").as_string("none");
  if (s == "none") return MissingStrategy::kNone;
  if (s == "lastPrediction") return MissingStrategy::kLastPrediction;
  if (s == "nullPrediction") return MissingStrategy::kNullPrediction;
  if (s == "defaultChild") return MissingStrategy::kDefaultChild;
  doc.Fail(tree, "missingValueStrategy " + Quote(s) + " is not supported");
}

NoTrueChildStrategy ReadNoTrueChild(Doc const& doc, pugi::xml_node tree) {
  std::string const s = tree.attribute("noTrueChildStrategy").as_string("returnNullPrediction");
  if (s == "returnNullPrediction") return NoTrueChildStrategy::kReturnNull;
  if (s == "returnLastPrediction") return NoTrueChildStrategy::kReturnLast;
  doc.Fail(tree, "noTrueChildStrategy " + Quote(s) + " is not supported");
}

bool IsCount(std::string const& text) {
  if (text.empty() || text.size() > 10) return false;
  for (char c : text) {
    if (!std::isdigit(static_cast<unsigned char>(c))) return false;
  }
  return std::stoull(text) <= UINT_MAX;
}

// The Node elements in prefix order.
std::vector<pugi::xml_node> AllNodes(pugi::xml_node root) {
  std::vector<pugi::xml_node> nodes;
  std::vector<pugi::xml_node> stack{root};
  while (!stack.empty()) {
    pugi::xml_node const node = stack.back();
    stack.pop_back();
    nodes.push_back(node);
    std::vector<pugi::xml_node> const children = pmml::Children(node, "Node");
    stack.insert(stack.end(), children.rbegin(), children.rend());
  }
  return nodes;
}

// Class statistics: the score's code and each code's probability, from the
// distribution's probabilities, else its record counts.
void ClassStatistics(Doc const& doc, FieldDef const& target, pugi::xml_node node, NodeSpec& desc) {
  std::size_t const n = target.categories.size();
  std::vector<double> probabilities(n, 0.0);
  std::vector<double> counts(n, 0.0);
  bool anyProbability = false;
  std::vector<pugi::xml_node> const distribution = pmml::Children(node, "ScoreDistribution");
  for (pugi::xml_node entry : distribution) {
    std::string const value = entry.attribute("value").value();
    int const code = pmml::CodeOf(target, value);
    if (code == 0)
      doc.Fail(entry,
               "value " + Quote(value) + " is not a category of the target " + Quote(target.name));
    std::optional<double> const count =
        pmml::ParseNumber(entry.attribute("recordCount").as_string("0"));
    if (!count || *count < 0) doc.Fail(entry, "recordCount is not a number");
    counts[code - 1] += *count;
    if (pugi::xml_attribute p = entry.attribute("probability")) {
      std::optional<double> const probability = pmml::ParseNumber(p.value());
      if (!probability || *probability < 0 || *probability > 1) {
        doc.Fail(entry, "probability " + Quote(p.value()) + " is not a number from 0 to 1");
      }
      probabilities[code - 1] = *probability;
      anyProbability = true;
    }
  }
  if (!anyProbability) {
    double total = 0;
    for (double c : counts) total += c;
    if (total > 0) {
      for (std::size_t i = 0; i < n; ++i) probabilities[i] = counts[i] / total;
    }
  }
  int predicted = 0;
  if (pugi::xml_attribute score = node.attribute("score")) {
    predicted = pmml::CodeOf(target, score.value());
    if (predicted == 0)
      doc.Fail(node, "score " + Quote(score.value()) + " is not a category of the target " +
                         Quote(target.name));
  } else if (!distribution.empty()) {
    predicted = 1;
    for (std::size_t i = 1; i < n; ++i) {
      if (probabilities[i] > probabilities[predicted - 1]) predicted = static_cast<int>(i) + 1;
    }
  }
  if (predicted > 0) desc.Predict(predicted, probabilities);
}

}  // namespace

PmmlModel LoadPmml(std::string const& text) {
  pugi::xml_document xml;
  pugi::xml_parse_result const parsed =
      xml.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
  Doc const doc(text);
  if (!parsed) {
    if (parsed.status == pugi::status_no_document_element) {
      throw PmmlError("not an XML document: it holds no element", 0);
    }
    int line = 1;
    for (std::ptrdiff_t i = 0; i < parsed.offset && static_cast<std::size_t>(i) < text.size();
         ++i) {
      if (text[static_cast<std::size_t>(i)] == '\n') ++line;
    }
    throw PmmlError("not an XML document: " + std::string(parsed.description()) + " at line " +
                        std::to_string(line),
                    line);
  }
  pugi::xml_node const root = xml.document_element();
  if (pmml::Local(root) != "PMML")
    doc.Fail(root,
             "the document is not PMML (its root element is " + Quote(pmml::Local(root)) + ")");
  std::string const version = root.attribute("version").value();
  if (version.empty() || (version[0] != '3' && version[0] != '4')) {
    doc.Fail(root, "PMML version " + Quote(version) + " is not supported (3.x and 4.x are)");
  }
  std::vector<pugi::xml_node> const trees = pmml::Children(root, "TreeModel");
  if (trees.empty()) doc.Fail(root, "no TreeModel");
  if (trees.size() > 1) doc.Fail(trees[1], "a second TreeModel (one is supported)");
  pugi::xml_node const tree = trees[0];
  std::string const function = tree.attribute("functionName").value();
  if (function != "classification" && function != "regression") {
    doc.Fail(tree, "functionName " + Quote(function) +
                       " is not supported (classification and regression are)");
  }
  bool const classification = function == "classification";
  MissingStrategy const missing = ReadMissingStrategy(doc, tree);
  NoTrueChildStrategy const noTrueChild = ReadNoTrueChild(doc, tree);

  ModelBuilder builder;
  std::vector<PmmlField> info;
  Fields const fields = pmml::DeclareFields(doc, root, tree, classification, builder, &info);
  if (fields.target < 0) doc.Fail(pmml::FirstChild(tree, "MiningSchema"), "no target field");
  FieldDef const& target = fields.defs[fields.target];

  std::vector<pugi::xml_node> const rootNodes = pmml::Children(tree, "Node");
  if (rootNodes.empty()) doc.Fail(tree, "no Node");
  if (rootNodes.size() > 1) doc.Fail(rootNodes[1], "a second root Node");
  std::vector<pugi::xml_node> const nodes = AllNodes(rootNodes[0]);

  // Node ids: the document's when all are counts, else document order.
  bool counts = true;
  std::set<std::string> seen;
  for (pugi::xml_node node : nodes) {
    pugi::xml_attribute const id = node.attribute("id");
    if (id && !seen.insert(id.value()).second)
      doc.Fail(node, "node id " + Quote(id.value()) + " used twice");
    counts = counts && id && IsCount(id.value());
  }
  std::map<pugi::xml_node_struct*, unsigned int> hostIds;
  std::map<unsigned int, PmmlNode> pmmlNodes;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    pugi::xml_attribute const id = nodes[i].attribute("id");
    unsigned int const hostId =
        counts ? static_cast<unsigned int>(std::stoul(id.value())) : static_cast<unsigned int>(i);
    hostIds[nodes[i].internal_object()] = hostId;
    PmmlNode& info = pmmlNodes[hostId];
    info.id = id ? id.value() : std::to_string(i);
    if (pugi::xml_attribute count = nodes[i].attribute("recordCount")) {
      info.recordCount = pmml::ParseNumber(count.value());
      if (!info.recordCount)
        doc.Fail(nodes[i], "recordCount " + Quote(count.value()) + " is not a number");
    }
  }

  for (pugi::xml_node node : nodes) {
    NodeSpec& desc = builder.Node(hostIds[node.internal_object()]);
    std::vector<pugi::xml_node> const children = pmml::Children(node, "Node");
    if (!children.empty()) {
      int declaredDefault = -1;
      if (pugi::xml_attribute d = node.attribute("defaultChild")) {
        for (std::size_t i = 0; i < children.size(); ++i) {
          if (std::string(children[i].attribute("id").value()) == d.value())
            declaredDefault = static_cast<int>(i);
        }
        if (declaredDefault < 0)
          doc.Fail(node, "defaultChild " + Quote(d.value()) + " is not one of its children");
      }
      pmml::NodeSplits splits =
          pmml::ReadSplits(doc, fields, node, children, missing, declaredDefault);
      desc.SplitBy(*splits.primary);
      for (Split const& s : splits.surrogates) desc.Surrogate(s);
      desc.DefaultChild(splits.defaultChild);
      std::vector<unsigned int> ids;
      for (pugi::xml_node child : children) ids.push_back(hostIds[child.internal_object()]);
      desc.Children(ids);
    }
    if (classification) {
      ClassStatistics(doc, target, node, desc);
    } else if (pugi::xml_attribute score = node.attribute("score")) {
      std::optional<double> const value = pmml::ParseNumber(score.value());
      if (!value) doc.Fail(node, "score " + Quote(score.value()) + " is not a number");
      desc.PredictValue(*value);
    }
  }
  try {
    Model model = builder.Build();
    return PmmlModel(std::move(model), std::move(info), std::move(pmmlNodes), missing, noTrueChild,
                     tree.attribute("modelName").value());
  } catch (std::invalid_argument const& e) {
    doc.Fail(tree, e.what());
  }
}

PmmlModel LoadPmmlFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw PmmlError(std::string("cannot read the file: ") + std::strerror(errno), 0);
  std::ostringstream text;
  text << in.rdbuf();
  if (in.bad()) throw PmmlError("cannot read the file", 0);
  return LoadPmml(text.str());
}

}  // namespace refhost
