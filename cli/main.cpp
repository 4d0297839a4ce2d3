// The treeout program: parses the command line, opens the files and hands
// them to the pieces that do the work. Exit status: 0 success, 1 a model,
// data or output error, 2 a usage error; every error is one line on stderr.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

#include <CLI/CLI.hpp>

#include "cli/csvreader.h"
#include "cli/dotwriter.h"
#include "cli/graphviz.h"
#include "cli/messages.h"
#include "cli/outline.h"
#include "cli/output.h"
#include "cli/ruleswriter.h"
#include "cli/scorer.h"
#include "refhost/numbertext.h"

namespace {

using treeout_cli::InputError;

// The sample model: the installed copy beside the program (PREFIX/bin and
// PREFIX/share/treeout/examples), else the source tree's for a built program.
std::string SampleModel() {
  char self[4096];
  ssize_t const length = ::readlink("/proc/self/exe", self, sizeof self - 1);
  if (length > 0) {
    std::string path(self, static_cast<std::size_t>(length));
    path.erase(path.find_last_of('/') + 1);
    path += "../share/treeout/examples/credit.pmml";
    if (::access(path.c_str(), R_OK) == 0) return path;
  }
  return std::string(TREEOUT_EXAMPLES_DIR) + "/credit.pmml";
}
char const kStdin[] = "standard input";

// A fault of the command line (status 2) or of the files (status 1); the
// message is the whole line after "treeout: ".
struct Failure {
  int status;
  std::string message;
};

Failure Usage(std::string const& message, std::string const& command) {
  return {2, message + " (see treeout" + (command.empty() ? "" : " " + command) + " --help)"};
}

// A file to read that names itself in messages.
std::string ReadableName(std::string const& path) { return path == "-" ? kStdin : path; }

// Directories and files that are not UTF-8 get a message that says so.
void CheckFile(std::string const& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0)
    throw Failure{1, path + ": cannot read the file: " + std::strerror(errno)};
  if (S_ISDIR(info.st_mode)) throw Failure{1, path + ": is a directory, not a file"};
}

// UTF-16 or UTF-32 text, by its byte order mark or its NUL bytes.
bool LooksWide(std::string const& start) {
  if (start.size() >= 2 &&
      ((start[0] == '\xFF' && start[1] == '\xFE') || (start[0] == '\xFE' && start[1] == '\xFF')))
    return true;
  return start.find('\0') != std::string::npos;
}

// The encoding an XML declaration names, lower case; empty when none.
std::string DeclaredEncoding(std::string const& start) {
  if (start.rfind("<?xml", 0) != 0) return "";
  std::size_t const end = start.find("?>");
  std::size_t at = start.find("encoding", 0);
  if (at == std::string::npos || at > end) return "";
  at = start.find_first_of("\"'", at);
  if (at == std::string::npos) return "";
  std::size_t const close = start.find(start[at], at + 1);
  std::string name = start.substr(at + 1, close - at - 1);
  for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return name;
}

void CheckModelText(std::string const& name, std::string const& text) {
  std::string const start = text.substr(0, 512);
  if (LooksWide(start))
    throw Failure{1, name + ": not UTF-8 text (UTF-16?); treeout reads UTF-8 PMML"};
  std::string const encoding = DeclaredEncoding(start);
  if ((encoding.empty() || encoding == "utf-8" || encoding == "utf8") && !treeout_cli::IsUtf8(text))
    throw Failure{1, name + ": not UTF-8 text, and its XML declaration names no other encoding"};
}

// The whole of `in`.
std::string ReadAll(std::istream& in) {
  std::string text;
  char block[64 * 1024];
  while (in.read(block, sizeof block) || in.gcount() > 0) {
    text.append(block, static_cast<std::size_t>(in.gcount()));
  }
  return text;
}

// A file is checked, then loaded by the loader, which keeps its text no
// longer than it needs it; standard input is read once and loaded from text.
refhost::PmmlModel LoadModel(std::string const& path) {
  std::string const name = ReadableName(path);
  try {
    if (path == "-") {
      std::string const text = ReadAll(std::cin);
      CheckModelText(name, text);
      return refhost::LoadPmml(text);
    }
    CheckFile(path);
    {
      std::ifstream in(path, std::ios::binary);
      if (!in) throw Failure{1, path + ": cannot read the file: " + std::strerror(errno)};
      CheckModelText(name, ReadAll(in));
    }
    return refhost::LoadPmmlFile(path);
  } catch (refhost::PmmlError const& e) {
    throw Failure{1, name + ": " + treeout_cli::OneLine(e.what())};
  }
}

