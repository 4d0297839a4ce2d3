#include "cli/scorer.h"

#include "cli/csvreader.h"
#include "cli/recordreader.h"
#include "refhost/dates.h"
#include "scoring/rulefactory.h"

namespace treeout_cli {

Scorer::Scorer(refhost::PmmlModel const& model)
    : fnModel(model),
      fnClassifier(TreeOut_800::RuleFactory::CreateRecordClassifier(
          &model.GetModel().GetTree(), &model.GetModel().GetMetadata())) {}

Scorer::~Scorer() = default;

Score Scorer::ScoreRecord(refhost::Record const& record) const {
  tree_800::NodeImp const* node = fnClassifier->Score(record);
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
    score.prediction = NumberText(answer.value);
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

void WriteScores(refhost::PmmlModel const& model, std::istream& in, std::ostream& out) {
  CsvReader csv(in);
  std::vector<std::string> fields;
  if (!csv.Next(&fields)) throw InputError("the CSV file is empty (it needs a header row)");
  RecordReader const reader(model, fields);
  Scorer const scorer(model);
  bool const classification = model.IsClassification();
  out << (classification ? "node,prediction,probability\n" : "node,prediction\n");
  for (int row = 1; csv.Next(&fields); ++row) {
    if (fields.size() == 1 && fields[0].empty()) continue;  // a blank line
    Score const score = scorer.ScoreRecord(reader.Make(fields, row));
    out << CsvField(score.node) << ',' << CsvField(score.prediction.value_or(""));
    if (classification) out << ',' << (score.probability ? NumberText(*score.probability) : "");
    out << '\n';
  }
}

}  // namespace treeout_cli
