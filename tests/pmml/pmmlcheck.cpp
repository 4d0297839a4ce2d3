#include "pmmlcheck.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <memory>
#include <set>

#include "cli/csvreader.h"
#include "output/rulesoutputadapter.h"
#include "refhost/dates.h"
#include "refhost/numbertext.h"
#include "scoring/rulefactory.h"
#include "sqliterecords.h"

#include <gtest/gtest.h>

namespace pmmltest {
namespace {

std::string Text(refhost::PmmlModel const& model, refhost::PmmlModel::Answer const& answer) {
  std::string text = std::to_string(answer.node);
  if (!answer.predicts) return text;
  refhost::PmmlField const& target = model.Target();
  if (!model.IsClassification()) return text + ":" + refhost::ShortestText(answer.value);
  std::size_t const c = static_cast<std::size_t>(answer.category - 1);
  return text + ":" + target.categories[c] + ":" + refhost::ShortestText(answer.probabilities[c]);
}

tree_800::Node const* Stop(refhost::PmmlModel const& model, Values const& values) {
  std::unique_ptr<TreeOut_800::RecordClassifier> classifier(
      TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetModel().GetTree(),
                                                       &model.GetModel().GetMetadata()));
  return classifier->Score(refhost::MakeRecord(values));
}

// The output numbers of the document nodes a record's route passes
// through, its stop included.
std::vector<unsigned int> Route(refhost::PmmlModel const& model, Values const& values) {
  std::vector<unsigned int> route;
  for (tree_800::Node const* n = Stop(model, values); n != nullptr; n = n->GetParent()) {
    unsigned int const id = model.OutputId(n->GetId());
    if (std::find(route.begin(), route.end(), id) == route.end()) route.push_back(id);
  }
  return route;
}

}  // namespace

std::string Scored(refhost::PmmlModel const& model, Values const& values) {
  tree_800::Node const* stop = Stop(model, values);
  if (stop == nullptr) return "(none)";
  return Text(model, model.Resolve(*stop, refhost::MakeRecord(values)));
}

std::string ByDocument(refhost::PmmlModel const& model, Values const& values) {
  std::vector<double> const encoded =
      refhost::EncodeRecord(model.GetModel().GetMetadata(), refhost::MakeRecord(values));
  return Text(model, model.Evaluate(encoded.data()));
}

std::vector<std::string> SqlDisagreements(refhost::PmmlModel& model,
                                          std::vector<Values> const& records, int* checked) {
  std::vector<std::string> faults;
  refhost::Model const& m = model.GetModel();
  testsupport::SqliteRecords table(m.GetMetadata().GetVariables());
  std::map<unsigned int, std::vector<int>> through;
  for (Values const& values : records) {
    int const id = table.Insert(values);
    for (unsigned int node : Route(model, values)) through[node].push_back(id);
  }
  std::set<unsigned int> documentNodes;
  tree_800::PrefixNodeIterator walk(m.Root());
  while (walk.HasMore()) {
    tree_800::Node const* node = walk.Next();
    if (!model.IsAdded(node->GetId())) documentNodes.insert(node->GetId());
  }
  TreeOut_800::RulesOutputAdapter const adapter(&m.GetTree(), &m.GetMetadata());
  TreeOut_800::RuleExportOptions options;
  options.fnNumberFormat = 1;
  for (unsigned int node : documentNodes) {
    if (node == model.OutputId(m.Root()->GetId())) continue;
    // The condition of the paths to the node and its copies.
    std::set<tree_800::Node const*> active;
    for (tree_800::Node const* host : model.NodesFor(std::to_string(node))) {
      adapter.ActivatePath(host, &active);
    }
    std::string const statement = adapter.ExportActiveSubtree(options, m.Root(), active);

    ++*checked;
    std::vector<int> selected;
    try {
      selected = table.Select(statement.empty() ? "1" : statement);
    } catch (std::exception const& e) {
      faults.push_back("node " + std::to_string(node) + ": " + e.what());
      continue;
    }
    if (selected != through[node]) {
      faults.push_back("node " + std::to_string(node) + " selects records " +
                       ::testing::PrintToString(selected) + ", its records are " +
                       ::testing::PrintToString(through[node]) + ":\n" + statement);
    }
  }
  return faults;
}

Values Parse(refhost::PmmlModel const& model, std::vector<std::string> const& texts) {
  Values values;
  std::vector<refhost::PmmlField> const& fields = model.Fields();
  for (std::size_t i = 0; i < fields.size(); ++i) {
    std::string const text = i < texts.size() ? texts[i] : std::string();
    if (text.empty() || fields[i].isTarget) {
      values.emplace_back();
    } else if (fields[i].kind == refhost::PmmlField::kString) {
      values.emplace_back(text);
    } else if (fields[i].kind == refhost::PmmlField::kDate) {
      values.emplace_back(refhost::DateNumberFromIso(text));
    } else {
      values.emplace_back(*refhost::ParseDouble(text));
    }
  }
  return values;
}

int Table::Column(std::string const& name) const {
  auto const at = std::find(header.begin(), header.end(), name);
  return at == header.end() ? -1 : static_cast<int>(at - header.begin());
}

Table ReadTable(std::string const& path) {
  std::ifstream in(path);
  EXPECT_TRUE(in) << path;
  treeout_cli::CsvReader csv(in);
  Table table;
  csv.Next(&table.header);
  for (std::vector<std::string> row; csv.Next(&row);) table.rows.push_back(row);
  return table;
}

std::string TempPath(std::string const& name) {
  return ::testing::TempDir() + "/treeout-" + std::to_string(getpid()) + "-" + name;
}

}  // namespace pmmltest
