#include "probes.h"

#include <cfloat>
#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "host/systemmissing.h"

namespace testsupport {
namespace {

using mdt_800::Variant;

struct Pool {
  bool forEngines;
  bool date;
  std::vector<Variant>* values;

  // A number and its neighbours on either side.
  void Around(double x) const {
    values->emplace_back(x);
    for (double to : {-HUGE_VAL, HUGE_VAL}) {
      double beside = std::nextafter(x, to);
      if (forEngines && date) beside = x + (to > 0 ? 1.0 : -1.0);
      // Interpreters read subnormal numbers as zero or as missing.
      if (forEngines && std::fpclassify(beside) == FP_SUBNORMAL)
        beside = std::copysign(DBL_MIN, to);
      values->emplace_back(beside);
    }
  }

  // Single values and range ends of `sets`.
  void Sets(mdt_800::EncodingSets const& sets) const {
    for (auto const& set : sets.GetEncodingSetList()) {
      for (mdt_800::EncodingItem const& item : set->GetItems()) {
        Variant const& v = item.GetValue();
        if (item.IsInfinity() || v.GetType() == Variant::TYPE_NONE) continue;
        if (v.GetType() == Variant::TYPE_STRING || forEngines) {
          values->push_back(v);
        } else {
          Around(static_cast<double>(v));
        }
      }
    }
  }

  // Bounds and codes of one split.
  void Split(tree_800::SplitRule const& rule) const {
    for (int child = 0; child < rule.GetNumChildren(); ++child) {
      std::unique_ptr<tree_800::ValueSet> const set(rule.GetMappedValues(child));
      if (auto const* range = dynamic_cast<tree_800::OValueSet const*>(set.get())) {
        if (range->HasLowerBound()) Around(range->GetLowerBound());
        if (range->HasUpperBound()) Around(range->GetUpperBound());
      } else if (auto const* codes = dynamic_cast<tree_800::NValueSet const*>(set.get())) {
        std::unique_ptr<tree_800::ValueIterator> const it(codes->GetIterator());
        while (it->HasMore()) {
          long const code = it->Next();
          if (forEngines) {
            values->emplace_back(static_cast<double>(code));
          } else {
            values->insert(values->end(), {Variant(code), Variant(code + 0.5)});
          }
        }
      }
    }
  }
};

}  // namespace

std::vector<std::vector<Variant>> ProbeValues(refhost::Model const& model, bool forEngines) {
  auto const& variables = model.GetMetadata().GetVariables();
  double const inf = std::numeric_limits<double>::infinity();
  std::vector<std::vector<Variant>> values(variables.size(), std::vector<Variant>{Variant()});
  auto pool = [&](std::size_t v) { return Pool{forEngines, variables[v].IsDate(), &values[v]}; };
  if (!forEngines) {
    for (auto& mine : values) {
      mine.insert(mine.end(),
                  {Variant(std::nan("")), Variant(systemMissingValue()), Variant(inf),
                   Variant(-inf), Variant("unseen"), Variant(0.0), Variant(-0.0), Variant(1e300)});
    }
  }
  for (tree_800::PrefixNodeIterator walk(model.Root()); walk.HasMore();) {
    tree_800::Node const* node = walk.Next();
    for (int s = -1; node->GetNumSplitRules() > 0 && s < node->GetNumSurrogates(); ++s) {
      std::unique_ptr<tree_800::SplitRule> const rule(s < 0 ? node->GetSplitRule(0)
                                                            : node->GetSurrogate(s));
      std::size_t const v = static_cast<std::size_t>(rule->GetPredictorIndex());
      // An engine sees the categories, never their codes.
      if (forEngines && dynamic_cast<mdt_800::MapEncoder const*>(variables[v].GetEncoding()))
        continue;
      pool(v).Split(*rule);
    }
  }
  // Encoded variables: what the codes stand for, and the user-missing values.
  for (std::size_t v = 0; v < variables.size(); ++v) {
    mdt_800::Encoder const* encoder = variables[v].GetEncoding();
    if (encoder == nullptr || (forEngines && &variables[v] == model.GetMetadata().GetTarget()))
      continue;
    if (auto const* map = dynamic_cast<mdt_800::MapEncoder const*>(encoder)) {
      for (int code : map->EncodedValues()) pool(v).Sets(encoder->Decode(code));
      if (forEngines) {
        bool const text = variables[v].GetStorageType() == mdt_800::Variable::STORAGE_STRING;
        values[v].push_back(text ? Variant("unseen") : Variant(12345.5));
      }
    }
    if (mdt_800::MissingValues const* missing = encoder->GetMissingValues()) {
      pool(v).Sets(*missing->GetEncodingSets());
    }
  }
  return values;
}

std::vector<ProbeRow> ProbeRows(refhost::Model const& model, std::size_t count, unsigned seed,
                                bool forEngines) {
  std::vector<std::vector<Variant>> const values = ProbeValues(model, forEngines);
  std::mt19937 random(seed);
  std::vector<ProbeRow> rows(count);
  for (auto& row : rows) {
    for (auto const& mine : values) row.push_back(mine[random() % mine.size()]);
  }
  return rows;
}

}  // namespace testsupport
