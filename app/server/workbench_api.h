// What the workbench answers to its page: the requests of docs/workbench-protocol.md, free of the
// web's own machinery.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/analysis_support.h"
#include "server/named_folders.h"
#include "server/published_state.h"

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
  int threads = 0;  // 0: all cores
  std::string version;
};

/// Used by several threads at once.
class WorkbenchApi {
 public:
  explicit WorkbenchApi(const WorkbenchSettings& settings);

  ApiReply Answer(const ApiRequest& request);
  PublishedState& state() { return state_; }

 private:
  struct Route;
  static const std::vector<Route>& Routes();

  ApiReply State(const ApiRequest& request);
  ApiReply List(const ApiRequest& request);

  NamedFolders folders_;
  PublishedState state_;
};

}  // namespace qrvml
