#include "server/workbench_api.h"

#include <algorithm>
#include <charconv>

namespace qrvml {
namespace {

constexpr int kMostAnalyses = 10;
constexpr std::uint64_t kLargestUpload = std::uint64_t{2} << 30;

NamedFolders FoldersOf(const WorkbenchSettings& settings) {
  NamedFolders folders;
  for (const auto& folder : settings.folders) folders.Add(folder);
  return folders;
}

Json FixedState(const WorkbenchSettings& settings, const NamedFolders& folders) {
  Json named = Json::array();
  for (const auto& path : folders.Paths())
    named.push_back({{"folder", named.size()}, {"path", path.string()}});
  return {{"version", settings.version},
          {"folders", std::move(named)},
          {"limits", {{"analyses", kMostAnalyses}, {"upload", kLargestUpload}}}};
}

/// A whole number; `otherwise` where the text is none.
int NumberOf(const std::string& text, int otherwise) {
  int number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, number);
  return failure == std::errc{} && stop == end ? number : otherwise;
}

}  // namespace

/// A request that there is; "#" in its path stands for a number.
struct WorkbenchApi::Route {
  std::string method;
  std::vector<std::string> path;
  ApiReply (WorkbenchApi::*answer)(const ApiRequest&);

  bool Fits(const ApiRequest& request) const {
    return std::ranges::equal(path, request.path, [](const auto& mine, const auto& asked) {
      return mine == asked || (mine == "#" && NumberOf(asked, -1) >= 0);
    });
  }
};

const std::vector<WorkbenchApi::Route>& WorkbenchApi::Routes() {
  static const std::vector<Route> routes = {
      {"GET", {"state"}, &WorkbenchApi::State},
      {"GET", {"list"}, &WorkbenchApi::List},
  };
  return routes;
}

WorkbenchApi::WorkbenchApi(const WorkbenchSettings& settings)
    : folders_(FoldersOf(settings)), state_(FixedState(settings, folders_)) {}

ApiReply WorkbenchApi::Answer(const ApiRequest& request) {
  bool known = false;
  for (const Route& route : Routes()) {
    if (!route.Fits(request)) continue;
    if (route.method == request.method) return (this->*route.answer)(request);
    known = true;
  }
  return known ? ApiReply::Refusal(405, request.method + " is not possible here")
               : ApiReply::Refusal(404, "there is nothing at this address");
}

ApiReply WorkbenchApi::State(const ApiRequest&) { return {200, state_.Snapshot()}; }

ApiReply WorkbenchApi::List(const ApiRequest& request) {
  const int folder = NumberOf(request.parameter("folder"), 0);
  const std::string path = request.parameter("path");
  std::vector<ListedFile> listed;
  std::string error;
  if (!folders_.List(folder, path, listed, error)) return ApiReply::Refusal(404, error);
  Json entries = Json::array();
  for (const ListedFile& entry : listed) {
    entries.push_back({{"name", entry.name},
                       {"directory", entry.isFolder},
                       {"size", entry.size},
                       {"modified", entry.modified}});
  }
  return ApiReply::Of({{"folder", folder}, {"path", path}, {"entries", std::move(entries)}});
}

}  // namespace qrvml
