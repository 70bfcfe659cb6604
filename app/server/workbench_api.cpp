#include "server/workbench_api.h"

namespace qrvml {
namespace {

NamedFolders FoldersOf(const WorkbenchSettings& settings) {
  NamedFolders folders;
  for (const auto& folder : settings.folders) folders.Add(folder);
  return folders;
}

Json FixedState(const WorkbenchSettings& settings, const NamedFolders& folders) {
  Json named = Json::array(), kinds = Json::array();
  for (const auto& path : folders.Paths())
    named.push_back({{"folder", named.size()}, {"path", path.string()}});
  for (const OfferedKind& kind : settings.kinds)
    kinds.push_back({{"kind", kind.kind}, {"position", kind.position}, {"title", kind.title}});
  return {{"version", settings.version},
          {"folders", std::move(named)},
          {"limits", {{"analyses", kMostAnalyses}, {"upload", kLargestUpload}}},
          {"kinds", std::move(kinds)}};
}

}  // namespace

WorkbenchApi::WorkbenchApi(const WorkbenchSettings& settings)
    : settings_(settings),
      folders_(FoldersOf(settings)),
      state_(FixedState(settings, folders_)),
      files_(settings_, folders_, state_),
      analyses_(settings_, folders_, files_.shelf(), state_) {
  files_.ifUnused = [this](int file, const auto& act) { return analyses_.IfUnused(file, act); };
  routes_ = files_.Routes();
  for (ApiRoute& route : analyses_.Routes()) routes_.push_back(std::move(route));
  routes_.push_back({"GET", {"state"}, [this](const ApiRequest&) -> ApiReply {
                       return {200, state_.Snapshot()};
                     }});
}

ApiReply WorkbenchApi::Answer(const ApiRequest& request) {
  bool known = false;
  try {
    for (const ApiRoute& route : routes_) {
      if (!route.Fits(request)) continue;
      if (route.method == request.method) return route.answer(request);
      known = true;
    }
  } catch (const Json::exception& error) {
    return ApiReply::Refusal(422, std::string("the request is not understood: ") + error.what());
  }
  return known ? ApiReply::Refusal(405, request.method + " is not possible here")
               : ApiReply::Refusal(404, "there is nothing at this address");
}

}  // namespace qrvml
