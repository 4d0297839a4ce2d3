// Readers of the DataDictionary, the MiningSchema and the transformations,
// and the scan for the values a tree names.
#include "refhost/pmml/pmmlreading.h"

namespace refhost::pmml {

void SkipElement(XmlReader& xml) {
  std::size_t const depth = xml.Depth();
  for (;;) {
    XmlReader::Event const e = xml.Next();
    if (e == XmlReader::kEnd && xml.Depth() + 1 == depth) return;
    if (e == XmlReader::kDone) return;
  }
}

Where Here(XmlReader const& xml) { return Where{std::string(xml.Name()), xml.Line()}; }

std::string AttributeOr(XmlReader const& xml, std::string_view name, std::string fallback) {
  std::string const* value = xml.Attribute(name);
  return value != nullptr ? *value : fallback;
}

std::string_view ValueOr(XmlReader const& xml, std::string_view name, std::string_view fallback) {
  return xml.Value(name).value_or(fallback);
}

namespace {

// Calls `child` for each child element of the current element (at its
// kStart); `child` reads or skips that element.
template <typename F>
void EachChild(XmlReader& xml, F child) {
  std::size_t const depth = xml.Depth();
  for (;;) {
    XmlReader::Event const e = xml.Next();
    if (e == XmlReader::kEnd && xml.Depth() + 1 == depth) return;
    if (e == XmlReader::kStart) child();
  }
}

PmmlField::Interval ReadInterval(XmlReader& xml) {
  Where const at = Here(xml);
  PmmlField::Interval range;
  std::string const closure = AttributeOr(xml, "closure", "");
  if (closure != "openClosed" && closure != "openOpen" && closure != "closedOpen" &&
      closure != "closedClosed") {
    at.Fail("closure " + Quote(closure) +
            " is not one of openClosed, openOpen, closedOpen, closedClosed");
  }
  range.leftClosed = closure.compare(0, 6, "closed") == 0;
  range.rightClosed = closure.size() > 6 && closure.substr(closure.size() - 6) == "Closed";
  for (auto [attribute, end] :
       {std::pair{"leftMargin", &range.left}, {"rightMargin", &range.right}}) {
    if (std::string const* a = xml.Attribute(attribute)) {
      *end = ParseNumber(*a);
      if (!*end) at.Fail(std::string(attribute) + " " + Quote(*a) + " is not a number");
    }
  }
  SkipElement(xml);
  return range;
}

}  // namespace

std::map<std::string, DataField> ReadDataDictionary(XmlReader& xml) {
  std::map<std::string, DataField> fields;
  EachChild(xml, [&] {
    if (xml.Name() != "DataField") return SkipElement(xml);
    DataField field;
    field.where = Here(xml);
    field.name = AttributeOr(xml, "name", "");
    field.optype = AttributeOr(xml, "optype", "");
    field.dataType = AttributeOr(xml, "dataType", "");
    field.displayName = AttributeOr(xml, "displayName", "");
    if (field.name.empty()) field.where.Fail("no name");
    EachChild(xml, [&] {
      if (xml.Name() == "Value") {
        DataField::Value value;
        value.where = Here(xml);
        value.text = AttributeOr(xml, "value", "");
        value.property = AttributeOr(xml, "property", "valid");
        if (std::string const* label = xml.Attribute("displayValue")) {
          value.label = *label;
          value.hasLabel = true;
        }
        if (value.property != "valid" && value.property != "missing" &&
            value.property != "invalid") {
          value.where.Fail("property " + Quote(value.property) + " is not supported");
        }
        field.values.push_back(std::move(value));
        SkipElement(xml);
      } else if (xml.Name() == "Interval") {
        field.intervals.push_back(ReadInterval(xml));
      } else {
        SkipElement(xml);
      }
    });
    std::string const name = field.name;
    Where const at = field.where;
    if (!fields.emplace(name, std::move(field)).second) {
      at.Fail("field " + Quote(name) + " declared twice");
    }
  });
  return fields;
}

std::vector<MiningField> ReadMiningSchema(XmlReader& xml) {
  std::vector<MiningField> fields;
  EachChild(xml, [&] {
    if (xml.Name() != "MiningField") return SkipElement(xml);
    MiningField field;
    field.where = Here(xml);
    field.name = AttributeOr(xml, "name", "");
    std::string const usage = AttributeOr(xml, "usageType", "active");
    field.isTarget = usage == "predicted" || usage == "target";
    if (xml.Attribute("missingValueReplacement") != nullptr && !field.isTarget) {
      field.where.Fail("missingValueReplacement is not supported (the tree would route a missing " +
                       Quote(field.name) + " as the replacement value)");
    }
    SkipElement(xml);
    if (field.isTarget || usage == "active") fields.push_back(std::move(field));
  });
  return fields;
}

void ReadTransformations(XmlReader& xml, Derived& derived) {
  EachChild(xml, [&] {
    if (xml.Name() != "DerivedField") {
      if (xml.Name() == "DefineFunction") {
        Here(xml).Fail("DefineFunction is not supported (derived fields may only cast a field)");
      }
      return SkipElement(xml);
    }
    DerivedField field;
    field.where = Here(xml);
    field.name = AttributeOr(xml, "name", "");
    field.optype = AttributeOr(xml, "optype", "");
    field.dataType = AttributeOr(xml, "dataType", "");
    if (field.name.empty()) field.where.Fail("no name");
    if (field.dataType.empty()) field.where.Fail("no dataType");
    bool haveExpression = false;
    EachChild(xml, [&] {
      if (xml.Name() == "Extension") return SkipElement(xml);
      Where const at = Here(xml);
      if (haveExpression) at.Fail("a second expression in DerivedField " + Quote(field.name));
      haveExpression = true;
      if (xml.Name() != "FieldRef") {
        at.Fail(std::string(xml.Name()) + " in DerivedField " + Quote(field.name) +
                " is not supported: a derived field may only be a FieldRef with a cast "
                "(dataType double, float or integer)");
      }
      if (xml.Attribute("mapMissingTo") != nullptr) {
        at.Fail("mapMissingTo is not supported (missing values must stay missing)");
      }
      field.source = AttributeOr(xml, "field", "");
      if (field.source.empty()) at.Fail("no field");
      SkipElement(xml);
    });
    if (!haveExpression) field.where.Fail("DerivedField " + Quote(field.name) + " has no FieldRef");
    derived[field.name] = std::move(field);
  });
}

void CollectNamedValues(XmlReader& xml, Fields const& fields, Derived const& derived,
                        NamedValues& named) {
  // The raw field a name stands for when no cast lies between them.
  auto const raw = [&](std::string name) -> std::string {
    for (int guard = 0; guard < 1000 && fields.Find(name) == nullptr; ++guard) {
      auto const found = derived.find(name);
      if (found == derived.end()) return std::string();
      std::string const& type = found->second.dataType;
      if (type == "float" || type == "integer") return std::string();
      name = found->second.source;
    }
    return name;
  };
  std::string setField;    // of the SimpleSetPredicate being read
  std::string arrayField;  // of the Array being read
  Where arrayAt;
  for (XmlReader::Event e = XmlReader::kStart; e != XmlReader::kDone; e = xml.Next()) {
    if (e == XmlReader::kText && !arrayField.empty()) {
      for (std::string& token : ParseArray(xml.Text(), arrayAt, nullptr)) {
        named[arrayField].push_back(std::move(token));
      }
      continue;
    }
    if (e != XmlReader::kStart) {
      if (e == XmlReader::kEnd && xml.Name() == "Array") arrayField.clear();
      continue;
    }
    std::string_view const name = xml.Name();
    if (name == "SimplePredicate") {
      std::string const* value = xml.Attribute("value");
      std::string const field = raw(AttributeOr(xml, "field", ""));
      if (value != nullptr && !field.empty()) named[field].push_back(*value);
    } else if (name == "Array") {
      arrayField = setField;
      arrayAt = Here(xml);
    } else if (name == "SimpleSetPredicate") {
      setField = raw(AttributeOr(xml, "field", ""));
    } else if (name == "Node") {
      if (std::string const* score = xml.Attribute("score")) named[""].push_back(*score);
    } else if (name == "ScoreDistribution") {
      named[""].push_back(AttributeOr(xml, "value", ""));
    }
  }
}

}  // namespace refhost::pmml
