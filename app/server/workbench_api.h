// What the workbench answers to its page: the requests of docs/workbench-protocol.md.
#pragma once

#include <string>
#include <vector>

#include "server/analysis_api.h"
#include "server/file_api.h"

namespace qrvml {

/// Used by several threads at once.
class WorkbenchApi {
 public:
  explicit WorkbenchApi(const WorkbenchSettings& settings);

  ApiReply Answer(const ApiRequest& request);
  PublishedState& state() { return state_; }
  UploadFolder& uploads() { return files_.uploads(); }
  /// Opens the file that the person named. False: `error` says why it cannot be read.
  bool OpenNamedFile(const OpenOptions& options, std::string& error) {
    return files_.OpenNamedFile(options, error);
  }
  /// Cancels and ends all analyses.
  void EndAnalyses() { analyses_.EndAll(); }

 private:
  const WorkbenchSettings settings_;
  NamedFolders folders_;
  PublishedState state_;
  FileApi files_;
  AnalysisApi analyses_;
  std::vector<ApiRoute> routes_;
};

}  // namespace qrvml
