// An analysis that runs on the command line: the open file, the module behind a session, documents
// that go to the standard output or to files, messages that go to the standard error.
#pragma once

#include <atomic>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "datafile/whole_file.h"
#include "documents/document_files.h"
#include "documents/json_renderer.h"
#include "host/analysis_host.h"
#include "host/analysis_session.h"
#include "host/opened_file.h"

namespace qrvml {

/// One of the methods as the shell knows it.
struct AnalysisCommand {
  const char* command;    // "knn"
  const char* title;      // for help texts
  int position;           // in the startup dialog's list
  int specificationStep;  // of the sequence table
  int resultsStep;
};
std::span<const AnalysisCommand> AnalysisCommands();

/// What every command that runs an analysis takes.
struct RunOptions {
  std::string out = {};  // folder; empty: documents go to standard output
  std::vector<const DocumentFormat*> formats = {};
  int threads = 0;  // 0: all cores
  bool interactive = true;
  bool prints = true;            // without a folder; else documents stay in the workbook
  bool overwrite = false;        // what is saved may replace existing files
  std::string record = {};       // file for the macro that equals the run; empty: none
  std::string diagnostics = {};  // file for what solvers print; empty: nobody sees it
};

class OpenAnalysis {
 public:
  /// `opened` has been read; all arguments outlive the object.
  OpenAnalysis(const RunOptions& options, OpenedFile& opened, const std::atomic<bool>& cancel);
  OpenAnalysis(const OpenAnalysis&) = delete;
  OpenAnalysis& operator=(const OpenAnalysis&) = delete;

  AnalysisSession& session() { return session_; }
  AnalysisHost& host() { return host_; }
  const HostDataFile& file() const { return file_; }
  /// Of the dialog that was left last.
  const std::vector<NamedValue>& properties() const { return properties_; }

  /// Puts a line on the standard error, behind the program's name.
  void Tell(const std::string& text);
  /// Writes the documents that are new; at the end also the files of the whole run. False: why is
  /// told.
  bool Save(bool atEnd);
  /// Completes the macro and the diagnostics where they were asked for; `file`: how the data file
  /// was opened. False: why is told.
  bool SaveRunFiles(const OpenOptions& file);

  /// Called instead of telling a message of the module at once.
  std::function<void(const LoggedMessage&)> onMessage;

 private:
  void DocumentChanged(std::size_t position);
  void OpenDiagnostics();
  bool SaveMacro(const OpenOptions& file);
  bool SaveDiagnostics();
  bool WriteReport(std::string& error);
  RunReport Report();

  const RunOptions& options_;
  OpenedFile& opened_;
  HostDataFile& file_;  // as it was opened: what the documents were made of
  AnalysisHost host_;
  AnalysisSession session_;
  DocumentFiles files_;
  WholeFile diagnosticsFile_;
  std::ofstream diagnostics_;
  std::vector<NamedValue> properties_;   // of the dialog that was left last
  std::optional<RunReport> lastReport_;  // of the analysis that a changed file ended
  const AnalysisCommand* kind_ = nullptr;
  bool printedAny_ = false;
  bool saves_ = true;  // until a document could not be written
};

/// Whether a run's files can be written, as far as can be seen before it; false: `error` says why
/// not.
bool CheckRunFiles(const RunOptions& options, std::string& error);

}  // namespace qrvml
