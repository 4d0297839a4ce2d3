// The builder's variable declarations and the metadata made from them.
#include "refhost/builder.h"

#include "refhost/extremes.h"

#include <cmath>
#include <limits>
#include <stdexcept>

#include "refhost/categoryencoder.h"
#include "refhost/numericencoder.h"

namespace refhost {
namespace {

double const kInf = std::numeric_limits<double>::infinity();

mdt_800::EncodingSets SingleValue(mdt_800::Variant const& value) {
  mdt_800::DiscreteValues values;
  values.AddItem(mdt_800::EncodingItem(value, true));
  mdt_800::EncodingSets sets;
  sets.AddEncodingSet(values);
  return sets;
}

mdt_800::EncodingSets OneRange(double lower, bool lowerInclusive, double upper,
                               bool upperInclusive) {
  mdt_800::EncodingSets sets;
  sets.AddEncodingSet(mdt_800::Interval(
      mdt_800::EncodingItem(mdt_800::Variant(refhost::BoundEnd(lower)), lowerInclusive),
      mdt_800::EncodingItem(mdt_800::Variant(refhost::BoundEnd(upper)), upperInclusive)));
  return sets;
}

}  // namespace

VarRef& VarRef::Label(std::string label) {
  fnBuilder->fnVariables[fnIndex].label = std::move(label);
  return *this;
}

VarRef& VarRef::ValueLabel(mdt_800::Variant const& value, std::string label) {
  fnBuilder->fnVariables[fnIndex].valueLabels.emplace_back(value, std::move(label));
  return *this;
}

VarRef& VarRef::Date() {
  fnBuilder->fnVariables[fnIndex].date = true;
  return *this;
}

VarRef& VarRef::Missing(std::vector<mdt_800::Variant> values) {
  auto& missing = fnBuilder->fnVariables[fnIndex].missingValues;
  missing.insert(missing.end(), values.begin(), values.end());
  return *this;
}

VarRef& VarRef::MissingRange(double lower, double upper) {
  fnBuilder->fnVariables[fnIndex].missingRanges.emplace_back(lower, upper);
  return *this;
}

ModelBuilder::ModelBuilder() = default;
ModelBuilder::~ModelBuilder() = default;

VarRef ModelBuilder::Add(VariableSpec desc) {
  fnVariables.push_back(std::move(desc));
  return VarRef(this, static_cast<int>(fnVariables.size()) - 1);
}

VarRef ModelBuilder::Scale(std::string name) {
  VariableSpec desc;
  desc.name = std::move(name);
  return Add(std::move(desc));
}

VarRef ModelBuilder::Ordinal(std::string name) {
  VariableSpec desc;
  desc.name = std::move(name);
  desc.level = mdt_800::Variable::LEVEL_ORDINAL;
  return Add(std::move(desc));
}

VarRef ModelBuilder::Nominal(std::string name) {
  VariableSpec desc;
  desc.name = std::move(name);
  desc.level = mdt_800::Variable::LEVEL_NOMINAL;
  return Add(std::move(desc));
}

VarRef ModelBuilder::Nominal(std::string name, std::vector<mdt_800::Variant> categories) {
  VariableSpec desc;
  desc.name = std::move(name);
  desc.level = mdt_800::Variable::LEVEL_NOMINAL;
  desc.coding = VariableSpec::kCategories;
  desc.categories = std::move(categories);
  return Add(std::move(desc));
}

VarRef ModelBuilder::OrderedCategories(std::string name, std::vector<mdt_800::Variant> categories) {
  VarRef ref = Nominal(std::move(name), std::move(categories));
  fnVariables[ref.Index()].level = mdt_800::Variable::LEVEL_ORDINAL;
  return ref;
}

VarRef ModelBuilder::Binned(std::string name, std::vector<double> cuts) {
  VariableSpec desc;
  desc.name = std::move(name);
  desc.level = mdt_800::Variable::LEVEL_ORDINAL;
  desc.coding = VariableSpec::kBins;
  desc.bins = std::move(cuts);
  return Add(std::move(desc));
}

VarRef ModelBuilder::ClassTarget(std::string name, std::vector<mdt_800::Variant> categories) {
  VarRef ref = Nominal(std::move(name), std::move(categories));
  fnTarget = ref.Index();
  return ref;
}

VarRef ModelBuilder::ContinuousTarget(std::string name) {
  VarRef ref = Scale(std::move(name));
  fnTarget = ref.Index();
  return ref;
}

VarRef ModelBuilder::Var(int index) {
  if (index < 0 || index >= static_cast<int>(fnVariables.size())) {
    throw std::invalid_argument("no variable " + std::to_string(index));
  }
  return VarRef(this, index);
}

NodeSpec& ModelBuilder::Node(unsigned int id) { return fnNodes[id]; }

Model ModelBuilder::Build() const {
  std::unique_ptr<Metadata> metadata = BuildMetadata();
  std::unique_ptr<Tree> tree = BuildTree(*metadata);
  return Model(std::move(metadata), std::move(tree));
}

// Categories become a map encoder; a numeric variable with user-missing values
// gets an encoder only to carry them.
std::unique_ptr<Metadata> ModelBuilder::BuildMetadata() const {
  auto metadata = std::make_unique<Metadata>();
  for (VariableSpec const& desc : fnVariables) {
    std::string const where = "variable '" + desc.name + "': ";
    int storage = mdt_800::Variable::STORAGE_NUMERIC;
    std::vector<mdt_800::EncodingSets> codes;
    if (desc.coding == VariableSpec::kCategories) {
      if (desc.categories.empty()) throw std::invalid_argument(where + "no categories");
      bool const strings = desc.categories[0].GetType() == mdt_800::Variant::TYPE_STRING;
      for (std::size_t i = 0; i < desc.categories.size(); ++i) {
        mdt_800::Variant const& category = desc.categories[i];
        if ((category.GetType() == mdt_800::Variant::TYPE_STRING) != strings ||
            category.GetType() == mdt_800::Variant::TYPE_NONE) {
          throw std::invalid_argument(where + "categories mix numbers and strings");
        }
        for (std::size_t j = 0; j < i; ++j) {
          if (desc.categories[j] == category) {
            throw std::invalid_argument(where + "category declared twice");
          }
        }
        codes.push_back(SingleValue(category));
      }
      if (strings) storage = mdt_800::Variable::STORAGE_STRING;
    } else if (desc.coding == VariableSpec::kBins) {
      double lower = -kInf;
      for (std::size_t i = 0; i <= desc.bins.size(); ++i) {
        double const upper = i < desc.bins.size() ? desc.bins[i] : kInf;
        if (!(lower < upper)) throw std::invalid_argument(where + "bin cuts not ascending");
        codes.push_back(OneRange(lower, !std::isinf(lower), upper, false));
        lower = upper;
      }
    }
    std::unique_ptr<mdt_800::MissingValues> missing;
    if (!desc.missingValues.empty() || !desc.missingRanges.empty()) {
      mdt_800::EncodingSets sets;
      if (!desc.missingValues.empty()) {
        mdt_800::DiscreteValues values;
        for (auto const& value : desc.missingValues) {
          values.AddItem(mdt_800::EncodingItem(value, true));
        }
        sets.AddEncodingSet(values);
      }
      for (auto const& range : desc.missingRanges) {
        if (!(range.first <= range.second)) {
          throw std::invalid_argument(where + "missing range lower end above upper end");
        }
        mdt_800::EncodingSets one = OneRange(range.first, true, range.second, true);
        sets.AddEncodingSet(*one.GetEncodingSetList().front());
      }
      missing = std::make_unique<mdt_800::MissingValues>(sets);
    }
    std::unique_ptr<mdt_800::Encoder> encoder;
    if (!codes.empty()) {
      encoder = std::make_unique<CategoryEncoder>(std::move(codes), std::move(missing));
    } else if (missing) {
      encoder = std::make_unique<NumericEncoder>(std::move(missing));
    }
    mdt_800::Variable variable(desc.name, storage, desc.level);
    variable.SetLabel(desc.label);
    variable.SetDate(desc.date);
    for (auto const& entry : desc.valueLabels) variable.AddValueLabel(entry.first, entry.second);
    metadata->AddVariable(std::move(variable), std::move(encoder));
  }
  metadata->SetTargetIndex(fnTarget);
  return metadata;
}

}  // namespace refhost
