#include "cli/analysis_command.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <optional>

#include "cli/analysis_options.h"
#include "cli/data_warnings.h"
#include "cli/dialog_calls.h"
#include "cli/exit_code.h"
#include "cli/interrupt.h"
#include "cli/suggestion.h"
#include "documents/text_renderer.h"
#include "host/empty_data_file.h"
#include "host/module_library.h"
#include "host/opened_file.h"

namespace qrvml {
namespace {

void Print(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

void Complain(const std::string& text) { std::fprintf(stderr, "qrvml: %s\n", text.c_str()); }

/// An analysis without data, whose dialogs' tables say which options exist.
struct DialogTables {
  EmptyDataFile file;
  AnalysisHost host;
  AnalysisSession session;

  explicit DialogTables(const std::atomic<bool>& cancel)
      : host({.interactive = false, .threads = 1, .memoryLimit = 0, .terminal = {}}, cancel),
        session(host.Services(file, {}), host.sequence, host.random) {}
};

/// Goes from the startup dialog to the method's specification dialog.
bool ChooseKind(AnalysisSession& session, const AnalysisCommand& kind, std::string& error) {
  const AutomationResult chosen =
      session.Put("TypeOfAnalysis", AutomationValue::Number(kind.position));
  const AutomationResult result = chosen.Succeeded() ? session.OK() : chosen;
  if (result.Succeeded() && session.step() == kind.specificationStep) return true;
  error = "the analysis does not start";
  if (!result.text.empty()) error += ": " + result.text;
  return false;
}

/// What the steps of a results dialog can name.
std::vector<std::string> StepNames(std::span<const Control> controls) {
  std::vector<std::string> names(std::begin(kAnswerNames), std::end(kAnswerNames));
  for (const Control& control : controls) names.emplace_back(control.name);
  return names;
}

/// Names of steps that the results dialog cannot have, before anything runs.
bool CheckSteps(const std::vector<Step>& steps, std::span<const Control> controls,
                std::string& error) {
  if (controls.empty()) return true;
  const std::vector<std::string> names = StepNames(controls);
  for (const Step& step : steps) {
    if (std::ranges::find(names, step.name) != names.end()) continue;
    error = "--do \"" + step.text + "\": there is no " + step.name + DidYouMean(step.name, names);
    return false;
  }
  return true;
}

/// One run: the file is open.
class AnalysisRun {
 public:
  AnalysisRun(const AnalysisCommand& kind, const AnalysisOptions& options, OpenedFile& opened,
              const std::atomic<bool>& cancel, const ResultsTask* task)
      : kind_(kind),
        options_(options),
        cancel_(cancel),
        task_(task),
        analysis_(options.run, opened, cancel),
        session_(analysis_.session()),
        calls_(
            session_, analysis_.host(), [](const std::string& line) { Print(line + '\n'); },
            [this](const std::string& line) { analysis_.Tell(line); }) {}

  int Run(AnalysisFactory factory) {
    std::string error;
    if (!session_.Open(factory, error) || !ChooseKind(session_, kind_, error)) {
      analysis_.Tell(error);
      return kExitFailed;
    }
    if (!Specify()) return Failed();
    if (options_.dryRun) {
      Print(PropertiesText(*session_.dialog()));
      return kExitDone;
    }
    if (!calls_.OK(kind_.resultsStep)) return Failed();
    const bool done = RunSteps();
    const int status = done && task_ != nullptr ? task_->run(analysis_, calls_) : kExitDone;
    analysis_.host().progress.ClearLine();
    if (!analysis_.Save(true) || !analysis_.SaveRunFiles(options_.open)) return kExitFailed;
    return done && !cancel_ ? status : Failed();
  }

 private:
  int Failed() {
    analysis_.host().progress.ClearLine();
    return cancel_ ? kExitCancelled : kExitFailed;
  }

  bool Specify() {
    for (const auto& [name, value] : options_.puts) {
      if (!calls_.Put(name, value)) return false;
    }
    for (const auto& [name, value] : options_.puts) {
      if (!session_.dialog()->IsEnabled(name))
        analysis_.Tell("warning: " + name + " is disabled with these settings");
    }
    AutomationValue variables;
    if (session_.Get("Variables", variables).Succeeded()) {
      for (const std::string& warning : WarningsAbout(variables.text, analysis_.file().Table()))
        analysis_.Tell("warning: " + warning);
    }
    return true;
  }

  bool RunSteps() {
    // What OK itself made (the results text) is saved whatever becomes of the steps.
    if (!analysis_.Save(false)) return false;
    for (const Step& step : options_.steps) {
      const bool done = calls_.Run(step) && !cancel_;
      if (!analysis_.Save(false) || !done) return false;
    }
    return true;
  }

  const AnalysisCommand& kind_;
  const AnalysisOptions& options_;
  const std::atomic<bool>& cancel_;
  const ResultsTask* const task_;  // null: none
  OpenAnalysis analysis_;
  AnalysisSession& session_;
  DialogCalls calls_;
};

/// Of an option that is none, but a step: where it belongs.
std::string StepMeant(std::span<const std::string> arguments, std::span<const Control> options,
                      std::span<const Control> results) {
  const std::vector<std::string> steps = StepNames(results);
  for (const std::string& argument : arguments) {
    if (!argument.starts_with("--")) continue;
    const std::string name = argument.substr(2, argument.find('=') - 2);
    const auto isNamed = [&name](const Control& control) { return control.name == name; };
    if (std::ranges::none_of(options, isNamed) && std::ranges::find(steps, name) != steps.end())
      return "; " + name + " is a step of the results dialog: --do " + name;
  }
  return "";
}

}  // namespace

const AnalysisCommand* FindAnalysisCommand(std::string_view command) {
  const auto kinds = AnalysisCommands();
  const auto found = std::ranges::find(
      kinds, command, [](const AnalysisCommand& k) -> std::string_view { return k.command; });
  return found == kinds.end() ? nullptr : &*found;
}

int RunAnalysisCommand(const AnalysisCommand& kind, std::span<const std::string> arguments,
                       const ResultsTask* task) {
  const std::atomic<bool>& cancel = CatchInterrupts();
  std::string text;
  const AnalysisFactory factory = ModuleLibrary::Load(text);
  if (factory == nullptr) {
    Complain(text);
    return kExitFailed;
  }
  DialogTables tables(cancel);
  if (!tables.session.Open(factory, text) || !ChooseKind(tables.session, kind, text)) {
    Complain(text);
    return kExitFailed;
  }
  const auto specification = tables.session.dialog();
  const auto results = tables.session.analysis()->ControlsOf(kind.resultsStep);

  AnalysisOptions options;
  const ParseOutcome outcome =
      ParseAnalysisOptions(kind, specification->Controls(), arguments, options, text);
  if (outcome == ParseOutcome::help) {
    Print(task == nullptr ? text : task->help + text);
    return kExitDone;
  }
  if (task != nullptr) {
    options.run.prints = false;
    const auto isSteps = [](const std::string& word) {
      return word == "--do" || word.starts_with("--do=");
    };
    if (std::ranges::none_of(arguments, isSteps)) options.steps.clear();
  }
  if (outcome == ParseOutcome::go && options.helpControls) {
    Print(ControlsText("Specification dialog", specification->Controls()));
    if (!results.empty()) Print('\n' + ControlsText("Results dialog", results));
    return kExitDone;
  }
  if (outcome == ParseOutcome::wrong || !CheckSteps(options.steps, results, text)) {
    text += StepMeant(arguments, specification->Controls(), results);
    Complain(text + " (qrvml " + (task == nullptr ? "" : task->command + ' ') + kind.command +
             " --help lists the options)");
    return kExitWrongUsage;
  }

  if (!CheckRunFiles(options.run, text)) {
    Complain(text);
    return kExitFailed;
  }
  OpenedFile opened(options.open, cancel);
  FileError error;
  if (!opened.Read(error)) {
    Complain(error.Text());
    return kExitFailed;
  }
  return AnalysisRun(kind, options, opened, cancel, task).Run(factory);
}

}  // namespace qrvml
