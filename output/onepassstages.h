// How the one-pass SQL text splits a tree into stages. Engines limit how
// deeply one expression may nest (SQLite's parser holds about 100 entries,
// and each nested CASE takes five to seven), so a deep tree is written as a
// chain of stages: each stage nests a bounded part of the tree and hands the
// records that go deeper on as the code of the node where they continue.
// Internal.
#pragma once

#include <vector>

#include "output/onepassplan.h"

namespace TreeOut_800 {

struct OnePassStages {
  bool staged = false;                   // false: one expression holds the tree
  std::vector<int> stageOf;              // the stage that writes each entry
  std::vector<std::vector<int>> starts;  // per stage, the entries it starts from
};

// Stages for `plan`. With `maxNesting` > 0 a stage nests at most that many
// tree levels; with 0 the levels are chosen from the parser room that each
// CASE level and each edge's brackets take.
OnePassStages PlanStages(OnePassPlan const& plan, int maxNesting);

}  // namespace TreeOut_800
