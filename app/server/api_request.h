// A request of the page and its reply, free of the web's own machinery; see
// docs/workbench-protocol.md.
#pragma once

#include <functional>
#include <string>
#include <vector>

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

/// A request that there is; "#" in its path stands for a number.
struct ApiRoute {
  std::string method;
  std::vector<std::string> path;
  std::function<ApiReply(const ApiRequest&)> answer;

  bool Fits(const ApiRequest& request) const;
};

/// A whole number; `otherwise` where the text is none.
int NumberOf(const std::string& text, int otherwise);
int NumberOf(const ApiRequest& request, const std::string& parameter, int otherwise);

/// The object of the body, empty without one. Throws Json::exception for another body.
Json BodyOf(const ApiRequest& request);

}  // namespace qrvml
