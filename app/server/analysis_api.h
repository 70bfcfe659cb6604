// The page's requests about analyses: opening and closing, calls and answers, documents, the macro.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "server/analysis_thread.h"
#include "server/api_request.h"
#include "server/file_shelf.h"
#include "server/workbench_settings.h"

namespace qrvml {

inline constexpr std::size_t kMostAnalyses = 10;

/// Used by several threads at once.
class AnalysisApi {
 public:
  AnalysisApi(const WorkbenchSettings& settings, const NamedFolders& folders, FileShelf& shelf,
              PublishedState& state);
  AnalysisApi(const AnalysisApi&) = delete;
  AnalysisApi& operator=(const AnalysisApi&) = delete;
  ~AnalysisApi() { EndAll(); }

  std::vector<ApiRoute> Routes();
  /// See FileApi.
  bool IfUnused(int file, const std::function<void()>& act);
  /// Cancels and ends all analyses.
  void EndAll();

 private:
  using AnalysisRef = std::shared_ptr<AnalysisThread>;

  ApiReply OpenAnalysis(const ApiRequest& request);
  ApiReply CloseAnalysis(const ApiRequest& request);
  ApiReply Calls(const ApiRequest& request);
  ApiReply Answers(const ApiRequest& request);
  ApiReply Cancel(const ApiRequest& request);
  ApiReply OneDocument(const ApiRequest& request);
  ApiReply Export(const ApiRequest& request);
  ApiReply Macro(const ApiRequest& request);
  ApiReply Record(const ApiRequest& request);
  ApiReply Undo(const ApiRequest& request);
  ApiReply Rerun(const ApiRequest& request);
  /// Opens an analysis and answers with it once its first dialog stands.
  ApiReply Begin(const FileShelf::Ref& file, AnalysisStart start);

  AnalysisRef AnalysisOf(const ApiRequest& request) const;

  const WorkbenchSettings& settings_;
  FileShelf& shelf_;
  PublishedState& state_;
  const AnalysisSurroundings surroundings_;

  mutable std::mutex mutex_;
  std::map<int, AnalysisRef> analyses_;
  int lastAnalysis_ = 0;
};

}  // namespace qrvml
