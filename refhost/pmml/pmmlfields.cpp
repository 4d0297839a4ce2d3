// The model's variables from the DataDictionary and the MiningSchema, and
// the derived fields that stand for them.
//
// The MiningSchema's active and target fields become the metadata's
// variables, in its order. A categorical or ordinal field with valid Value
// elements has them as categories (codes 1..n in document order); one
// without them takes the values that the tree's predicates name (the target:
// the node scores and distribution values), in the order the document names
// them. Values with property="missing" are user-missing; a numeric field that
// has some gets an encoder for them. A boolean field is categorical, its
// values read as 1 (true) and 0 (false).
#include <set>

#include "refhost/pmml/pmmlreading.h"

namespace refhost::pmml {
namespace {

mdt_800::Variant Typed(FieldDef const& def, std::string const& text, double number) {
  if (def.kind == PmmlField::kString) return mdt_800::Variant(text);
  return mdt_800::Variant(number);
}

// The spellings a boolean value takes in data files, canonical one first.
std::vector<char const*> const& Spellings(bool truth) {
  static std::vector<char const*> const kTrue{"true", "TRUE", "True", "1"};
  static std::vector<char const*> const kFalse{"false", "FALSE", "False", "0"};
  return truth ? kTrue : kFalse;
}

void Kind(DataField const& data, FieldDef& def) {
  std::string const& type = data.dataType;
  if (type == "string") {
    def.kind = PmmlField::kString;
  } else if (type == "boolean") {
    def.kind = PmmlField::kString;
    def.boolean = true;
  } else if (type == "integer" || type == "float" || type == "double") {
    def.kind = PmmlField::kNumber;
  } else if (type == "date" || type == "dateTime") {
    def.kind = PmmlField::kDate;
  } else if (type.empty()) {
    data.where.Fail("no dataType");
  } else {
    data.where.Fail("dataType " + Quote(type) + " is not supported");
  }
}

double NumberAt(FieldDef const& def, Where const& at, std::string const& text) {
  if (def.kind == PmmlField::kString && !def.boolean) return 0;
  std::optional<double> number = def.NumberOf(text);
  if (!number || (def.boolean && *number != 0 && *number != 1)) {
    at.Fail("value " + Quote(text) + " of field " + Quote(def.name) + " is not a " +
            (def.boolean                    ? "boolean"
             : def.kind == PmmlField::kDate ? "date"
                                            : "number"));
  }
  return *number;
}

}  // namespace

void DeclareFields(Where const& schemaAt, std::vector<MiningField> const& mining,
                   std::map<std::string, DataField> const& dictionary, bool classification,
                   Fields& fields, std::vector<PmmlField>& info) {
  for (MiningField const& m : mining) {
    auto const found = dictionary.find(m.name);
    if (found == dictionary.end()) {
      m.where.Fail("field " + Quote(m.name) + " is not in the DataDictionary");
    }
    if (fields.Find(m.name) != nullptr) m.where.Fail("field " + Quote(m.name) + " listed twice");
    if (m.isTarget && fields.target >= 0) {
      m.where.Fail("a second target " + Quote(m.name) + " (the first is " +
                   Quote(fields.defs[static_cast<std::size_t>(fields.target)].name) + ")");
    }
    DataField const& data = found->second;
    FieldDef def;
    def.index = static_cast<int>(fields.defs.size());
    def.name = m.name;
    def.where = data.where;
    Kind(data, def);
    if (data.optype != "categorical" && data.optype != "ordinal" && data.optype != "continuous") {
      data.where.Fail(data.optype.empty() ? "no optype"
                                          : "optype " + Quote(data.optype) + " is not supported");
    }
    def.ordinal = data.optype == "ordinal";
    def.categorical = data.optype != "continuous" || def.kind == PmmlField::kString ||
                      (m.isTarget && classification);
    if (m.isTarget && !classification) {
      if (def.kind == PmmlField::kString) {
        data.where.Fail("the target of a regression tree must be a number or a date");
      }
      def.categorical = false;
    }
    if (m.isTarget) fields.target = def.index;
    fields.byName.emplace(def.name, def.index);
    fields.defs.push_back(std::move(def));
    PmmlField out;
    out.name = m.name;
    out.isTarget = m.isTarget;
    info.push_back(std::move(out));
  }
  if (fields.target < 0) schemaAt.Fail("no target field");
}

bool NeedsNamedValues(Fields const& fields, std::map<std::string, DataField> const& dictionary) {
  for (FieldDef const& def : fields.defs) {
    if (!def.categorical || def.boolean) continue;
    bool anyValid = false;
    for (DataField::Value const& v : dictionary.at(def.name).values) {
      anyValid = anyValid || v.property == "valid";
    }
    if (!anyValid) return true;
  }
  return false;
}

void FinishFields(std::map<std::string, DataField> const& dictionary, NamedValues const* named,
                  Fields& fields, std::vector<PmmlField>& info, ModelBuilder& builder) {
  for (FieldDef& def : fields.defs) {
    DataField const& data = dictionary.at(def.name);
    bool const isTarget = def.index == fields.target;
    PmmlField& out = info[static_cast<std::size_t>(def.index)];
    out.kind = def.kind;
    std::vector<mdt_800::Variant> missing;
    std::vector<std::pair<mdt_800::Variant, std::string>> labels;
    std::set<std::string> seen;
    for (DataField::Value const& value : data.values) {
      if (value.property == "invalid") continue;
      if (!seen.insert(value.text).second) {
        value.where.Fail("value " + Quote(value.text) + " declared twice");
      }
      double const number = NumberAt(def, value.where, value.text);
      out.declaredValues.push_back(value.text);
      if (value.property == "missing") {
        missing.push_back(Typed(def, value.text, number));
        def.missingTexts.push_back(value.text);
        if (def.kind != PmmlField::kString) def.hasUserMissing = true;
      } else if (def.categorical) {
        def.AddCategory(value.text, number);
        def.declared = true;
      }
      if (value.hasLabel) labels.emplace_back(Typed(def, value.text, number), value.label);
    }
    if (def.categorical && !def.declared && named != nullptr) {
      auto const it = named->find(isTarget ? std::string() : def.name);
      if (it != named->end()) {
        for (std::string const& text : it->second) {
          if (seen.count(text) != 0) continue;  // a declared missing value
          if (def.boolean) {
            std::optional<double> const b = def.NumberOf(text);
            if (!b || (*b != 0 && *b != 1) || def.CodeOf(text) != 0) continue;
          }
          def.AddCategory(text, NumberAt(def, data.where, text));
        }
      }
    }
    if (def.boolean) {
      // Both values, in every spelling data files use, so that a record
      // reads the same whichever spelling it has.
      for (bool truth : {false, true}) {
        for (char const* spelling : Spellings(truth)) {
          if (def.codeByText.count(spelling) == 0 && seen.count(spelling) == 0) {
            def.AddCategory(spelling, truth ? 1 : 0);
          }
        }
      }
    }
    if (def.categorical && def.categories.empty()) {
      data.where.Fail("categorical field " + Quote(def.name) + " has no values");
    }
    out.intervals = data.intervals;
    out.categorical = def.categorical;
    out.categories = def.categories;

    std::vector<mdt_800::Variant> categories;
    for (std::size_t i = 0; i < def.categories.size(); ++i) {
      categories.push_back(Typed(def, def.categories[i], def.numbers[i]));
    }
    auto const declare = [&]() -> VarRef {
      if (isTarget) {
        return def.categorical ? builder.ClassTarget(def.name, categories)
                               : builder.ContinuousTarget(def.name);
      }
      if (def.categorical) {
        return def.ordinal ? builder.OrderedCategories(def.name, categories)
                           : builder.Nominal(def.name, categories);
      }
      return def.ordinal ? builder.Ordinal(def.name) : builder.Scale(def.name);
    };
    VarRef var = declare();
    if (def.kind == PmmlField::kDate) var.Date();
    if (!missing.empty()) var.Missing(missing);
    if (!data.displayName.empty()) var.Label(data.displayName);
    for (auto const& label : labels) var.ValueLabel(label.first, label.second);
  }
}

FieldRef ResolveField(Fields const& fields, Derived const& derived, std::string const& name,
                      Where const& at) {
  FieldRef ref;
  std::vector<DerivedField const*> chain;  // outermost first
  std::string current = name;
  std::set<std::string> visited;
  while ((ref.field = fields.Find(current)) == nullptr) {
    auto const found = derived.find(current);
    if (found == derived.end()) {
      if (chain.empty()) {
        at.Fail("field " + Quote(name) + " is not an active field of the MiningSchema");
      }
      at.Fail("field " + Quote(name) + " is derived from " + Quote(current) +
              ", which is not an active field of the MiningSchema");
    }
    if (!visited.insert(current).second) {
      at.Fail("the derived field " + Quote(name) + " is defined through itself");
    }
    chain.push_back(&found->second);
    current = found->second.source;
  }
  FieldDef const& raw = *ref.field;
  if (raw.index == fields.target) at.Fail("field " + Quote(name) + " is the target");
  bool const numeric = raw.kind == PmmlField::kNumber || raw.boolean;
  for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
    std::string const& type = (*it)->dataType;
    if (type == "double" || type == "float" || type == "integer") {
      if (!numeric) {
        (*it)->where.Fail("the cast to " + type + " of " + Quote(raw.name) +
                          " needs a numeric field");
      }
      if (type == "float") ref.casts.push_back(Cast::kFloat);
      if (type == "integer") ref.casts.push_back(Cast::kInteger);
    } else {
      bool const same = (type == "string" && raw.kind == PmmlField::kString && !raw.boolean) ||
                        (type == "boolean" && raw.boolean) ||
                        ((type == "date" || type == "dateTime") && raw.kind == PmmlField::kDate);
      if (!same) {
        (*it)->where.Fail("dataType " + Quote(type) + " over the field " + Quote(raw.name) +
                          " is not supported (casts between double, float and integer are)");
      }
    }
  }
  return ref;
}

}  // namespace refhost::pmml
