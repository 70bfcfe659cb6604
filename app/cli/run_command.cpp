#include "cli/run_command.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>

#include "cli/analysis_options.h"
#include "cli/command_line.h"
#include "cli/exit_code.h"
#include "cli/interrupt.h"
#include "cli/open_analysis.h"
#include "documents/display_width.h"
#include "host/module_library.h"
#include "macro/macro_objects.h"
#include "qvb/compiler.h"
#include "qvb/interpreter.h"

namespace qrvml {
namespace {

constexpr std::uintmax_t kLongestMacro = std::uintmax_t{64} << 20;

struct MacroOptions {
  std::string macro;
  std::string file;  // instead of the macro's own; empty: none
  std::string memory;
  std::uint64_t stepLimit = 0;  // 0: none
  RunOptions run;
};

void Complain(const std::string& text) { std::fprintf(stderr, "qrvml: %s\n", text.c_str()); }

/// A macro's data file and analysis on the command line.
class ShellMacro final : public MacroHost {
 public:
  ShellMacro(const MacroOptions& options, AnalysisFactory factory, const std::atomic<bool>& cancel)
      : options_(options), factory_(factory), cancel_(cancel) {}

  bool OpenFile(const OpenOptions& options, std::string& error) override {
    if (opened_) {
      error = "A macro opens one data file; " + file_.path + " is open";
      return false;
    }
    file_ = options;
    file_.path = options_.file.empty() ? BesideTheMacro(options.path) : options_.file;
    file_.threads = options_.run.threads;
    file_.memory = options_.memory;
    opened_.emplace(file_, cancel_);
    FileError failure;
    settings_ = file_;
    if (opened_->Read(failure)) return true;
    opened_.reset();
    error = failure.Text();
    return false;
  }

  bool HasFile() const override { return opened_.has_value(); }

  bool ChangeData(const OpenOptions& options, std::string& error) override {
    if (analysis_ && ShowsResults(session().step())) {
      error = kResultsKeepTheirData;
      return false;
    }
    FileError failure;
    if (!opened_->Change(options, failure)) {
      error = failure.Text();
      return false;
    }
    OpenOptions before = std::exchange(settings_, options);
    if (!analysis_) {
      file_.weight = options.weight;
      file_.select = options.select;
      return true;
    }
    opened_->Services(host());
    host().automation.RecordData(before, options);
    session().analysis()->DataSettingsChanged();
    return true;
  }

  bool StartAnalysis(std::string& error) override {
    if (!opened_) {
      error = "A data file is needed: Application.DataFile.Open";
      return false;
    }
    if (analysis_) {
      error = "A macro runs one analysis, which is open";
      return false;
    }
    analysis_.emplace(options_.run, *opened_, cancel_);
    // The call that asks tells them, or fails with them.
    analysis_->onMessage = [](const LoggedMessage&) {};
    if (analysis_->session().Open(factory_, error)) return true;
    analysis_.reset();
    return false;
  }

  AnalysisSession& session() override { return analysis_->session(); }
  AnalysisHost& host() override { return analysis_->host(); }

  bool SaveDocuments(std::string& error) override {
    if (analysis_->Save(false)) return true;
    error = "the documents cannot be written";
    return false;
  }
  void Tell(const std::string& text) override {
    analysis_ ? analysis_->Tell(text) : Complain(text);
  }

  void Show(const std::string& text) override {
    if (analysis_) analysis_->host().progress.ClearLine();
    std::cout << PrintableText(text) << std::endl;
  }

  /// The files of the whole run; `false`: why is told.
  bool Finish() {
    if (!analysis_) return true;
    analysis_->host().progress.ClearLine();
    return analysis_->Save(true) && analysis_->SaveRunFiles(file_);
  }

 private:
  /// A relative path is looked for in the current folder, then in the macro's.
  std::string BesideTheMacro(const std::string& path) const {
    std::error_code code;
    const auto beside = std::filesystem::path(options_.macro).parent_path() / path;
    const bool there =
        !std::filesystem::exists(path, code) && std::filesystem::exists(beside, code);
    return there ? beside.string() : path;
  }