// Where the output goes: standard output or the file of -o, opened when the
// first byte is due so that a fault of the input leaves an old file alone.
class Output {
 public:
  explicit Output(std::string path) : fnPath(std::move(path)) {}
  ~Output() {
    fnStream.reset();
    fnBuffer.reset();
    if (fnFd > 1) ::close(fnFd);
  }
  std::string Name() const { return fnPath.empty() || fnPath == "-" ? "standard output" : fnPath; }
  int Fd() {
    if (fnFd >= 0) return fnFd;
    if (fnPath.empty() || fnPath == "-") return fnFd = 1;
    fnFd = ::open(fnPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fnFd < 0) throw Failure{1, "cannot write " + fnPath + ": " + std::strerror(errno)};
    return fnFd;
  }
  std::ostream& Stream() {
    if (!fnStream) {
      fnBuffer = std::make_unique<treeout_cli::FdBuffer>(Fd());
      fnStream = std::make_unique<std::ostream>(fnBuffer.get());
    }
    return *fnStream;
  }
  Failure WriteFailure() const {
    return {1, "cannot write " + Name() + ": " +
                   (fnBuffer && fnBuffer->Error() ? std::strerror(fnBuffer->Error()) : "failed")};
  }
  // Sends what is buffered; throws the write's failure.
  void Finish() {
    if (fnStream && !fnStream->flush()) throw WriteFailure();
    if (fnFd > 1 && ::close(fnFd) != 0) {
      fnFd = -1;
      throw Failure{1, "cannot write " + fnPath + ": " + std::strerror(errno)};
    }
    fnFd = fnFd > 1 ? -1 : fnFd;
  }

 private:
  std::string fnPath;
  int fnFd = -1;
  std::unique_ptr<treeout_cli::FdBuffer> fnBuffer;
  std::unique_ptr<std::ostream> fnStream;
};

std::vector<std::string> SplitIds(std::string const& list) {
  std::vector<std::string> ids;
  std::stringstream in(list);
  for (std::string id; std::getline(in, id, ',');) {
    if (!id.empty()) ids.push_back(id);
  }
  return ids;
}

char Delimiter(std::string const& text) {
  if (text == "\\t" || text == "tab" || text == "\t") return '\t';
  if (text.size() != 1 || text == "\"" || text == "\n" || text == "\r")
    throw Usage("--delimiter takes one character other than a quote or line break, or \\t for tab",
                "score");
  return text[0];
}

// --stage-depth: auto (0), none (one expression) or a positive level count.
int StageDepth(std::string const& text) {
  if (text == "auto") return 0;
  if (text == "none") return treeout_cli::RulesRequest::kOneExpression;
  std::optional<double> const n = refhost::ParseDouble(text);
  if (!n || *n < 1 || *n > 1e6 || *n != static_cast<int>(*n) ||
      text.find_first_not_of("0123456789") != std::string::npos)
    throw Usage("--stage-depth takes auto, none or a number of tree levels from 1", "rules");
  return static_cast<int>(*n);
}

// The first argument names a subcommand; before it only --help and --version.
void CheckSubcommand(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    std::string const arg = argv[i];
    if (arg == "-h" || arg == "--help" || arg == "--version") continue;
    if (!arg.empty() && arg[0] == '-')
      throw Usage("unknown option '" + treeout_cli::OneLine(arg) + "'", "");
    if (arg == "show" || arg == "rules" || arg == "score") return;
    throw Usage("unknown subcommand '" + treeout_cli::OneLine(arg) +
                    "'; treeout knows show, rules and score",
                "");
  }
}

