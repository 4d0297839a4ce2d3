// Trees and helpers shared by the rules output tests. Each model call builds a
// fresh model that the test releases.
#pragma once

#include <string>
#include <vector>

#include "output/rulesoutputadapter.h"
#include "refhost/builder.h"
#include "ruletext/ruleexportoptions.h"

namespace outputtest {

// Root splits nominal `region` (1-5, 9 user-missing): node 1 takes 1 and 2,
// node 2 takes 3, node 3 takes 4, 5 and missing values. Target `risk` low/high.
refhost::Model RegionModel();

// Root 0 -> 1, 2, 5; 1 -> 3, 4; 5 -> 6, 7, 8; one category per edge.
refhost::Model CompositionModel();

// Nominal, ordinal and ordered-string splits, surrogates, user-missing values,
// missing-value and default children over age, region, color, size, income.
refhost::Model RichModel();

// Root 0 splits x into leaves 1, 2, 3; leaf 2 predicts "high" (0.7), 12.5 in
// a regression tree, or 2017-10-21 for a date target.
enum class Target { kClass, kValue, kDate };
refhost::Model ThreeLeaves(Target target);

TreeOut_800::RuleExportOptions Options(int dialect, int updateMode, int edgeMode = 0,
                                       int numberFormat = 0);

// A selection of the given nodes, each numbered by its id.
TreeOut_800::RulesNodeSelection Select(refhost::Model const& model,
                                       std::vector<unsigned int> const& ids);

std::string Export(TreeOut_800::RulesOutputAdapter const& adapter,
                   TreeOut_800::RuleExportOptions const& options,
                   TreeOut_800::RulesNodeSelection const& selection);

}  // namespace outputtest