  static bool ShowsResults(int step) {
    return std::ranges::count(AnalysisCommands(), step, &AnalysisCommand::resultsStep) > 0;
  }

  const MacroOptions& options_;
  const AnalysisFactory factory_;
  const std::atomic<bool>& cancel_;
  OpenOptions file_;      // as it was when the analysis began
  OpenOptions settings_;  // with the weight and the condition of now
  std::optional<OpenedFile> opened_;
  std::optional<OpenAnalysis> analysis_;
};

bool ReadScript(const std::string& path, std::string& text, std::string& error) {
  std::error_code code;
  const std::uintmax_t size = std::filesystem::file_size(path, code);
  if (code) {
    error = path + ": the macro cannot be read: " + code.message();
    return false;
  }
  if (size > kLongestMacro) {
    error = path + ": a macro is at most " + std::to_string(kLongestMacro >> 20) + " MB long";
    return false;
  }
  std::ifstream file(path, std::ios::binary);
  text.assign(std::istreambuf_iterator<char>(file), {});
  if (!file.bad() && text.size() == size) return true;
  error = path + ": the macro cannot be read";
  return false;
}

ParseOutcome Parse(std::span<const std::string> arguments, MacroOptions& options,
                   std::string& text) {
  CommandLine line("Replays a macro, also on another data file", "qrvml run");
  line.Positional("MACRO", options.macro, "The macro, a QVB script");
  line.Positional("FILE", options.file, "The data file instead of the macro's own");
  std::string formats;
  AddRunOptions(line, options.run, formats);
  line.Add("--memory", options.memory,
           "Memory for the data, such as 500M or 4G, the rest on disk (default: half of what there "
           "is)");
  line.Add("--record", options.run.record, "File for the macro that equals the run");
  line.Add("--step-limit", options.stepLimit,
           "Ends the macro after so many steps of its interpreter (default: no limit)");
  const ParseOutcome outcome = line.Parse(arguments, text);
  if (outcome != ParseOutcome::go) return outcome;
  options.run.interactive = false;
  if (options.macro.empty()) {
    text = "MACRO is missing";
    return ParseOutcome::wrong;
  }
  return ReadFormats(formats, options.run.formats, text) ? ParseOutcome::go : ParseOutcome::wrong;
}

int Run(const MacroOptions& options, AnalysisFactory factory, const std::atomic<bool>& cancel) {
  std::string text, error;
  if (!CheckRunFiles(options.run, error) || !ReadScript(options.macro, text, error)) {
    Complain(error);
    return kExitFailed;
  }
  ShellMacro macro(options, factory, cancel);
  int status = kExitDone;
  try {
    HostNames names;
    AddMacroNames(names, macro);
    ScriptLimits limits;
    limits.steps = options.stepLimit;
    limits.cancel = &cancel;
    Interpreter(CompileScript(options.macro, text, names), limits).Run();
  } catch (const ScriptError& failure) {
    status = cancel || failure.kind == ScriptError::Kind::cancelled ? kExitCancelled : kExitFailed;
    if (status == kExitFailed) macro.Tell(PrintableText(failure.what()));
  }
  if (!macro.Finish() && status == kExitDone) status = kExitFailed;
  return status;
}

}  // namespace

int RunMacroCommand(std::span<const std::string> arguments) {
  const std::atomic<bool>& cancel = CatchInterrupts();
  MacroOptions options;
  std::string text;
  const ParseOutcome outcome = Parse(arguments, options, text);
  if (outcome == ParseOutcome::help) {
    std::cout << text;
    return kExitDone;
  }
  if (outcome == ParseOutcome::wrong) {
    Complain(text + " (qrvml run --help lists the options)");
    return kExitWrongUsage;
  }
  const AnalysisFactory factory = ModuleLibrary::Load(text);
  if (factory == nullptr) {
    Complain(text);
    return kExitFailed;
  }
  return Run(options, factory, cancel);
}

}  // namespace qrvml
