// The model's variables from the DataDictionary and the MiningSchema.
//
// The MiningSchema's active and target fields become the metadata's
// variables, in its order. A categorical or ordinal field with valid Value
// elements has them as categories (codes 1..n in document order); one
// without them takes the values that the tree's predicates name (the target:
// the node scores and distribution values). Values with property="missing"
// are user-missing; a numeric field that has some gets an encoder for them.
#include <set>

#include "refhost/dates.h"
#include "refhost/pmml/pmmlinternal.h"

namespace refhost::pmml {
namespace {

// The kind of data a dataType holds.
PmmlField::Kind KindOf(Doc const& doc, pugi::xml_node field) {
  std::string const type = field.attribute("dataType").value();
  if (type == "string" || type == "boolean") return PmmlField::kString;
  if (type == "integer" || type == "float" || type == "double") return PmmlField::kNumber;
  if (type == "date" || type == "dateTime") return PmmlField::kDate;
  if (type.empty()) doc.Fail(field, "no dataType");
  doc.Fail(field, "dataType " + Quote(type) + " is not supported");
}

// Values in first-seen order, each once.
struct Named {
  std::vector<std::string> values;
  std::set<std::string> seen;
  void Add(std::string const& value) {
    if (seen.insert(value).second) values.push_back(value);
  }
};

// Values that the tree names per field, in document order; the target's
// under the empty name.
std::map<std::string, Named> NamedValues(Doc const& doc, pugi::xml_node treeModel) {
  std::map<std::string, Named> named;
  std::vector<pugi::xml_node> stack{treeModel};
  while (!stack.empty()) {
    pugi::xml_node const node = stack.back();
    stack.pop_back();
    std::string const name = Local(node);
    if (name == "SimplePredicate" && node.attribute("value")) {
      named[node.attribute("field").value()].Add(node.attribute("value").value());
    } else if (name == "SimpleSetPredicate") {
      if (pugi::xml_node array = FirstChild(node, "Array")) {
        for (auto const& v : ParseArray(doc, array)) named[node.attribute("field").value()].Add(v);
      }
    } else if (name == "Node" && node.attribute("score")) {
      named[""].Add(node.attribute("score").value());
    } else if (name == "ScoreDistribution") {
      named[""].Add(node.attribute("value").value());
    }
    std::vector<pugi::xml_node> children;
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
      if (c.type() == pugi::node_element) children.push_back(c);
    }
    stack.insert(stack.end(), children.rbegin(), children.rend());
  }
  return named;
}

mdt_800::Variant Typed(FieldDef const& def, std::string const& text, double number) {
  if (def.kind == PmmlField::kString) return mdt_800::Variant(text);
  return mdt_800::Variant(number);
}

// The host number of a Value's text, or an error on the element.
double NumberAt(Doc const& doc, FieldDef const& def, pugi::xml_node at, std::string const& text) {
  if (def.kind == PmmlField::kString) return 0;
  std::optional<double> number = NumberOf(def, text);
  if (!number) {
    doc.Fail(at, "value " + Quote(text) + " of field " + Quote(def.name) + " is not a " +
                     (def.kind == PmmlField::kDate ? "date" : "number"));
  }
  return *number;
}

}  // namespace

FieldDef const* Fields::Find(std::string const& name) const {
  for (auto const& def : defs) {
    if (def.name == name) return &def;
  }
  return nullptr;
}

