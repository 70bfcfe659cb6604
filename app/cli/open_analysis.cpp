#include "cli/open_analysis.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "cli/dialog_calls.h"
#include "datafile/whole_file.h"
#include "documents/text_renderer.h"
#include "macro/macro_text.h"

namespace qrvml {
namespace {

constexpr AnalysisCommand kKinds[] = {{"knn", "K nearest neighbours", 2, 104, 107},
                                      {"nb", "naive Bayes", 1, 103, 106},
                                      {"svm", "support vector machines", 0, 102, 105}};

HostSettings SettingsOf(const RunOptions& options) {
  HostSettings settings;
  settings.interactive = options.interactive;
  settings.threads = options.threads;
  if (options.interactive) settings.terminal = TerminalWriter();
  return settings;
}

}  // namespace

std::span<const AnalysisCommand> AnalysisCommands() { return kKinds; }

OpenAnalysis::OpenAnalysis(const RunOptions& options, OpenedFile& opened,
                           const std::atomic<bool>& cancel)
    : options_(options),
      opened_(opened),
      file_(opened.file()),
      host_(SettingsOf(options), cancel),
      session_(opened.Services(host_), host_.sequence, host_.random),
      files_(options.out, options.formats) {
  host_.saving.overwrite = options.overwrite;
  host_.messages.show = [this](const LoggedMessage& message) {
    onMessage ? onMessage(message) : Tell(message.text);
  };
  host_.progress.casesRead = [this] { return opened_.watched().lastCase(); };
  host_.workbook.caseName = [this](int caseNumber) { return file_.getlab(caseNumber); };
  host_.workbook.onChange = [this](std::size_t position) { DocumentChanged(position); };
  opened_.beforeStartingOver = [this] { lastReport_ = Report(); };
  session_.beforeActing = [this] { return opened_.Look(host_, session_); };
  session_.beforeLeaving = [this](QrvAnalysisDialog& dialog) {
    properties_ = ReadProperties(dialog);
  };
  session_.onAnswer = [this](std::string_view name, std::string_view text) {
    host_.automation.RecordAnswer(name, text);
  };
  if (!options.diagnostics.empty()) OpenDiagnostics();
  session_.beforeOK = [this](QrvAnalysisDialog& dialog) { host_.automation.RecordSeeds(dialog); };
  session_.afterCancel = [this] { host_.automation.RecordBack(); };
  session_.afterOK = [this] {
    host_.automation.RecordRun();
    const auto reached =
        std::ranges::find(kKinds, session_.step(), &AnalysisCommand::specificationStep);
    if (reached != std::end(kKinds)) kind_ = reached;
  };
}

void OpenAnalysis::Tell(const std::string& text) {
  host_.progress.ClearLine();
  std::fprintf(stderr, "qrvml: %s\n", text.c_str());
}

void OpenAnalysis::DocumentChanged(std::size_t position) {
  if (!options_.out.empty()) {
    files_.Touch(position);
    return;
  }
  if (!options_.prints) return;
  host_.progress.ClearLine();
  if (printedAny_) std::cout << '\n';
  WriteDocumentText(std::cout, host_.workbook.documents()[position], host_.workbook.caseName);
  std::cout.flush();
  printedAny_ = true;
}

bool OpenAnalysis::Save(bool atEnd) {
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

bool OpenAnalysis::WriteReport(std::string& error) {
  RunReport report = lastReport_ ? *lastReport_ : Report();
  for (const LoggedMessage& message : host_.messages.messages())
    report.messages.push_back({message.number, message.text, message.step});
  return files_.WriteExtra(
      "documents.json", [&](std::ostream& out) { WriteReportJson(out, report, host_.workbook); },
      error);
}

/// All but the messages.
RunReport OpenAnalysis::Report() {
  RunReport report;
  report.analysis.emplace_back("kind", std::string(kind_ == nullptr ? "" : kind_->command));
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

bool OpenAnalysis::SaveMacro(const OpenOptions& file) {
  if (options_.record.empty()) return true;
  WholeFile target;
  FileError error;
  bool saved = target.Begin(options_.record, options_.overwrite, error);
  if (saved) {
    std::ofstream out(target.Working(), std::ios::binary);
    out << MacroText(file, host_.automation.changes());
    out.close();
    saved = out.good() && target.Commit(error);
    if (!out.good()) error.what = "the macro cannot be written to the disk";
  }
  if (!saved) Tell("--record: " + error.Text());
  return saved;
}

void OpenAnalysis::OpenDiagnostics() {
  FileError error;
  // What goes wrong here is told at the end: the file is then not good.
  if (diagnosticsFile_.Begin(options_.diagnostics, options_.overwrite, error))
    diagnostics_.open(diagnosticsFile_.Working(), std::ios::binary);
  host_.diagnostics.write = [this](std::string_view text) { diagnostics_ << text; };
}

bool OpenAnalysis::SaveDiagnostics() {
  if (options_.diagnostics.empty()) return true;
  FileError error;
  error.what = "the diagnostics cannot be written to the disk";
  diagnostics_.close();
  if (diagnostics_.good() && diagnosticsFile_.Commit(error)) return true;
  Tell("--diagnostics: " + error.Text());
  return false;
}

bool OpenAnalysis::SaveRunFiles(const OpenOptions& file) {
  return SaveMacro(file) && SaveDiagnostics();
}

bool CheckRunFiles(const RunOptions& options, std::string& error) {
  if (!options.out.empty() && !DocumentFiles(options.out, options.formats).Check(error)) {
    error = "--out: " + error;
    return false;
  }
  const std::pair<const char*, const std::string&> files[] = {
      {"--record", options.record}, {"--diagnostics", options.diagnostics}};
  for (const auto& [option, path] : files) {
    FileError failure;
    WholeFile file;
    if (path.empty() || file.Begin(path, options.overwrite, failure)) continue;
    error = std::string(option) + ": " + failure.Text();
    return false;
  }
  return true;
}

}  // namespace qrvml
