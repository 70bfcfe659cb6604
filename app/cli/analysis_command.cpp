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

constexpr AnalysisKind kKinds[] = {{"knn", "K nearest neighbours", 2, 104, 107}};

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
bool ChooseKind(AnalysisSession& session, const AnalysisKind& kind, std::string& error) {
  const AutomationResult chosen =
      session.Put("TypeOfAnalysis", AutomationValue::Number(kind.position));
  const AutomationResult result = chosen.Succeeded() ? session.OK() : chosen;
  if (result.Succeeded() && session.step() == kind.specificationStep) return true;
  error = "the analysis does not start";
  if (!result.text.empty()) error += ": " + result.text;
  return false;
}

/// Names of steps that the results dialog cannot have, before anything runs.
bool CheckSteps(const std::vector<Step>& steps, std::span<const Control> controls,
                std::string& error) {
  if (controls.empty()) return true;
  std::vector<std::string> names(std::begin(kAnswerNames), std::end(kAnswerNames));
  for (const Control& control : controls) names.emplace_back(control.name);
  for (const Step& step : steps) {
    if (std::ranges::find(names, step.name) != names.end()) continue;
    error = "--do \"" + step.text + "\": there is no " + step.name + DidYouMean(step.name, names);
    return false;
  }
  return true;
}

/// One run: the file is open, the specification dialog stands.
class AnalysisRun {
 public:
  AnalysisRun(const AnalysisKind& kind, const AnalysisOptions& options, OpenedFile& opened,
              const std::atomic<bool>& cancel)
      : kind_(kind),
        options_(options),
        opened_(opened),
        file_(opened.file()),
        cancel_(cancel),
        host_({.interactive = options.interactive,
               .threads = options.threads,
               .memoryLimit = 0,
               .terminal = options.interactive ? TerminalWriter()
                                               : std::function<void(std::string_view)>()},
              cancel),
        session_(opened.Services(host_), host_.sequence, host_.random),
        calls_(
            session_, host_, [](const std::string& line) { Print(line + '\n'); },
            [this](const std::string& line) { Tell(line); }),
        files_(options.out, options.formats) {
    host_.saving.overwrite = options.overwrite;
    host_.messages.show = [this](const LoggedMessage& message) { Tell(message.text); };
    host_.progress.casesRead = [this] { return opened_.watched().lastCase(); };
    host_.workbook.caseName = [this](int caseNumber) { return file_.getlab(caseNumber); };
    host_.workbook.onChange = [this](std::size_t position) { DocumentChanged(position); };
    session_.beforeActing = [this] { return opened_.Look(host_, session_); };
    opened_.beforeStartingOver = [this] { lastReport_ = Report(); };
    session_.beforeLeaving = [this](QrvAnalysisDialog& dialog) {
      properties_ = ReadProperties(dialog);
    };
  }

  int Run(AnalysisFactory factory) {
    std::string error;
    if (!session_.Open(factory, error) || !ChooseKind(session_, kind_, error)) {
      Tell(error);
      return kExitFailed;
    }
    if (!Specify()) return Failed();
    if (options_.dryRun) {
      Print(PropertiesText(*session_.dialog()));
      return kExitDone;
    }
    if (!calls_.OK(kind_.resultsStep)) return Failed();
    const bool done = RunSteps();
    host_.progress.ClearLine();
    if (!Save(true)) return kExitFailed;
    return done && !cancel_ ? int{kExitDone} : Failed();
  }

 private:
  int Failed() {
    host_.progress.ClearLine();
    return cancel_ ? kExitCancelled : kExitFailed;
  }

  void Tell(const std::string& text) {
    host_.progress.ClearLine();
    Complain(text);
  }

  bool Specify() {
    for (const auto& [name, value] : options_.puts) {
      if (!calls_.Put(name, value)) return false;
    }
    for (const auto& [name, value] : options_.puts) {
      if (!session_.dialog()->IsEnabled(name))
        Tell("warning: " + name + " has no effect with these settings");
    }
    AutomationValue variables;
    if (session_.Get("Variables", variables).Succeeded()) {
      for (const std::string& warning : WarningsAbout(variables.text, file_.Table()))
        Tell("warning: " + warning);
    }
    return true;
  }

