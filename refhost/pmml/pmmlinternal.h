// Shared pieces of the PMML loader: element lookup with line numbers, the
// fields of a model as the loader sees them, and the split reader.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "refhost/builder.h"
#include "refhost/pmml/pmmlmodel.h"

namespace refhost::pmml {

// The document text's line starts, to turn an element's offset into its line.
class Doc {
 public:
  explicit Doc(std::string const& text);
  int Line(pugi::xml_node node) const;
  // Throws PmmlError "<Element> at line N: what".
  [[noreturn]] void Fail(pugi::xml_node node, std::string const& what) const;

 private:
  std::vector<std::size_t> fnLineStarts;
};

// An element's name without a namespace prefix.
std::string Local(pugi::xml_node node);
// Child elements called `name` (without prefix), in document order.
std::vector<pugi::xml_node> Children(pugi::xml_node node, char const* name);
pugi::xml_node FirstChild(pugi::xml_node node, char const* name);
// The whole text as a finite number.
std::optional<double> ParseNumber(std::string const& text);
// The tokens of an Array element: blank-separated, or double-quoted with \"
// for a quote inside. Checks the count against its n attribute.
std::vector<std::string> ParseArray(Doc const& doc, pugi::xml_node array);
// "'text'", for messages.
std::string Quote(std::string const& text);

// One model variable.
struct FieldDef {
  int index = -1;  // in the metadata's variable order
  std::string name;
  PmmlField::Kind kind = PmmlField::kNumber;
  bool ordinal = false;
  bool categorical = false;             // reaches the tree as codes 1..n of `categories`
  std::vector<std::string> categories;  // texts in code order
  std::vector<double> numbers;          // the categories as numbers (number and date kinds)
  bool hasUserMissing = false;          // a numeric field with an encoder for its missing values
  pugi::xml_node element;               // the DataField
};

struct Fields {
  std::vector<FieldDef> defs;  // in variable order
  int target = -1;
  FieldDef const* Find(std::string const& name) const;
};

// Declares the model variables on `builder`: the MiningSchema's active and
// target fields in its order, as the DataDictionary describes them. Also
// fills `info`.
Fields DeclareFields(Doc const& doc, pugi::xml_node pmml, pugi::xml_node treeModel,
                     bool classification, ModelBuilder& builder, std::vector<PmmlField>* info);

// A value text of `field` as the host number (date numbers for dates), or
// nothing when it is not one.
std::optional<double> NumberOf(FieldDef const& field, std::string const& text);
// The category code (1..n) of a value text, 0 when it is not a category.
int CodeOf(FieldDef const& field, std::string const& text);

// What the children of one node say about its split.
struct NodeSplits {
  std::optional<Split> primary;
  std::vector<Split> surrogates;
  int missingChild = -1;
  int defaultChild = -1;  // the dumb-rule child; -1 keeps unplaced records at the node
};

// Reads the predicates of `children` (the Node elements below `node`).
// `declaredDefault` is the index of the defaultChild attribute's child or -1.
NodeSplits ReadSplits(Doc const& doc, Fields const& fields, pugi::xml_node node,
                      std::vector<pugi::xml_node> const& children, MissingStrategy strategy,
                      int declaredDefault);

}  // namespace refhost::pmml
