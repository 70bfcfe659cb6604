// The program: dispatches to a command.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/analysis_command.h"
#include "cli/command_line.h"
#include "cli/data_command.h"
#include "cli/exit_code.h"
#include "cli/run_command.h"
#include "cli/score_command.h"
#include "cli/suggestion.h"
#include "cli/verify_command.h"
#include "cli/workbench_command.h"

namespace qrvml {
namespace {

struct Command {
  std::string_view name;
  std::string_view what;
  bool available;
};
constexpr Command kCommands[] = {
    {"data", "variables of a data file, and its first cases", true},
    {"knn", "K nearest neighbours: classification and regression", true},
    {"nb", "naive Bayes", true},
    {"svm", "support vector machines", true},
    {"run", "replay a macro", true},
    {"score", "apply a generated text to a file", true},
    {"verify", "check generated texts", true},
    {"workbench", "the page in a browser", true},
};

int WrongUsage(const std::string& text) {
  std::cerr << "qrvml: " << text << '\n';
  return kExitWrongUsage;
}

std::string Usage() {
  std::string text = "Usage: qrvml COMMAND [FILE] [options]\n\nCommands:\n";
  for (const Command& command : kCommands) {
    std::string name(command.name);
    name.resize(12, ' ');
    text += "  " + name + std::string(command.what) +
            (command.available ? "" : " (not available in this version)") + '\n';
  }
  return text + "\nqrvml COMMAND --help tells the options; qrvml --version the version.\n";
}

int DataCommand(std::span<const std::string> arguments) {
  DataCommandOptions options;
  CommandLine line("Variables of a data file", "qrvml data");
  line.AddFileOptions(options.open);
  line.Add("--head", options.head, "How many cases are listed after the variables").ZeroOrMore();
  line.Add("--threads", options.open.threads, "Threads (default: all cores)").Range(1, 4096);
  std::string text;
  const ParseOutcome outcome = line.Parse(arguments, text);
  if (outcome == ParseOutcome::help) {
    std::cout << text;
    return kExitDone;
  }
  if (outcome == ParseOutcome::go && options.open.path.empty()) text = "FILE is missing";
  if (!text.empty()) return WrongUsage(text + " (qrvml data --help lists the options)");
  return RunDataCommand(options, std::cout, std::cerr);
}

int Dispatch(std::span<const std::string> words) {
  if (words.empty()) return WrongUsage("a command is missing\n" + Usage());
  const std::string& name = words.front();
  if (name == "--help" || name == "-h") {
    std::cout << Usage();
    return kExitDone;
  }
  if (name == "--version") {
    std::cout << "qrvml " QRVML_VERSION "\n";
    return kExitDone;
  }
  const auto command = std::ranges::find(kCommands, std::string_view(name), &Command::name);
  if (command == std::end(kCommands)) {
    std::vector<std::string> names;
    for (const Command& known : kCommands) names.emplace_back(known.name);
    return WrongUsage("unknown command " + name + DidYouMean(name, names));
  }
  if (!command->available) return WrongUsage(name + " is not available in this version");
  const auto arguments = words.subspan(1);
  if (const AnalysisCommand* kind = FindAnalysisCommand(name))
    return RunAnalysisCommand(*kind, arguments);
  if (name == "run") return RunMacroCommand(arguments);
  if (name == "score") return RunScoreCommand(arguments);
  if (name == "verify") return RunVerifyCommand(arguments);
  if (name == "workbench") return RunWorkbenchCommand(arguments, QRVML_VERSION);
  return DataCommand(arguments);
}

}  // namespace
}  // namespace qrvml

int main(int count, char** words) {
  try {
    const std::vector<std::string> arguments(words + 1, words + std::max(count, 1));
    return qrvml::Dispatch(arguments);
  } catch (const std::exception& error) {
    std::cerr << "qrvml: " << error.what() << '\n';
    return qrvml::kExitFailed;
  }
}
