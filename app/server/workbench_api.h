// What the workbench answers to its page: the requests of docs/workbench-protocol.md, free of the
// web's own machinery.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "datafile/open_options.h"
#include "server/analysis_thread.h"
#include "server/file_shelf.h"
#include "server/named_folders.h"
#include "server/published_state.h"
#include "server/upload_folder.h"

namespace qrvml {

struct ApiRequest {
  std::string method;
  std::vector<std::string> path;  // "/api/files/1" is {"files", "1"}
  std::function<std::string(const std::string& name)> parameter;  // of the address; empty: absent
  std::string body;
};

struct ApiReply {
  int status = 200;
  std::string body;
  std::string type = "application/json";
  std::string fileName = {};  // of an attachment

  static ApiReply Of(const Json& json) { return {200, JsonText(json)}; }
  /// A refusal, with a text for a person.
  static ApiReply Refusal(int status, const std::string& error) {
    return {status, JsonText({{"error", error}})};
  }
};

struct WorkbenchSettings {
  std::vector<std::filesystem::path> folders;  // that the person named
  AnalysisFactory factory = nullptr;
  std::vector<OfferedKind> kinds;
  int threads = 0;     // 0: all cores
  std::string memory;  // for data; see OpenOptions
  std::string version;
};

/// Used by several threads at once.
class WorkbenchApi {
 public:
  explicit WorkbenchApi(const WorkbenchSettings& settings);
  WorkbenchApi(const WorkbenchApi&) = delete;
  WorkbenchApi& operator=(const WorkbenchApi&) = delete;
  ~WorkbenchApi();

  ApiReply Answer(const ApiRequest& request);
  PublishedState& state() { return state_; }
  UploadFolder& uploads() { return uploads_; }
  /// Opens the file that the person named. False: `error` says why it cannot be read.
  bool OpenNamedFile(const OpenOptions& options, std::string& error);
  /// Cancels and ends all analyses.
  void EndAnalyses();

 private:
  struct Route;
  using AnalysisRef = std::shared_ptr<AnalysisThread>;
  static const std::vector<Route>& Routes();

  ApiReply State(const ApiRequest& request);
  ApiReply List(const ApiRequest& request);

  ApiReply OpenFile(const ApiRequest& request);
  ApiReply CancelReading(const ApiRequest& request);
  ApiReply CloseFile(const ApiRequest& request);
  ApiReply ChangeFile(const ApiRequest& request);
  ApiReply CheckFile(const ApiRequest& request);
  ApiReply Variables(const ApiRequest& request);
  ApiReply OneVariable(const ApiRequest& request);
  ApiReply Rows(const ApiRequest& request);

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

  FileShelf::Ref FileOf(const ApiRequest& request) const;
  AnalysisRef AnalysisOf(const ApiRequest& request) const;

  const WorkbenchSettings settings_;
  NamedFolders folders_;
  PublishedState state_;
  UploadFolder uploads_;
  FileShelf shelf_;
  const AnalysisSurroundings surroundings_;

  mutable std::mutex mutex_;
  std::map<int, AnalysisRef> analyses_;
  int lastAnalysis_ = 0;
};

}  // namespace qrvml
