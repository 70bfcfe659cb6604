// A recorded macro done again in an analysis of the workbench, on that analysis's data file.
#pragma once

#include <atomic>
#include <functional>
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

  /// False: `error` says where it ended and why; empty when it was cancelled.
  bool Run(const std::string& text, std::string& error);

  /// The data file is there already; the one of the macro is passed over.
  bool OpenFile(const OpenOptions&, std::string&) override { return true; }
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
};

}  // namespace qrvml
