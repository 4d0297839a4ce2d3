// Scores records of a PMML model through the library's record classifier and
// writes the scores of a CSV file.
#pragma once

#include <istream>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "refhost/pmml/pmmlmodel.h"
#include "scoring/recordclassifier.h"

namespace treeout_cli {

struct Score {
  unsigned int hostId = 0;
  std::string node;                       // the node's id in the document
  std::optional<std::string> prediction;  // none when the model predicts nothing
  std::optional<double> probability;      // of the prediction, for classification trees
  std::vector<double> probabilities;      // per target category, for classification trees
};

class Scorer {
 public:
  explicit Scorer(refhost::PmmlModel const& model);
  ~Scorer();
  Score ScoreRecord(refhost::Record const& record) const;
  // The node where the record stops: the one call into the library's scoring.
  tree_800::NodeImp const* Route(refhost::Record const& record) const;

 private:
  refhost::PmmlModel const& fnModel;
  std::unique_ptr<TreeOut_800::RecordClassifier> fnClassifier;
};

struct ScoreOptions {
  char delimiter = ',';
  bool allProbabilities = false;  // one prob_<class> column per class
};

// Reads CSV with a header from `in` and writes one line per record to `out`:
// "node,prediction" and, for classification trees, ",probability" (or one
// probability per class). Streams: one record at a time. Throws InputError or
// CsvError, after the lines of the rows before the fault, and OutputError as
// soon as `out` fails.
void WriteScores(refhost::PmmlModel const& model, std::istream& in, std::ostream& out,
                 ScoreOptions const& options = {});

// `text` as one CSV field: quoted when it holds a comma, quote or line break.
std::string CsvField(std::string const& text);

}  // namespace treeout_cli
