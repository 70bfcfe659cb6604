#include "server/file_api.h"

#include "server/data_json.h"

namespace qrvml {
namespace {

namespace fs = std::filesystem;

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

std::vector<ApiRoute> FileApi::Routes() {
  const auto to = [this](ApiReply (FileApi::*answer)(const ApiRequest&)) {
    return [this, answer](const ApiRequest& request) { return (this->*answer)(request); };
  };
  return {
      {"GET", {"list"}, to(&FileApi::List)},
      {"POST", {"files"}, to(&FileApi::OpenFile)},
      {"POST", {"readings", "#", "cancel"}, to(&FileApi::CancelReading)},
      {"DELETE", {"files", "#"}, to(&FileApi::CloseFile)},
      {"POST", {"files", "#", "settings"}, to(&FileApi::ChangeFile)},
      {"POST", {"files", "#", "check"}, to(&FileApi::CheckFile)},
      {"GET", {"files", "#", "variables"}, to(&FileApi::Variables)},
      {"GET", {"files", "#", "variables", "#"}, to(&FileApi::OneVariable)},
      {"GET", {"files", "#", "rows"}, to(&FileApi::Rows)},
  };
}

ApiReply FileApi::List(const ApiRequest& request) {
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

FileShelf::Ref FileApi::FileOf(const ApiRequest& request) const {
  return shelf_.Find(NumberOf(request.path[1], 0));
}

bool FileApi::OpenNamedFile(const OpenOptions& options, std::string& error) {
  const fs::path path = fs::absolute(options.path);
  ShelfFile file;
  file.options = options;
  file.options.path = path.string();
  file.name = file.path = path.filename().string();
  file.folder = folders_.Add(path.parent_path());
  return shelf_.Open(std::move(file), error) != nullptr;
}

ApiReply FileApi::OpenFile(const ApiRequest& request) {
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

ApiReply FileApi::CancelReading(const ApiRequest& request) {
  return shelf_.CancelReading(NumberOf(request.path[1], 0))
             ? ApiReply::Of(Json::object())
             : ApiReply::Refusal(404, "nothing is read under this number");
}

ApiReply FileApi::CloseFile(const ApiRequest& request) {
  const FileShelf::Ref file = FileOf(request);
  if (file == nullptr) return ApiReply::Refusal(404, "there is no such file");
  const auto close = [&] {
    shelf_.Close(file->id);
    if (file->folder < 0) uploads_.Remove(file->options.path);
  };
  return ifUnused(file->id, close) ? ApiReply::Of(Json::object())
                                   : ApiReply::Refusal(409, "an analysis of this file is open");
}

ApiReply FileApi::ChangeFile(const ApiRequest& request) {
  std::string error;
  const FileShelf::Ref file = FileOf(request);
  if (file == nullptr) return ApiReply::Refusal(404, "there is no such file");
  if (!shelf_.Change(file->id, SettingsOf(BodyOf(request)), error))
    return ApiReply::Refusal(422, error);
  return ApiReply::Of(FileJson(*shelf_.Find(file->id)));
}

ApiReply FileApi::CheckFile(const ApiRequest& request) {
  std::string error;
  FileCheck check;
  const FileShelf::Ref file = FileOf(request);
  if (file == nullptr) return ApiReply::Refusal(404, "there is no such file");
  if (!shelf_.Check(file->id, SettingsOf(BodyOf(request)), check, error))
    return ApiReply::Refusal(422, error);
  return ApiReply::Of(
      {{"cases", check.cases}, {"selected", check.selected}, {"weightSum", check.weightSum}});
}

ApiReply FileApi::Variables(const ApiRequest& request) {
  const FileShelf::Ref file = FileOf(request);
  if (file == nullptr) return ApiReply::Refusal(404, "there is no such file");
  return ApiReply::Of(VariablesJson(*file->data));
}

ApiReply FileApi::OneVariable(const ApiRequest& request) {
  const FileShelf::Ref file = FileOf(request);
  const int variable = NumberOf(request.path[3], 0);
  if (file == nullptr || variable < 1 || variable > file->data->NumberOfVariables())
    return ApiReply::Refusal(404, "there is no such variable");
  return ApiReply::Of(VariableJson(*file->data, variable));
}

ApiReply FileApi::Rows(const ApiRequest& request) {
  const FileShelf::Ref file = FileOf(request);
  if (file == nullptr) return ApiReply::Refusal(404, "there is no such file");
  return ApiReply::Of(RowsJson(*file->data, NumberOf(request, "first", 1),
                               NumberOf(request, "count", 100), NumberOf(request, "from", 1),
                               NumberOf(request, "to", file->data->NumberOfVariables())));
}

}  // namespace qrvml
