// The readers of the document's parts, over the streaming XML reader. Each
// reader starts at the kStart event of its element and returns after the
// matching kEnd.
#pragma once

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "refhost/builder.h"
#include "refhost/pmml/pmmlinternal.h"
#include "refhost/pmml/xmlreader.h"

namespace refhost::pmml {

// Skips the content of the current element (after its kStart) to its kEnd.
void SkipElement(XmlReader& xml);
// The current element's place, for messages.
Where Here(XmlReader const& xml);
// The attribute's value, or `fallback` when there is none.
std::string AttributeOr(XmlReader const& xml, std::string_view name, std::string fallback);
// The same as a view, valid until the next event.
std::string_view ValueOr(XmlReader const& xml, std::string_view name, std::string_view fallback);

struct DataField {
  Where where;
  std::string name, optype, dataType, displayName;
  struct Value {
    Where where;
    std::string text, property, label;
    bool hasLabel = false;
  };
  std::vector<Value> values;
  std::vector<PmmlField::Interval> intervals;
};
// The DataDictionary's fields by name.
std::map<std::string, DataField> ReadDataDictionary(XmlReader& xml);

struct MiningField {
  Where where;
  std::string name;
  bool isTarget = false;
};
// The active and target fields of a MiningSchema, in its order.
std::vector<MiningField> ReadMiningSchema(XmlReader& xml);

struct DerivedField {
  Where where;
  std::string name, optype, dataType;
  std::string source;  // the field its FieldRef names
};
using Derived = std::unordered_map<std::string, DerivedField>;
// Adds the DerivedFields of a TransformationDictionary or
// LocalTransformations to `derived`; anything but a FieldRef is an error.
void ReadTransformations(XmlReader& xml, Derived& derived);

// Values that the tree names, per field in the order the document names
// them; the target's under the empty name.
using NamedValues = std::unordered_map<std::string, std::vector<std::string>>;
// Reads the rest of the current TreeModel (after its MiningSchema), noting
// the values that its predicates, scores and distributions name.
void CollectNamedValues(XmlReader& xml, Fields const& fields, Derived const& derived,
                        NamedValues& named);

// The MiningSchema's fields become `fields` (and `info`), in order; their
// categories come later.
void DeclareFields(Where const& schemaAt, std::vector<MiningField> const& mining,
                   std::map<std::string, DataField> const& dictionary, bool classification,
                   Fields& fields, std::vector<PmmlField>& info);
// Whether some categorical field declares no values, so that its categories
// are the values the tree names.
bool NeedsNamedValues(Fields const& fields, std::map<std::string, DataField> const& dictionary);
// Gives every field its categories, user-missing values and labels, and
// declares the variables on `builder` in order.
void FinishFields(std::map<std::string, DataField> const& dictionary, NamedValues const* named,
                  Fields& fields, std::vector<PmmlField>& info, ModelBuilder& builder);
// The model variable that a predicate's field name stands for, with the
// casts of the derived fields between them.
FieldRef ResolveField(Fields const& fields, Derived const& derived, std::string const& name,
                      Where const& at);

// Reads the predicate element at the current kStart.
Pred ReadPredicate(XmlReader& xml, Fields const& fields, Derived const& derived);

}  // namespace refhost::pmml
