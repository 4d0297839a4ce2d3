#include "cli/scorer.h"

#include "cli/csvreader.h"
#include "cli/recordreader.h"
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
  score.hostId = node->GetId();
  score.node = fnModel.PmmlId(score.hostId);
  bool const nothing = fnModel.PredictsNothing(*node, record);
  if (tree_800::ClassStatistics const* stats = node->GetClassStatistics(0)) {
    refhost::PmmlField const* target = nullptr;
    for (auto const& field : fnModel.Fields()) {
      if (field.isTarget) target = &field;
    }
    for (std::size_t code = 1; target != nullptr && code <= target->categories.size(); ++code) {
      score.probabilities.push_back(stats->GetProbability(static_cast<int>(code)));
    }
    int const predicted = stats->GetPredictedCategory();
    if (!nothing && target != nullptr && predicted >= 1 &&
        predicted <= static_cast<int>(target->categories.size())) {
      score.prediction = target->categories[static_cast<std::size_t>(predicted - 1)];
      score.probability = stats->GetProbability(predicted);
    }
  } else if (tree_800::ValueStatistics const* stats = node->GetValueStatistics(0)) {
    if (!nothing) score.prediction = NumberText(stats->GetPredictedValue());
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
