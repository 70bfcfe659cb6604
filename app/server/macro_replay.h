// A recorded macro done again in an analysis of the workbench, on that analysis's data file.
#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>

#include "host/analysis_host.h"
#include "host/analysis_session.h"
#include "macro/macro_objects.h"

namespace qrvml {

class MacroReplay final : public MacroHost {
 public:
  /// The session stands at its first dialog.
  MacroReplay(AnalysisSession& session, AnalysisHost& host, const std::atomic<bool>& cancel)
      : session_(session), host_(host), cancel_(cancel) {}

  /// Called after each thing that the macro did.
  std::function<void()> afterCall;
  /// Puts the weight or the condition into force that is another one than before. False: `error`
  /// says why not.
  std::function<bool(const OpenOptions& before, const OpenOptions& now, std::string& error)>
      changeData;

  /// False: `error` says where it ended and why; empty when it was cancelled.
  bool Run(const std::string& text, std::string& error);

  /// The data file is there already; the one of the macro is passed over, with its weight and
  /// condition of the beginning.
  bool OpenFile(const OpenOptions& options, std::string&) override {
    settings_ = options;
    return true;
  }
  bool HasFile() const override { return settings_.has_value(); }
  bool ChangeData(const OpenOptions& options, std::string& error) override;
  bool StartAnalysis(std::string&) override { return true; }
  AnalysisSession& session() override { return session_; }
  AnalysisHost& host() override { return host_; }
  bool SaveDocuments(std::string&) override;
  /// Messages have been shown when they came.
  void Tell(const std::string&) override {}
  void Show(const std::string& text) override;

 private:
  AnalysisSession& session_;
  AnalysisHost& host_;
  const std::atomic<bool>& cancel_;
  std::optional<OpenOptions> settings_;  // of the file, as the macro has put them
};

}  // namespace qrvml
