// The application, its data file, its analysis and the dialogs of the analysis as objects of a
// macro.
#pragma once

#include <string>

#include "datafile/open_options.h"
#include "host/analysis_host.h"
#include "host/analysis_session.h"
#include "qvb/script_object.h"

namespace qrvml {

/// Why the data are not changed while results are shown.
inline constexpr const char* kResultsKeepTheirData =
    "The results belong to the data as they are: go back to the settings first (Cancel)";

/// What a macro acts on; whoever runs macros implements it.
class MacroHost {
 public:
  virtual ~MacroHost() = default;
  /// Opens the data file; once. False: `error` says why not.
  virtual bool OpenFile(const OpenOptions& options, std::string& error) = 0;
  virtual bool HasFile() const = 0;
  /// Puts the weight and the condition of the options into force in the open file. False: `error`
  /// says why not.
  virtual bool ChangeData(const OpenOptions& options, std::string& error) = 0;
  /// Opens the analysis of the data file; once. False: `error` says why not.
  virtual bool StartAnalysis(std::string& error) = 0;
  /// Only while there is an analysis.
  virtual AnalysisSession& session() = 0;
  virtual AnalysisHost& host() = 0;
  /// Puts documents that were made where they belong. False: `error` says why not.
  virtual bool SaveDocuments(std::string& error) = 0;
  /// Tells the user what the application has to say.
  virtual void Tell(const std::string& text) = 0;
  /// Shows what the macro itself has to say.
  virtual void Show(const std::string& text) = 0;
};

/// `Application`, the kinds of analyses, and `MsgBox`, which shows its text as a line. `macro` must
/// outlive what is made of the names.
void AddMacroNames(HostNames& names, MacroHost& macro);

}  // namespace qrvml