std::optional<double> NumberOf(FieldDef const& field, std::string const& text) {
  if (field.kind == PmmlField::kNumber) return ParseNumber(text);
  if (field.kind == PmmlField::kDate) {
    try {
      return DateNumberFromIso(text);
    } catch (std::invalid_argument const&) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

int CodeOf(FieldDef const& field, std::string const& text) {
  if (field.kind == PmmlField::kString) {
    for (std::size_t i = 0; i < field.categories.size(); ++i) {
      if (field.categories[i] == text) return static_cast<int>(i) + 1;
    }
    return 0;
  }
  std::optional<double> const number = NumberOf(field, text);
  if (!number) return 0;
  for (std::size_t i = 0; i < field.numbers.size(); ++i) {
    if (field.numbers[i] == *number) return static_cast<int>(i) + 1;
  }
  return 0;
}

Fields DeclareFields(Doc const& doc, pugi::xml_node pmml, pugi::xml_node treeModel,
                     bool classification, ModelBuilder& builder, std::vector<PmmlField>* info) {
  pugi::xml_node const dictionary = FirstChild(pmml, "DataDictionary");
  if (!dictionary) doc.Fail(pmml, "no DataDictionary");
  std::map<std::string, pugi::xml_node> dataFields;
  for (pugi::xml_node field : Children(dictionary, "DataField")) {
    std::string const name = field.attribute("name").value();
    if (name.empty()) doc.Fail(field, "no name");
    if (!dataFields.emplace(name, field).second) {
      doc.Fail(field, "field " + Quote(name) + " declared twice");
    }
  }
  pugi::xml_node const schema = FirstChild(treeModel, "MiningSchema");
  if (!schema) doc.Fail(treeModel, "no MiningSchema");
  std::map<std::string, Named> const named = NamedValues(doc, treeModel);

  Fields fields;
  for (pugi::xml_node mining : Children(schema, "MiningField")) {
    std::string const name = mining.attribute("name").value();
    std::string const usage = mining.attribute("usageType").as_string("active");
    bool const isTarget = usage == "predicted" || usage == "target";
    if (!isTarget && usage != "active") continue;
    auto const found = dataFields.find(name);
    if (found == dataFields.end()) {
      doc.Fail(mining, "field " + Quote(name) + " is not in the DataDictionary");
    }
    if (fields.Find(name) != nullptr) doc.Fail(mining, "field " + Quote(name) + " listed twice");
    if (isTarget && fields.target >= 0) {
      doc.Fail(mining, "a second target " + Quote(name) + " (the first is " +
                           Quote(fields.defs[fields.target].name) + ")");
    }
    pugi::xml_node const element = found->second;
    FieldDef def;
    def.index = static_cast<int>(fields.defs.size());
    def.name = name;
    def.element = element;
    def.kind = KindOf(doc, element);
    std::string const optype = element.attribute("optype").value();
    if (optype != "categorical" && optype != "ordinal" && optype != "continuous") {
      doc.Fail(element,
               optype.empty() ? "no optype" : "optype " + Quote(optype) + " is not supported");
    }
    def.ordinal = optype == "ordinal";
    def.categorical =
        optype != "continuous" || def.kind == PmmlField::kString || (isTarget && classification);
    if (isTarget && !classification && def.kind != PmmlField::kNumber) {
      doc.Fail(element, "the target of a regression tree must be a number");
    }
    if (isTarget && !classification) def.categorical = false;

    PmmlField out;
    out.name = name;
    out.kind = def.kind;
    out.isTarget = isTarget;
    std::vector<mdt_800::Variant> missing;
    std::vector<std::pair<mdt_800::Variant, std::string>> labels;
    std::set<std::string> seen;
    for (pugi::xml_node value : Children(element, "Value")) {
      std::string const text = value.attribute("value").value();
      std::string const property = value.attribute("property").as_string("valid");
      if (property == "invalid") continue;
      if (property != "valid" && property != "missing") {
        doc.Fail(value, "property " + Quote(property) + " is not supported");
      }
      if (!seen.insert(text).second) doc.Fail(value, "value " + Quote(text) + " declared twice");
      double const number = NumberAt(doc, def, value, text);
      out.declaredValues.push_back(text);
      if (property == "missing") {
        missing.push_back(Typed(def, text, number));
        if (def.kind != PmmlField::kString) def.hasUserMissing = true;
      } else if (def.categorical) {
        def.categories.push_back(text);
        def.numbers.push_back(number);
      }
      if (value.attribute("displayValue")) {
        labels.emplace_back(Typed(def, text, number), value.attribute("displayValue").value());
      }
    }
    if (def.categorical && def.categories.empty()) {
      auto const it = named.find(isTarget ? std::string() : name);
      if (it != named.end()) {
        for (auto const& text : it->second.values) {
          if (seen.count(text) != 0) continue;  // a declared missing value
          def.categories.push_back(text);
          def.numbers.push_back(NumberAt(doc, def, element, text));
        }
      }
      if (def.categories.empty())
        doc.Fail(element, "categorical field " + Quote(name) + " has no values");
    }
    for (pugi::xml_node interval : Children(element, "Interval")) {
      PmmlField::Interval range;
      std::string const closure = interval.attribute("closure").value();
      if (closure != "openClosed" && closure != "openOpen" && closure != "closedOpen" &&
          closure != "closedClosed") {
        doc.Fail(interval, "closure " + Quote(closure) +
                               " is not one of openClosed, openOpen, "
                               "closedOpen, closedClosed");
      }
      range.leftClosed = closure.compare(0, 6, "closed") == 0;
      range.rightClosed = closure.size() > 6 && closure.substr(closure.size() - 6) == "Closed";
      for (auto [attribute, end] :
           {std::pair{"leftMargin", &range.left}, {"rightMargin", &range.right}}) {
        if (pugi::xml_attribute a = interval.attribute(attribute)) {
          *end = ParseNumber(a.value());
          if (!*end)
            doc.Fail(interval,
                     std::string(attribute) + " " + Quote(a.value()) + " is not a number");
        }
      }
      out.intervals.push_back(range);
    }

    // Declare the variable on the builder.
    std::vector<mdt_800::Variant> categories;
    for (std::size_t i = 0; i < def.categories.size(); ++i) {
      categories.push_back(Typed(def, def.categories[i], def.numbers[i]));
    }
    auto const declare = [&]() -> VarRef {
      if (isTarget) {
        if (classification) return builder.ClassTarget(name, categories);
        return builder.ContinuousTarget(name);
      }
      if (def.categorical) {
        return def.ordinal ? builder.OrderedCategories(name, categories)
                           : builder.Nominal(name, categories);
      }
      return def.ordinal ? builder.Ordinal(name) : builder.Scale(name);
    };
    VarRef var = declare();
    if (def.kind == PmmlField::kDate) var.Date();
    if (!missing.empty()) var.Missing(missing);
    if (element.attribute("displayName")) var.Label(element.attribute("displayName").value());
    for (auto const& label : labels) var.ValueLabel(label.first, label.second);
    out.categorical = def.categorical;
    out.categories = def.categories;
    if (isTarget) fields.target = def.index;
    fields.defs.push_back(std::move(def));
    info->push_back(std::move(out));
  }
  return fields;
}

}  // namespace refhost::pmml