int Run(int argc, char** argv) {
  CLI::App app("treeout: rule text and scores for PMML decision trees", "treeout");
  app.set_version_flag("--version", std::string("treeout ") + TREEOUT_VERSION);
  app.require_subcommand(1);
  std::string outputPath;
  auto const addOutput = [&](CLI::App* command) {
    command->add_option("-o,--output", outputPath, "write to this file instead of standard output");
  };

  std::string showModel = SampleModel();
  bool dot = false, svg = false;
  CLI::App* show = app.add_subcommand("show", "the tree as an indented outline, or as a picture");
  show->add_option("MODEL", showModel,
                   "PMML file, - for standard input (default: the sample model)");
  CLI::Option* dotFlag = show->add_flag("--dot", dot, "the tree as a Graphviz DOT graph");
  show->add_flag("--svg", svg, "the tree drawn as SVG by Graphviz's dot program")
      ->excludes(dotFlag);
  addOutput(show);

  std::string rulesModel = SampleModel();
  std::string dialect = "sql", edgeMode = "path", numberFormat = "exact", nodes, table;
  std::string quoteNames = "needed";
  treeout_cli::RulesRequest request;
  bool update = false, variableLabels = false, valueLabels = false;
  std::string stageDepth = "auto";
  CLI::App* rules = app.add_subcommand(
      "rules", "rule text for a node selection, or one statement that scores a whole table");
  rules->add_option("MODEL", rulesModel,
                    "PMML file, - for standard input (default: the sample model)");
  rules->add_option("--dialect", dialect, "sql, veld or generic (default sql)")
      ->check(CLI::IsMember({"sql", "veld", "generic"}));
  rules->add_flag("--update", update,
                  "update statements that set node, prediction and probability, instead of "
                  "selections; without --nodes a whole scoring script");
  rules->add_flag("--variable-labels", variableLabels, "write variables by their labels");
  rules->add_flag("--value-labels", valueLabels,
                  "write values by their labels: a display form, text for people that engines "
                  "do not run");
  rules
      ->add_option("--edge-mode", edgeMode,
                   "path, split or label (default path); label is a display form, text for "
                   "people that engines do not run")
      ->check(CLI::IsMember({"path", "split", "label"}));
  rules->add_option("--number-format", numberFormat, "exact or 16g (default exact)")
      ->check(CLI::IsMember({"exact", "16g"}));
  rules->add_option("--nodes", nodes,
                    "node ids, comma-separated: one statement for all of them (update and "
                    "generic statements take one node)");
  rules->add_option("--table", table, "table name in place of <TABLE> (SQL)");
  rules
      ->add_option("--quote-names", quoteNames,
                   "SQL names: needed (names that are not plain or are keywords) or always")
      ->check(CLI::IsMember({"needed", "always"}));
  rules->add_flag("--add-columns", request.addColumns,
                  "with --dialect sql --update: ALTER TABLE statements that add nod_001, pre_001 "
                  "and prb_001 first");
  rules->add_flag("--one-pass", request.onePass,
                  "one statement (one script in VELD) that gives every record of the table its "
                  "node, prediction and probability in one scan, as score does; the select form "
                  "returns the table's columns and nod_001, pre_001, prb_001");
  rules->add_option("--stage-depth", stageDepth,
                    "one-pass SQL: auto (default) splits a deep tree into stages that SQLite "
                    "takes, the fastest form in DuckDB too; none writes one expression, which "
                    "PostgreSQL runs in parallel (turn its jit off); N: at most N tree levels per "
                    "stage");
  addOutput(rules);

  std::string scoreModel, scoreData, delimiter = ",", probabilities = "predicted";
  CLI::App* score = app.add_subcommand("score", "node, prediction and probability per record");
  score->add_option("MODEL", scoreModel, "PMML file, - for standard input")->required();
  score->add_option("DATA", scoreData, "CSV file with a header row, - for standard input")
      ->required();
  score->add_option("--delimiter", delimiter, "the field delimiter (default ,; \\t for tab)");
  score
      ->add_option("--probabilities", probabilities,
                   "predicted: the probability of the prediction (default); all: one prob_<class> "
                   "column per class, in the target's order")
      ->check(CLI::IsMember({"predicted", "all"}));
  addOutput(score);

  try {
    CheckSubcommand(argc, argv);
    app.parse(argc, argv);
  } catch (CLI::CallForHelp const& e) {
    return app.exit(e);
  } catch (CLI::CallForAllHelp const& e) {
    return app.exit(e);
  } catch (CLI::CallForVersion const& e) {
    return app.exit(e);
  } catch (CLI::ParseError const& e) {
    std::string command;
    std::vector<std::string> extras = app.remaining();
    for (CLI::App* sub : {show, rules, score}) {
      if (!sub->parsed()) continue;
      command = sub->get_name();
      for (std::string const& extra : sub->remaining()) extras.push_back(extra);
    }
    if (dynamic_cast<CLI::ExtrasError const*>(&e) != nullptr && !extras.empty()) {
      std::string const& first = extras.front();
      throw Usage((first.rfind("-", 0) == 0 ? "unknown option '" : "unexpected argument '") +
                      treeout_cli::OneLine(first) + "'",
                  command);
    }
    if (dynamic_cast<CLI::RequiredError const*>(&e) != nullptr && command.empty())
      throw Usage("a subcommand is required: show, rules or score", "");
    throw Usage(e.what(), command);
  }

  Output output(outputPath);
  auto const dispatch = [&]() {
    if (*show) {
      refhost::PmmlModel const model = LoadModel(showModel);
      if (svg) {
        std::ostringstream graph;
        treeout_cli::PrintDot(model, graph);
        try {
          treeout_cli::RunDot(graph.str(), "svg", output.Fd());
        } catch (treeout_cli::RenderError const& e) {
          throw Failure{1, e.what()};
        }
      } else if (dot) {
        treeout_cli::PrintDot(model, output.Stream());
      } else {
        treeout_cli::PrintOutline(model, output.Stream());
      }
    } else if (*rules) {
      std::map<std::string, int> const dialects{{"sql", 0}, {"veld", 1}, {"generic", 2}};
      std::map<std::string, int> const edges{{"path", 0}, {"split", 1}, {"label", 2}};
      request.options.fnDialect = dialects.at(dialect);
      request.options.fnEdgeMode = edges.at(edgeMode);
      request.options.fnNumberFormat = numberFormat == "exact" ? 1 : 0;
      request.options.fnUpdateMode = update ? 1 : 0;
      request.options.fnUseVariableLabels = variableLabels ? 1 : 0;
      request.options.fnUseValueLabels = valueLabels ? 1 : 0;
      request.nodes = SplitIds(nodes);
      request.table = table;
      request.quoteAlways = quoteNames == "always";
      request.stageDepth = StageDepth(stageDepth);
      try {
        treeout_cli::CheckRequest(request);
      } catch (treeout_cli::UsageError const& e) {
        throw Usage(e.what(), "rules");
      }
      refhost::PmmlModel model = LoadModel(rulesModel);
      try {
        treeout_cli::WriteRules(model, request, output.Stream(), &std::cerr);
      } catch (InputError const& e) {
        throw Failure{1, ReadableName(rulesModel) + ": " + e.what()};
      }
    } else {
      if (scoreModel == "-" && scoreData == "-")
        throw Usage("MODEL and DATA cannot both be - (standard input)", "score");
      treeout_cli::ScoreOptions options;
      options.delimiter = Delimiter(delimiter);
      options.allProbabilities = probabilities == "all";
      refhost::PmmlModel const model = LoadModel(scoreModel);
      std::string const dataName = ReadableName(scoreData);
      std::ifstream file;
      if (scoreData != "-") {
        CheckFile(scoreData);
        file.open(scoreData, std::ios::binary);
        if (!file) throw Failure{1, scoreData + ": cannot read the file: " + std::strerror(errno)};
      }
      try {
        treeout_cli::WriteScores(model, scoreData == "-" ? std::cin : file, output.Stream(),
                                 options);
      } catch (InputError const& e) {
        output.Finish();
        throw Failure{1, dataName + ": " + e.what()};
      } catch (treeout_cli::CsvError const& e) {
        output.Finish();
        throw Failure{1, dataName + ": " + e.what()};
      }
    }
  };
  try {
    dispatch();
    output.Finish();
  } catch (treeout_cli::OutputError const&) {
    throw output.WriteFailure();
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  try {
    return Run(argc, argv);
  } catch (Failure const& failure) {
    std::cerr << "treeout: " << treeout_cli::OneLine(failure.message) << '\n';
    return failure.status;
  } catch (std::exception const& e) {
    std::cerr << "treeout: " << treeout_cli::OneLine(e.what()) << '\n';
    return 1;
  }
}
