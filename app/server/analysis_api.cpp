#include "server/analysis_api.h"

#include <algorithm>

namespace qrvml {
namespace {

ApiReply ReplyOf(LetterReply&& reply) { return {reply.status, JsonText(reply.body)}; }

}  // namespace

AnalysisApi::AnalysisApi(const WorkbenchSettings& settings, const NamedFolders& folders,
                         FileShelf& shelf, PublishedState& state)
    : settings_(settings),
      shelf_(shelf),
      state_(state),
      surroundings_{settings.factory, settings.threads, settings.kinds, &folders, &shelf, &state} {}

std::vector<ApiRoute> AnalysisApi::Routes() {
  const auto to = [this](ApiReply (AnalysisApi::*answer)(const ApiRequest&)) {
    return [this, answer](const ApiRequest& request) { return (this->*answer)(request); };
  };
  return {
      {"POST", {"analyses"}, to(&AnalysisApi::OpenAnalysis)},
      {"DELETE", {"analyses", "#"}, to(&AnalysisApi::CloseAnalysis)},
      {"POST", {"analyses", "#", "calls"}, to(&AnalysisApi::Calls)},
      {"POST", {"analyses", "#", "answers"}, to(&AnalysisApi::Answers)},
      {"POST", {"analyses", "#", "cancel"}, to(&AnalysisApi::Cancel)},
      {"GET", {"analyses", "#", "documents", "#"}, to(&AnalysisApi::OneDocument)},
      {"GET", {"analyses", "#", "documents", "#", "export"}, to(&AnalysisApi::Export)},
      {"GET", {"analyses", "#", "macro"}, to(&AnalysisApi::Macro)},
      {"POST", {"analyses", "#", "record"}, to(&AnalysisApi::Record)},
      {"POST", {"analyses", "#", "undo"}, to(&AnalysisApi::Undo)},
      {"POST", {"analyses", "#", "rerun"}, to(&AnalysisApi::Rerun)},
  };
}

void AnalysisApi::EndAll() {
  std::map<int, AnalysisRef> ending;
  {
    const std::lock_guard lock(mutex_);
    ending.swap(analyses_);
  }
  for (const auto& [id, analysis] : ending) analysis->Cancel();
}

bool AnalysisApi::IfUnused(int file, const std::function<void()>& act) {
  const std::lock_guard lock(mutex_);
  for (const auto& [id, analysis] : analyses_) {
    if (analysis->FileId() == file) return false;
  }
  act();
  return true;
}

AnalysisApi::AnalysisRef AnalysisApi::AnalysisOf(const ApiRequest& request) const {
  const std::lock_guard lock(mutex_);
  const auto found = analyses_.find(NumberOf(request.path[1], 0));
  return found == analyses_.end() ? nullptr : found->second;
}

ApiReply AnalysisApi::OpenAnalysis(const ApiRequest& request) {
  const Json body = BodyOf(request);
  const FileShelf::Ref file = shelf_.Find(body.at("file").get<int>());
  if (file == nullptr) return ApiReply::Refusal(404, "there is no such file");
  const OfferedKind* kind = nullptr;
  if (const std::string wanted = body.value("kind", ""); !wanted.empty()) {
    const auto found = std::ranges::find(settings_.kinds, wanted, &OfferedKind::kind);
    if (found == settings_.kinds.end())
      return ApiReply::Refusal(422, "there is no analysis \"" + wanted + '"');
    kind = &*found;
  }
  return Begin(file, {kind});
}

ApiReply AnalysisApi::Begin(const FileShelf::Ref& file, AnalysisStart start) {
  AnalysisRef analysis;
  int id = 0;
  {
    const std::lock_guard lock(mutex_);
    if (analyses_.size() >= kMostAnalyses)
      return ApiReply::Refusal(
          409, std::to_string(kMostAnalyses) + " analyses are open; close one first");
    id = ++lastAnalysis_;
    analysis = std::make_shared<AnalysisThread>(surroundings_, id, file, std::move(start));
    analyses_[id] = analysis;
  }
  std::string error;
  if (analysis->WaitUntilOpen(error)) return ApiReply::Of(state_.Analysis(id));
  const std::lock_guard lock(mutex_);
  analyses_.erase(id);
  return ApiReply::Refusal(422, error);
}

ApiReply AnalysisApi::CloseAnalysis(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  analysis->Cancel();
  const std::lock_guard lock(mutex_);
  analyses_.erase(NumberOf(request.path[1], 0));
  return ApiReply::Of(Json::object());
}

ApiReply AnalysisApi::Calls(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  return ReplyOf(analysis->PostCalls(BodyOf(request)));
}

ApiReply AnalysisApi::Answers(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  return ReplyOf(analysis->PostAnswer(BodyOf(request)));
}

ApiReply AnalysisApi::Cancel(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  analysis->Cancel();
  return ApiReply::Of(Json::object());
}

ApiReply AnalysisApi::OneDocument(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  SheetWindow window;
  window.first = static_cast<std::size_t>(std::max(NumberOf(request, "first", 0), 0));
  window.count = static_cast<std::size_t>(std::clamp(NumberOf(request, "count", 1000), 0, 1000));
  window.sortedBy = NumberOf(request, "sort", -1);
  window.descending = NumberOf(request, "descending", 0) != 0;
  std::string text;
  if (analysis == nullptr ||
      !analysis->documents().Json(NumberOf(request.path[3], -1), window, text))
    return ApiReply::Refusal(404, "there is no such document");
  return {200, std::move(text)};
}

ApiReply AnalysisApi::Export(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  ApiReply reply;
  std::string error;
  if (!analysis->documents().Export(NumberOf(request.path[3], -1), request.parameter("format"),
                                    reply.body, reply.fileName, error))
    return ApiReply::Refusal(422, error);
  reply.type = "application/octet-stream";
  return reply;
}

ApiReply AnalysisApi::Macro(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  return {200, analysis->recorder().Text(), "text/plain; charset=utf-8"};
}

ApiReply AnalysisApi::Record(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  analysis->Record(BodyOf(request).at("recording").get<bool>());
  const MacroRecorder& recorder = analysis->recorder();
  return ApiReply::Of({{"lines", recorder.Lines()}, {"recording", recorder.IsOn()}});
}

ApiReply AnalysisApi::Undo(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  const Json now = state_.Analysis(NumberOf(request.path[1], 0));
  if (!now.is_object() || !now["dialog"].is_object() || now["canUndo"] != true)
    return ApiReply::Refusal(409, "no choice of variables can be taken back");
  return ReplyOf(analysis->PostCalls(
      {{"dialog", now["dialog"]["dialog"]}, {"calls", Json::array({{{"do", "undo"}}})}}));
}

ApiReply AnalysisApi::Rerun(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  const FileShelf::Ref file = shelf_.Find(BodyOf(request).at("file").get<int>());
  if (file == nullptr) return ApiReply::Refusal(404, "there is no such file");
  return Begin(file, {nullptr, analysis->recorder().TextForAnotherFile()});
}

}  // namespace qrvml
