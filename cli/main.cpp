// The treeout program: parses the command line, opens the files and hands
// them to the pieces that do the work. Errors: one line on stderr, status 2.
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>

#include <CLI/CLI.hpp>

#include "cli/outline.h"
#include "cli/recordreader.h"
#include "cli/ruleswriter.h"
#include "cli/scorer.h"

namespace {

std::string const kExamples = TREEOUT_EXAMPLES_DIR;
std::string const kSampleModel = kExamples + "/credit.pmml";
std::string const kSampleData = kExamples + "/credit.csv";

int Fail(std::string const& message) {
  std::cerr << "treeout: " << message << '\n';
  return 2;
}

refhost::PmmlModel Load(std::string const& path) {
  try {
    return refhost::LoadPmmlFile(path);
  } catch (refhost::PmmlError const& e) {
    throw std::runtime_error(path + ": " + e.what());
  }
}

std::vector<std::string> SplitIds(std::string const& list) {
  std::vector<std::string> ids;
  std::stringstream in(list);
  for (std::string id; std::getline(in, id, ',');) {
    if (!id.empty()) ids.push_back(id);
  }
  return ids;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("treeout: rule text and scores for PMML decision trees", "treeout");
  app.require_subcommand(1);

  std::string showModel = kSampleModel;
  CLI::App* show = app.add_subcommand("show", "the tree as an indented outline, with node ids");
  show->add_option("MODEL", showModel, "PMML file (default: the sample model)");

  std::string rulesModel = kSampleModel;
  std::string dialect = "sql", edgeMode = "path", numberFormat = "exact", nodes, table;
  bool update = false, variableLabels = false, valueLabels = false;
  CLI::App* rules = app.add_subcommand("rules", "rule text for a node selection");
  rules->add_option("MODEL", rulesModel, "PMML file (default: the sample model)");
  rules->add_option("--dialect", dialect, "sql, veld or generic (default sql)")
      ->check(CLI::IsMember({"sql", "veld", "generic"}));
  rules->add_flag("--update", update, "update statements instead of selections");
  rules->add_flag("--variable-labels", variableLabels, "write variables by their labels");
  rules->add_flag("--value-labels", valueLabels, "write values by their labels");
  rules->add_option("--edge-mode", edgeMode, "path, split or label (default path)")
      ->check(CLI::IsMember({"path", "split", "label"}));
  rules->add_option("--number-format", numberFormat, "exact or 16g (default exact)")
      ->check(CLI::IsMember({"exact", "16g"}));
  rules->add_option("--nodes", nodes, "node ids, comma-separated: one statement for all of them");
  rules->add_option("--table", table, "table name in place of <TABLE>");

  std::vector<std::string> scoreArgs;
  CLI::App* score = app.add_subcommand("score", "node, prediction and probability per record");
  score->add_option("FILES", scoreArgs, "[MODEL] DATA.csv (default: the sample model and data)")
      ->expected(0, 2);

  try {
    app.parse(argc, argv);
  } catch (CLI::CallForHelp const& e) {
    return app.exit(e);
  } catch (CLI::ParseError const& e) {
    return Fail(std::string(e.what()) + " (treeout --help for usage)");
  }

  try {
    if (*show) {
      treeout_cli::PrintOutline(Load(showModel), std::cout);
    } else if (*rules) {
      std::map<std::string, int> const dialects{{"sql", 0}, {"veld", 1}, {"generic", 2}};
      std::map<std::string, int> const edges{{"path", 0}, {"split", 1}, {"label", 2}};
      treeout_cli::RulesRequest request;
      request.options.fnDialect = dialects.at(dialect);
      request.options.fnEdgeMode = edges.at(edgeMode);
      request.options.fnNumberFormat = numberFormat == "exact" ? 1 : 0;
      request.options.fnUpdateMode = update ? 1 : 0;
      request.options.fnUseVariableLabels = variableLabels ? 1 : 0;
      request.options.fnUseValueLabels = valueLabels ? 1 : 0;
      request.nodes = SplitIds(nodes);
      request.table = table;
      refhost::PmmlModel model = Load(rulesModel);
      std::cout << treeout_cli::WriteRules(model, request);
    } else {
      std::string model = kSampleModel, data = kSampleData;
      if (scoreArgs.size() == 2) {
        model = scoreArgs[0];
        data = scoreArgs[1];
      } else if (scoreArgs.size() == 1) {
        data = scoreArgs[0];
      }
      refhost::PmmlModel const loaded = Load(model);
      std::ifstream in(data, std::ios::binary);
      if (!in) return Fail("cannot read " + data + ": " + std::strerror(errno));
      try {
        treeout_cli::WriteScores(loaded, in, std::cout);
      } catch (std::exception const& e) {
        std::cout.flush();
        return Fail(data + ": " + e.what());
      }
    }
  } catch (std::exception const& e) {
    std::cout.flush();
    return Fail(e.what());
  }
  std::cout.flush();
  return std::cout ? 0 : Fail("cannot write the output");
}
