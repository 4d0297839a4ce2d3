// A node's statistics: what its score and ScoreDistribution elements say,
// set on its host node when the Node element closes.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "refhost/pmml/pmmlinternal.h"
#include "refhost/pmml/xmlreader.h"
#include "refhost/treenode.h"

namespace refhost::pmml {

// The ScoreDistribution elements of one Node, per target code (index c - 1).
struct Distribution {
  std::vector<double> counts, probabilities;
  bool anyProbability = false;
  bool anyDistribution = false;
  // Empties it for a target of `categories` categories (0 for regression).
  void Reset(std::size_t categories);
};

// Reads the ScoreDistribution element at the current kStart, to its kEnd,
// into `into`. Throws PmmlError for a value that is no category of `target`
// or a count or probability that is not one.
void ReadDistribution(XmlReader& xml, FieldDef const& target, Distribution& into);

// Sets `node`'s statistics. Class statistics: the score's code (else the
// most probable code) and each code's probability, from the distribution's
// probabilities, else its record counts; none without score and
// distribution. Value statistics: the score as a number (a date number for
// a date target). `score` is null when the Node has none; `at` is the Node.
void SetStatistics(TreeNode& node, Where const& at, FieldDef const& target, bool classification,
                   std::string const* score, Distribution& distribution);

// Gives `to` the statistics of `from`, for a target of `categories`
// categories.
void CopyStatistics(TreeNode const& from, TreeNode& to, std::size_t categories);

}  // namespace refhost::pmml
