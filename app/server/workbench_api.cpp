#include "server/workbench_api.h"

#include <algorithm>
#include <charconv>

#include "server/data_json.h"

namespace qrvml {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostAnalyses = 10;

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

/// A whole number; `otherwise` where the text is none.
int NumberOf(const std::string& text, int otherwise) {
  int number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, number);
  return failure == std::errc{} && stop == end ? number : otherwise;
}

int NumberOf(const ApiRequest& request, const std::string& parameter, int otherwise) {
  return NumberOf(request.parameter(parameter), otherwise);
}

/// Copies of a value go as deep into the stack as it is nested.
constexpr int kDeepestJson = 32;

Json BodyOf(const ApiRequest& request) {
  const auto isFlat = [](int depth, Json::parse_event_t, const Json&) {
    if (depth > kDeepestJson)
      throw Json::other_error::create(501, "it is nested too deep", nullptr);
    return true;
  };
  Json body = request.body.empty() ? Json::object() : Json::parse(request.body, isFlat);
  if (!body.is_object()) throw Json::other_error::create(501, "an object is needed", &body);
  return body;
}

ApiReply ReplyOf(LetterReply&& reply) { return {reply.status, JsonText(reply.body)}; }

OpenOptions OptionsOf(const Json& body) {
  OpenOptions options;
  const Json given = body.value("options", Json::object());
  options.delimiter = given.value("delimiter", "");
  options.decimal = given.value("decimal", "");
  options.encoding = given.value("encoding", "");
  options.missing = given.value("missing", std::vector<std::string>());
  options.caseNames = given.value("caseNames", "");
  options.weight = given.value("weight", "");
  options.select = given.value("select", "");
  return options;
}

FileSettings SettingsOf(const Json& body) {
  FileSettings settings;
  if (body.contains("select")) settings.select = body["select"].get<std::string>();
  if (body.contains("weight")) settings.weight = body["weight"].get<int>();
  if (body.contains("caseNames")) settings.caseNames = body["caseNames"].get<int>();
  return settings;
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
  using Api = WorkbenchApi;
  static const std::vector<Route> routes = {
      {"GET", {"state"}, &Api::State},
      {"GET", {"list"}, &Api::List},
      {"POST", {"files"}, &Api::OpenFile},
      {"POST", {"readings", "#", "cancel"}, &Api::CancelReading},
      {"DELETE", {"files", "#"}, &Api::CloseFile},
      {"POST", {"files", "#", "settings"}, &Api::ChangeFile},
      {"POST", {"files", "#", "check"}, &Api::CheckFile},
      {"GET", {"files", "#", "variables"}, &Api::Variables},
      {"GET", {"files", "#", "variables", "#"}, &Api::OneVariable},
      {"GET", {"files", "#", "rows"}, &Api::Rows},
      {"POST", {"analyses"}, &Api::OpenAnalysis},
      {"DELETE", {"analyses", "#"}, &Api::CloseAnalysis},
      {"POST", {"analyses", "#", "calls"}, &Api::Calls},
      {"POST", {"analyses", "#", "answers"}, &Api::Answers},
      {"POST", {"analyses", "#", "cancel"}, &Api::Cancel},
      {"GET", {"analyses", "#", "documents", "#"}, &Api::OneDocument},
      {"GET", {"analyses", "#", "documents", "#", "export"}, &Api::Export},
      {"GET", {"analyses", "#", "macro"}, &Api::Macro},
      {"POST", {"analyses", "#", "record"}, &Api::Record},
      {"POST", {"analyses", "#", "undo"}, &Api::Undo},
      {"POST", {"analyses", "#", "rerun"}, &Api::Rerun},
  };
  return routes;
}

WorkbenchApi::WorkbenchApi(const WorkbenchSettings& settings)
    : settings_(settings),
      folders_(FoldersOf(settings)),
      state_(FixedState(settings, folders_)),
      shelf_(state_),
      surroundings_{settings_.factory, settings_.threads, settings_.kinds,
                    &folders_,         &shelf_,           &state_} {}

WorkbenchApi::~WorkbenchApi() { EndAnalyses(); }

void WorkbenchApi::EndAnalyses() {
  std::map<int, AnalysisRef> ending;
  {
    const std::lock_guard lock(mutex_);
    ending.swap(analyses_);
  }
  for (const auto& [id, analysis] : ending) analysis->Cancel();
}