  bool RunSteps() {
    // What OK itself made (the results text) is saved whatever becomes of the steps.
    if (!Save(false)) return false;
    for (const Step& step : options_.steps) {
      const bool done = calls_.Run(step) && !cancel_;
      if (!Save(false) || !done) return false;
    }
    return true;
  }

  void DocumentChanged(std::size_t position) {
    if (!options_.out.empty()) {
      files_.Touch(position);
      return;
    }
    host_.progress.ClearLine();
    if (printedAny_) std::cout << '\n';
    WriteDocumentText(std::cout, host_.workbook.documents()[position], host_.workbook.caseName);
    std::cout.flush();
    printedAny_ = true;
  }

  /// Writes what is new; at the end also the whole run.
  bool Save(bool atEnd) {
    if (!saves_) return false;
    std::string error;
    if (options_.out.empty()) {
      if (std::cout.good()) return true;
      error = "cannot write to the standard output";
    } else if (files_.Write(host_.workbook, error) &&
               (!atEnd || (files_.WriteRun(host_.workbook, error) && WriteReport(error)))) {
      return true;
    }
    Tell(error);
    return saves_ = false;
  }

  bool WriteReport(std::string& error) {
    RunReport report = lastReport_ ? *lastReport_ : Report();
    for (const LoggedMessage& message : host_.messages.messages())
      report.messages.push_back({message.number, message.text, message.step});
    return files_.WriteExtra(
        "documents.json", [&](std::ostream& out) { WriteReportJson(out, report, host_.workbook); },
        error);
  }

  /// All but the messages.
  RunReport Report() {
    RunReport report;
    report.analysis.emplace_back("kind", std::string(kind_.command));
    report.analysis.emplace_back("file", file_.DataFileText());
    report.analysis.emplace_back("cases", double(file_.NumberOfCases()));
    for (const auto& [name, value] : session_.analysis()->Figures())
      report.analysis.emplace_back(name, value);
    report.properties = properties_;
    if (const auto dialog = session_.dialog(); dialog != nullptr) {
      for (NamedValue& property : ReadProperties(*dialog))
        report.properties.push_back(std::move(property));
    }
    return report;
  }

  const AnalysisKind& kind_;
  const AnalysisOptions& options_;
  OpenedFile& opened_;
  HostDataFile& file_;  // as it was opened: what the documents were made of
  const std::atomic<bool>& cancel_;
  AnalysisHost host_;
  AnalysisSession session_;
  DialogCalls calls_;
  DocumentFiles files_;
  std::vector<NamedValue> properties_;   // of the dialog that was left last
  std::optional<RunReport> lastReport_;  // of the analysis that a changed file ended
  bool printedAny_ = false;
  bool saves_ = true;  // until a document could not be written
};

}  // namespace

const AnalysisKind* FindAnalysisKind(std::string_view command) {
  const auto found = std::ranges::find(
      kKinds, command, [](const AnalysisKind& k) -> std::string_view { return k.command; });
  return found == std::end(kKinds) ? nullptr : &*found;
}

int RunAnalysisCommand(const AnalysisKind& kind, std::span<const std::string> arguments) {
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
    Print(text);
    return kExitDone;
  }
  if (outcome == ParseOutcome::go && options.helpControls) {
    Print(ControlsText("Specification dialog", specification->Controls()));
    if (!results.empty()) Print('\n' + ControlsText("Results dialog", results));
    return kExitDone;
  }
  if (outcome == ParseOutcome::wrong || !CheckSteps(options.steps, results, text)) {
    Complain(text + " (qrvml " + kind.command + " --help lists the options)");
    return kExitWrongUsage;
  }

  if (!options.out.empty() && !DocumentFiles(options.out, options.formats).Check(text)) {
    Complain("--out: " + text);
    return kExitFailed;
  }
  OpenedFile opened(options.open, cancel);
  FileError error;
  if (!opened.Read(error)) {
    Complain(error.Text());
    return kExitFailed;
  }
  return AnalysisRun(kind, options, opened, cancel).Run(factory);
}

}  // namespace qrvml
