// The one-pass VELD script, run by GNU PSPP over probe records, computes for
// every case the node, prediction and probability that the host's scoring
// gives, under each stop setting; and the generic blocks follow the same
// structure in the generic dialect's words.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <sstream>

#include "../output/outputmodels.h"
#include "../support/psppscript.h"
#include "onepasscheck.h"
#include "refhost/numbertext.h"
#include "scoring/rulefactory.h"

namespace {

using mdt_800::Variant;
using onepasstest::Outcome;
using onepasstest::Records;
using TreeOut_800::OnePassSettings;
using TreeOut_800::OnePassWriter;

// Runs the script in PSPP and reads every case's answer.
std::vector<Outcome> RunVeld(refhost::Model const& model, Records const& records,
                             std::string const& script) {
  bool const classification = model.Root()->GetClassStatistics(0) != nullptr;
  std::vector<std::string> outputs = {"nod_001", "pre_001"};
  if (classification) outputs.push_back("prb_001");
  std::vector<Outcome> outcomes;
  for (auto const& row :
       testsupport::RunPspp(model.GetMetadata().GetVariables(), records, script, outputs)) {
    Outcome outcome{static_cast<long>(refhost::ParseDouble(row.at(0)).value_or(-1)),
                    row.at(1).empty() ? Variant() : Variant(row[1])};
    if (classification && !row.at(2).empty()) outcome.probability = *refhost::ParseDouble(row[2]);
    outcomes.push_back(outcome);
  }
  return outcomes;
}

// Random trees (the real models are the engine corpus's) under each stop
// setting; the stop statements alone stamp exactly the cases that stop at
// inner nodes and leave every other case unset.
TEST(OnePassVeld, ScriptGivesEveryCaseTheHostsAnswerInPspp) {
  if (!testsupport::PsppAvailable())
    GTEST_SKIP() << "pspp is not installed; tools/deps installs it";
  long stopped = 0;  // cases that stop at inner nodes
  for (unsigned m = 0; m < 10; ++m) {
    refhost::Model model = onepasstest::RandomModel(21 + m, static_cast<int>(m % 4));
    onepasstest::RenameForVeld(model);
    Records const records = testsupport::ProbeRows(model, 300, m, true);
    OnePassSettings settings;
    settings.fnStopMissing = static_cast<int>(m % 2);
    settings.fnStopOther = static_cast<int>(m / 2 % 2);
    OnePassWriter const writer(&model.GetTree(), &model.GetMetadata());
    std::string const script =
        writer.ExportOnePass(outputtest::Options(1, 0, 0, 1), settings).Str();
    auto expect = [&] {
      return onepasstest::HostOutcomes(model, records, settings,
                                       onepasstest::BySettings(model, settings));
    };
    onepasstest::ExpectSameOutcomes(expect(), RunVeld(model, records, script), records,
                                    "model " + std::to_string(m) + ":\n" + script);
    if (m % 4 != 0) continue;  // string classes: pre_001 is declared below
    settings.fnStopMissing = TreeOut_800::STOP_NO_PREDICTION;
    std::vector<Outcome> expected = expect();
    std::unique_ptr<TreeOut_800::RecordClassifier> const classifier(
        TreeOut_800::RuleFactory::CreateRecordClassifier(&model.GetTree(), &model.GetMetadata()));
    for (std::size_t r = 0; r < records.size(); ++r) {
      if (classifier->Score(refhost::MakeRecord(records[r]))->GetNumChildren() == 0) {
        expected[r] = {-1, Variant()};
      }
    }
    stopped += std::count_if(expected.begin(), expected.end(),
                             [](Outcome const& outcome) { return outcome.node >= 0; });
    std::string const stops =
        "STRING pre_001 (A8).\n" +
        writer.ExportStopStatements(outputtest::Options(1, 1, 0, 1), settings).Str();
    onepasstest::ExpectSameOutcomes(expected, RunVeld(model, records, stops), records, stops);
  }
  EXPECT_GT(stopped, 0);
}

// The generic text has the VELD script's shape, the one-pass blocks and the
// stop statements alike: the same branches in the same order, each
// assignment in the generic words (a stop statement has no END IF there).
TEST(OnePassGeneric, BlocksFollowTheVeldScript) {
  refhost::Model const model = onepasstest::RandomModel(5, 0);
  OnePassSettings settings;
  settings.fnStopMissing = TreeOut_800::STOP_NO_PREDICTION;
  OnePassWriter const writer(&model.GetTree(), &model.GetMetadata());
  for (int update : {0, 1}) {
    auto text = [&](int dialect) {
      auto const options = outputtest::Options(dialect, update);
      return update ? writer.ExportStopStatements(options, settings).Str()
                    : writer.ExportOnePass(options, settings).Str();
    };
    std::istringstream veld(text(1));
    std::istringstream generic(text(2));
    std::string want, line;
    while (std::getline(veld, line)) {
      if (line.rfind("DO IF ", 0) == 0) want += "IF\nTHEN\n";
      if (line.rfind("ELSE IF ", 0) == 0) want += "ELSE IF\nTHEN\n";
      if (line == "ELSE.") want += "ELSE\n";
      if (line == "END IF." && !update) want += "END IF\n";
      for (auto const& [veldName, genericName] :
           {std::pair{"nod_001", "Node"}, {"pre_001", "Prediction"}, {"prb_001", "Probability"}}) {
        std::string const prefix = std::string("COMPUTE ") + veldName + " = ";
        if (line.rfind(prefix, 0) != 0) continue;
        std::string value = line.substr(prefix.size(), line.size() - prefix.size() - 1);
        want += std::string(genericName) + " = " +
                (value == "''" || value == "$SYSMIS" ? "MISSING" : value) + "\n";
      }
    }
    std::string got;
    while (std::getline(generic, line)) {
      line.erase(0, line.find_first_not_of('\t'));
      got += line.rfind("IF ", 0) == 0        ? "IF\n"
             : line.rfind("ELSE IF ", 0) == 0 ? "ELSE IF\n"
                                              : line + "\n";
    }
    EXPECT_NE(want.find("Node = "), std::string::npos);
    EXPECT_EQ(want, got) << (update ? "stop statements" : "one-pass blocks");
  }
}

}  // namespace