ApiReply WorkbenchApi::Answer(const ApiRequest& request) {
  bool known = false;
  try {
    for (const Route& route : Routes()) {
      if (!route.Fits(request)) continue;
      if (route.method == request.method) return (this->*route.answer)(request);
      known = true;
    }
  } catch (const Json::exception& error) {
    return ApiReply::Refusal(422, std::string("the request is not understood: ") + error.what());
  }
  return known ? ApiReply::Refusal(405, request.method + " is not possible here")
               : ApiReply::Refusal(404, "there is nothing at this address");
}

ApiReply WorkbenchApi::State(const ApiRequest&) { return {200, state_.Snapshot()}; }

ApiReply WorkbenchApi::List(const ApiRequest& request) {
  const int folder = NumberOf(request, "folder", 0);
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

// --- Data files ----------------------------------------------------------------------------------

FileShelf::Ref WorkbenchApi::FileOf(const ApiRequest& request) const {
  return shelf_.Find(NumberOf(request.path[1], 0));
}

bool WorkbenchApi::OpenNamedFile(const OpenOptions& options, std::string& error) {
  const fs::path path = fs::absolute(options.path);
  ShelfFile file;
  file.options = options;
  file.options.path = path.string();
  file.name = file.path = path.filename().string();
  file.folder = folders_.Add(path.parent_path());
  return shelf_.Open(std::move(file), error) != nullptr;
}

ApiReply WorkbenchApi::OpenFile(const ApiRequest& request) {
  const Json body = BodyOf(request);
  ShelfFile file;
  file.options = OptionsOf(body);
  file.options.threads = settings_.threads;
  file.options.memory = settings_.memory;
  fs::path path;
  std::string error;
  if (body.contains("upload")) {
    path = uploads_.Find(body["upload"].get<std::string>());
    if (path.empty()) return ApiReply::Refusal(404, "there is no such upload");
    file.path = path.filename().string();
  } else {
    file.folder = body.value("folder", 0);
    file.path = body.at("path").get<std::string>();
    if (!folders_.Find(file.folder, file.path, path, error)) return ApiReply::Refusal(404, error);
    if (!fs::is_regular_file(path))
      return ApiReply::Refusal(404, '"' + file.path + "\" is no file");
  }
  file.name = path.filename().string();
  file.options.path = path.string();
  const FileShelf::Ref opened = shelf_.Open(std::move(file), error);
  if (opened != nullptr) return ApiReply::Of(FileJson(*opened));
  if (body.contains("upload")) uploads_.Remove(path);
  return ApiReply::Refusal(error == FileShelf::kCancelled ? 409 : 422, error);
}

ApiReply WorkbenchApi::CancelReading(const ApiRequest& request) {
  return shelf_.CancelReading(NumberOf(request.path[1], 0))
             ? ApiReply::Of(Json::object())
             : ApiReply::Refusal(404, "nothing is read under this number");
}

ApiReply WorkbenchApi::CloseFile(const ApiRequest& request) {
  const FileShelf::Ref file = FileOf(request);
  if (file == nullptr) return ApiReply::Refusal(404, "there is no such file");
  const std::lock_guard lock(mutex_);
  for (const auto& [id, analysis] : analyses_) {
    if (analysis->FileId() == file->id)
      return ApiReply::Refusal(409, "an analysis of this file is open");
  }
  shelf_.Close(file->id);
  if (file->folder < 0) uploads_.Remove(file->options.path);
  return ApiReply::Of(Json::object());
}

ApiReply WorkbenchApi::ChangeFile(const ApiRequest& request) {
  std::string error;
  const FileShelf::Ref file = FileOf(request);
  if (file == nullptr) return ApiReply::Refusal(404, "there is no such file");
  if (!shelf_.Change(file->id, SettingsOf(BodyOf(request)), error))
    return ApiReply::Refusal(422, error);
  return ApiReply::Of(FileJson(*shelf_.Find(file->id)));
}

ApiReply WorkbenchApi::CheckFile(const ApiRequest& request) {
  std::string error;
  FileCheck check;
  const FileShelf::Ref file = FileOf(request);
  if (file == nullptr) return ApiReply::Refusal(404, "there is no such file");
  if (!shelf_.Check(file->id, SettingsOf(BodyOf(request)), check, error))
    return ApiReply::Refusal(422, error);
  return ApiReply::Of(
      {{"cases", check.cases}, {"selected", check.selected}, {"weightSum", check.weightSum}});
}

ApiReply WorkbenchApi::Variables(const ApiRequest& request) {
  const FileShelf::Ref file = FileOf(request);
  if (file == nullptr) return ApiReply::Refusal(404, "there is no such file");
  return ApiReply::Of(VariablesJson(*file->data));
}

ApiReply WorkbenchApi::OneVariable(const ApiRequest& request) {
  const FileShelf::Ref file = FileOf(request);
  const int variable = NumberOf(request.path[3], 0);
  if (file == nullptr || variable < 1 || variable > file->data->NumberOfVariables())
    return ApiReply::Refusal(404, "there is no such variable");
  return ApiReply::Of(VariableJson(*file->data, variable));
}

ApiReply WorkbenchApi::Rows(const ApiRequest& request) {
  const FileShelf::Ref file = FileOf(request);
  if (file == nullptr) return ApiReply::Refusal(404, "there is no such file");
  return ApiReply::Of(RowsJson(*file->data, NumberOf(request, "first", 1),
                               NumberOf(request, "count", 100), NumberOf(request, "from", 1),
                               NumberOf(request, "to", file->data->NumberOfVariables())));
}

// --- Analyses ------------------------------------------------------------------------------------

WorkbenchApi::AnalysisRef WorkbenchApi::AnalysisOf(const ApiRequest& request) const {
  const std::lock_guard lock(mutex_);
  const auto found = analyses_.find(NumberOf(request.path[1], 0));
  return found == analyses_.end() ? nullptr : found->second;
}

ApiReply WorkbenchApi::OpenAnalysis(const ApiRequest& request) {
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

ApiReply WorkbenchApi::Begin(const FileShelf::Ref& file, AnalysisStart start) {
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

ApiReply WorkbenchApi::CloseAnalysis(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  analysis->Cancel();
  const std::lock_guard lock(mutex_);
  analyses_.erase(NumberOf(request.path[1], 0));
  return ApiReply::Of(Json::object());
}

ApiReply WorkbenchApi::Calls(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  return ReplyOf(analysis->PostCalls(BodyOf(request)));
}

ApiReply WorkbenchApi::Answers(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  return ReplyOf(analysis->PostAnswer(BodyOf(request)));
}

ApiReply WorkbenchApi::Cancel(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  analysis->Cancel();
  return ApiReply::Of(Json::object());
}

ApiReply WorkbenchApi::OneDocument(const ApiRequest& request) {
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

ApiReply WorkbenchApi::Export(const ApiRequest& request) {
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

ApiReply WorkbenchApi::Macro(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  return {200, analysis->recorder().Text(), "text/plain; charset=utf-8"};
}

ApiReply WorkbenchApi::Record(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  analysis->Record(BodyOf(request).at("recording").get<bool>());
  const MacroRecorder& recorder = analysis->recorder();
  return ApiReply::Of({{"lines", recorder.Lines()}, {"recording", recorder.IsOn()}});
}

ApiReply WorkbenchApi::Undo(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  const Json now = state_.Analysis(NumberOf(request.path[1], 0));
  if (!now.is_object() || !now["dialog"].is_object() || now["canUndo"] != true)
    return ApiReply::Refusal(409, "no choice of variables can be taken back");
  return ReplyOf(analysis->PostCalls(
      {{"dialog", now["dialog"]["dialog"]}, {"calls", Json::array({{{"do", "undo"}}})}}));
}

ApiReply WorkbenchApi::Rerun(const ApiRequest& request) {
  const AnalysisRef analysis = AnalysisOf(request);
  if (analysis == nullptr) return ApiReply::Refusal(404, "there is no such analysis");
  const FileShelf::Ref file = shelf_.Find(BodyOf(request).at("file").get<int>());
  if (file == nullptr) return ApiReply::Refusal(404, "there is no such file");
  return Begin(file, {nullptr, analysis->recorder().TextForAnotherFile()});
}

}  // namespace qrvml
