#include "cli/scorer.h"

#include <unordered_map>

#include "cli/csvreader.h"
#include "cli/messages.h"
#include "cli/output.h"
#include "cli/recordreader.h"
#include "refhost/dates.h"
#include "refhost/numbertext.h"
#include "scoring/rulefactory.h"

namespace treeout_cli {
namespace {

refhost::PmmlField const* Target(refhost::PmmlModel const& model) {
  for (auto const& field : model.Fields()) {
    if (field.isTarget) return &field;
  }
  return nullptr;
}

// One output line's text after the node's own: what every record that stops
// at a leaf gets, made once per node and then looked up by the node's index.
class LineCache {
 public:
  explicit LineCache(refhost::PmmlModel const& model) {
    std::size_t const size = model.GetModel().GetTree().Size();
    unsigned int highest = 0;
    std::vector<refhost::TreeNode const*> stack{model.GetModel().Root()};
    while (!stack.empty()) {
      refhost::TreeNode const* node = stack.back();
      stack.pop_back();
      highest = std::max(highest, node->GetId());
      for (int i = 0; i < node->GetNumChildren(); ++i) {
        stack.push_back(static_cast<refhost::TreeNode const*>(node->GetChild(i)));
      }
    }
    fnDense = highest < 4 * size + 1024;  // ids of learners are dense enough
    if (fnDense) fnLines.resize(static_cast<std::size_t>(highest) + 1);
  }
  std::string* Find(unsigned int id) {
    if (fnDense) return &fnLines[id];
    return &fnSparse[id];
  }

 private:
  bool fnDense = false;
  std::vector<std::string> fnLines;
  std::unordered_map<unsigned int, std::string> fnSparse;
};

void AppendNumber(std::optional<double> value, std::string* line) {
  if (value) *line += refhost::ShortestText(*value);
}

std::string LineOf(Score const& score, bool classification, ScoreOptions const& options) {
  std::string line = CsvField(score.node);
  line += ',';
  line += CsvField(score.prediction.value_or(""));
  if (classification && options.allProbabilities) {
    for (double p : score.probabilities) {
      line += ',';
      if (score.prediction) AppendNumber(p, &line);
    }
  } else if (classification) {
    line += ',';
    AppendNumber(score.probability, &line);
  }
  line += '\n';
  return line;
}

}  // namespace

Scorer::Scorer(refhost::PmmlModel const& model)
    : fnModel(model),
      fnClassifier(TreeOut_800::RuleFactory::CreateRecordClassifier(
          &model.GetModel().GetTree(), &model.GetModel().GetMetadata())) {}

Scorer::~Scorer() = default;

tree_800::NodeImp const* Scorer::Route(refhost::Record const& record) const {
  return fnClassifier->Score(record);
}

Score Scorer::ScoreRecord(refhost::Record const& record) const {
  tree_800::NodeImp const* node = Route(record);
  Score score;
  if (node == nullptr) return score;
  refhost::PmmlModel::Answer const answer = fnModel.Resolve(*node, record);
  score.hostId = node->GetId();
  score.node = std::to_string(answer.node);
  score.probabilities = answer.probabilities;
  refhost::PmmlField const& target = fnModel.Target();
  if (!answer.predicts) return score;
  if (fnModel.IsClassification()) {
    if (answer.category >= 1 && answer.category <= static_cast<int>(target.categories.size())) {
      score.prediction = target.categories[static_cast<std::size_t>(answer.category - 1)];
      score.probability = answer.probabilities[static_cast<std::size_t>(answer.category - 1)];
    }
  } else if (target.kind == refhost::PmmlField::kDate) {
    score.prediction = refhost::IsoFromDateNumber(answer.value);
  } else {
    score.prediction = refhost::ShortestText(answer.value);
  }
  return score;
}

std::string CsvField(std::string const& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (char c : text) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + "\"";
}

void WriteScores(refhost::PmmlModel const& model, std::istream& in, std::ostream& out,
                 ScoreOptions const& options) {
  CsvReader csv(in, options.delimiter);
  std::vector<std::string> fields;
  if (!csv.Next(&fields)) throw InputError("the CSV file is empty (it needs a header row)");
  RecordReader const reader(model, fields);
  Scorer const scorer(model);
  bool const classification = model.IsClassification();
  std::string header = "node,prediction";
  if (classification && options.allProbabilities) {
    if (refhost::PmmlField const* target = Target(model)) {
      for (std::string const& category : target->categories)
        header += ',' + CsvField("prob_" + category);
    }
  } else if (classification) {
    header += ",probability";
  }
  out << header << '\n';
  CheckOutput(out);
  LineCache lines(model);
  refhost::Record record =
      refhost::MakeRecord(std::vector<mdt_800::Variant>(model.Fields().size()));
  for (std::uint64_t row = 1; csv.Next(&fields); ++row) {
    if (fields.size() == 1 && fields[0].empty()) continue;  // a blank line
    reader.Fill(fields, row, csv.Line(), &record);
    tree_800::NodeImp const* node = scorer.Route(record);
    if (node != nullptr && node->GetNumChildren() <= 0 && model.LeafScoresFixed()) {
      std::string* line = lines.Find(node->GetId());
      if (line->empty()) *line = LineOf(scorer.ScoreRecord(record), classification, options);
      out << *line;
    } else {
      // A record that stops at an inner node: what it predicts depends on why.
      out << LineOf(scorer.ScoreRecord(record), classification, options);
    }
    CheckOutput(out);
  }
}

}  // namespace treeout_cli
